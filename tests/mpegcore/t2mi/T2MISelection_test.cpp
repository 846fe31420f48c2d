// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/t2mi/T2MIDemultiplexer.h"

#include "support/T2MIFeed.h"

#include <gmock/gmock.h>

namespace T2MISelection_test
{
using mpegcore::T2MIDemultiplexer;
using testing::ElementsAre;
using testing::IsEmpty;
using zqtest::by_simple_rules;
using zqtest::Bytes;
using zqtest::demultiplexed;
using zqtest::Feed;
using zqtest::interleaved;
using zqtest::joined;
using zqtest::packed;
using zqtest::PMT_PID;
using zqtest::Stream;
using zqtest::T2MI_descriptor;
using zqtest::T2MI_PID;
using zqtest::tables;
using zqtest::usual_feed;
using zqtest::operator+;

TEST(T2MIDemultiplexer, IsNotLedAstrayByAProgrammeThatFollows)
{
    Feed feed = usual_feed();
    Stream psi;
    psi.section(0, zqtest::PAT_section({{1, PMT_PID}, {2, 0x200}}))
        .section(PMT_PID, zqtest::PMT_section(1, {{0x06, T2MI_PID, {}}}))
        .section(0x200, zqtest::PMT_section(2, {{0x03, 0x201, {}}}));
    const Bytes stream = psi.data + packed(feed.packets);
    EXPECT_THAT(by_simple_rules(stream, 3), IsEmpty());
    EXPECT_EQ(demultiplexed(stream).packets, feed.sent);
}

TEST(T2MIDemultiplexer, TakesTheFirstOfTwoT2miProgrammesByItsDescriptor)
{
    Feed feed = usual_feed();
    Feed other({3}, {}, 1);
    other.add(12, 1500).end();
    Stream psi;
    psi.section(0, zqtest::PAT_section({{1, PMT_PID}, {2, 0x200}}))
        .section(PMT_PID, zqtest::PMT_section(1, {{0x06, T2MI_PID, T2MI_descriptor()}}))
        .section(0x200, zqtest::PMT_section(2, {{0x06, 0x201, T2MI_descriptor(1)}}));
    const Bytes stream = psi.data + interleaved({packed(other.packets, 0x201), packed(feed.packets)});
    EXPECT_NE(by_simple_rules(stream, 3), joined(feed.sent[3]));
    EXPECT_EQ(demultiplexed(stream).packets, feed.sent);
    EXPECT_EQ(demultiplexed(stream, [](auto& demultiplexer) { demultiplexer.set_stream_id(1); }).packets, other.sent);
    EXPECT_EQ(demultiplexed(stream, [](auto& demultiplexer) { demultiplexer.set_PID(0x201); }).packets, other.sent);
}

TEST(T2MIDemultiplexer, FindsTheT2miAmongSeveralStreamsOfAProgramme)
{
    Feed feed = usual_feed();
    for (const Bytes& descriptor : {T2MI_descriptor(), Bytes{}}) {
        const Bytes stream =
            tables({{0x06, 0x300, {}}, {0x1B, 0x301, {}}, {0x06, T2MI_PID, descriptor}}) + packed(feed.packets);
        EXPECT_THAT(by_simple_rules(stream, 3), IsEmpty());
        EXPECT_EQ(demultiplexed(stream).packets, feed.sent);
    }
}

TEST(T2MIDemultiplexer, TakesAnyStreamTypeThatHasTheDescriptor)
{
    Feed feed = usual_feed();
    const Bytes stream = tables({{0x05, T2MI_PID, T2MI_descriptor()}}) + packed(feed.packets);
    EXPECT_THAT(by_simple_rules(stream, 3), IsEmpty());
    EXPECT_EQ(demultiplexed(stream).packets, feed.sent);
}

TEST(T2MIDemultiplexer, LosesNothingWhereThereIsNoPsi)
{
    Feed feed = usual_feed();
    const Bytes stream = packed(feed.packets);
    EXPECT_THAT(by_simple_rules(stream, 3), IsEmpty());
    const auto out = demultiplexed(stream);
    EXPECT_EQ(out.packets, feed.sent);
    EXPECT_THAT(out.PIDs, ElementsAre(T2MI_PID));
}

TEST(T2MIDemultiplexer, LosesNothingInFrontOfAPsiThatComesLate)
{
    Feed feed = usual_feed();
    const Bytes packets = packed(feed.packets);
    for (const std::size_t before : {1U, 5U, 12U, 40U}) {
        const Bytes stream = zqtest::slice(packets, 0, 188 * before) + tables({{0x06, T2MI_PID, T2MI_descriptor()}}) +
                             zqtest::slice(packets, 188 * before, packets.size() - 188 * before);
        const auto out = demultiplexed(stream);
        EXPECT_EQ(out.packets, feed.sent) << before;
        EXPECT_EQ(out.gaps, 0U);
    }
}

TEST(T2MIDemultiplexer, ReadsAPmtBehindAPointerField)
{
    Feed feed = usual_feed();
    Stream psi;
    psi.section(0, zqtest::PAT_section({{1, PMT_PID}}));
    const Bytes pmt = zqtest::PMT_section(1, {{0x06, T2MI_PID, T2MI_descriptor()}});
    psi.raw(PMT_PID, Stream::begins, 1, Bytes{5, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA} + pmt);
    const Bytes stream = psi.data + packed(feed.packets);
    EXPECT_THAT(by_simple_rules(stream, 3), IsEmpty());
    const auto out = demultiplexed(stream);
    EXPECT_EQ(out.packets, feed.sent);
    EXPECT_TRUE(out.demultiplexer->programs().describes(T2MI_PID, 0));
}

TEST(T2MIDemultiplexer, ReadsAPatInTwoSections)
{
    Feed feed = usual_feed();
    Stream psi;
    psi.section(0, zqtest::PAT_section({{1, PMT_PID}}, 0, 0, 1))
        .section(0, zqtest::PAT_section({{2, 0x200}}, 0, 1, 1))
        .section(PMT_PID, zqtest::PMT_section(1, {{0x06, T2MI_PID, T2MI_descriptor()}}))
        .section(0x200, zqtest::PMT_section(2, {{0x03, 0x201, {}}}));
    const Bytes stream = psi.data + packed(feed.packets);
    EXPECT_THAT(by_simple_rules(stream, 3), IsEmpty());
    const auto out = demultiplexed(stream);
    EXPECT_EQ(out.packets, feed.sent);
    EXPECT_TRUE(out.demultiplexer->programs().is_complete());
    EXPECT_TRUE(out.demultiplexer->programs().lists(0x201));
}

TEST(T2MIDemultiplexer, DoesNotTakeAPmtToComeForTheCurrentOne)
{
    Feed feed = usual_feed();
    Stream psi;
    psi.section(0, zqtest::PAT_section({{1, PMT_PID}}))
        .section(PMT_PID, zqtest::PMT_section(1, {{0x06, T2MI_PID, {}}}))
        .section(PMT_PID, zqtest::PMT_section(1, {{0x06, 0x201, T2MI_descriptor()}}, 1, false));
    const Bytes stream = psi.data + packed(feed.packets);
    EXPECT_THAT(by_simple_rules(stream, 3), IsEmpty());
    EXPECT_EQ(demultiplexed(stream).packets, feed.sent);
}

TEST(T2MIDemultiplexer, FollowsThePmtToAnotherPid)
{
    Feed before({3}), behind({3}, {}, 0);
    before.add(8, 1500).end();
    behind.add(4, 700).end();
    Stream stream;
    stream.section(0, zqtest::PAT_section({{1, PMT_PID}}))
        .section(PMT_PID, zqtest::PMT_section(1, {{0x06, T2MI_PID, T2MI_descriptor()}}));
    zqtest::pack(stream, T2MI_PID, before.packets);
    stream.section(PMT_PID, zqtest::PMT_section(1, {{0x06, 0x1001, T2MI_descriptor()}}, 1));
    zqtest::pack(stream, 0x1001, behind.packets);
    zqtest::pack(stream, T2MI_PID, before.packets);
    const auto out = demultiplexed(stream.data);
    EXPECT_EQ(joined(out.packets.at(3)), joined(before.sent[3]) + joined(behind.sent[3]));
    EXPECT_THAT(out.PIDs, ElementsAre(T2MI_PID, 0x1001));
    EXPECT_EQ(out.gaps, 1U);
}

TEST(T2MIDemultiplexer, LeavesAPidThatNoPmtListsAnyMore)
{
    Feed before({3}), behind({3});
    before.add(8, 1500).end();
    behind.add(8, 700).end();
    Stream stream;
    stream.section(0, zqtest::PAT_section({{1, PMT_PID}}))
        .section(PMT_PID, zqtest::PMT_section(1, {{0x06, T2MI_PID, {}}}));
    zqtest::pack(stream, T2MI_PID, before.packets);
    stream.section(PMT_PID, zqtest::PMT_section(1, {{0x06, 0x1001, {}}}, 1));
    zqtest::pack(stream, 0x1001, behind.packets);
    const auto out = demultiplexed(stream.data);
    EXPECT_EQ(joined(out.packets.at(3)), joined(before.sent[3]) + joined(behind.sent[3]));
    EXPECT_THAT(out.PIDs, ElementsAre(T2MI_PID, 0x1001));
}

TEST(T2MIDemultiplexer, WantsMoreProofFromAPidThatAPsiDoesNotList)
{
    Feed feed = usual_feed();
    const auto one_of_eight = [&](std::size_t packets) {
        return demultiplexed(
            tables({{0x1B, 0x301, {}}}) +
            packed({feed.packets.begin(), feed.packets.begin() + static_cast<std::ptrdiff_t>(packets)}));
    };
    EXPECT_THAT(one_of_eight(7).PIDs, IsEmpty());
    EXPECT_THAT(one_of_eight(8).PIDs, ElementsAre(T2MI_PID));
    EXPECT_EQ(one_of_eight(feed.packets.size()).packets, feed.sent);
}

TEST(T2MIDemultiplexer, KeepsTwoStreamsOnAPidApart)
{
    Feed first({3}), second({3}, {}, 5);
    first.add(20, 800).end();
    second.add(20, 800).end();
    std::vector<Bytes> both;
    for (std::size_t at = 0; at < first.packets.size(); ++at) {
        both.push_back(first.packets[at]);
        both.push_back(second.packets[at]);
    }
    const Bytes stream = tables() + packed(both);
    EXPECT_NE(by_simple_rules(stream, 3), joined(first.sent[3]));
    const auto out = demultiplexed(stream);
    EXPECT_EQ(out.packets, first.sent);
    EXPECT_EQ(out.demultiplexer->counters().packets_by_stream_id[5], 21U);
    EXPECT_EQ(out.demultiplexer->counters().packet_count_gaps, 0U);
    EXPECT_EQ(demultiplexed(stream, [](auto& d) { d.set_stream_id(5); }).packets, second.sent);
}

TEST(T2MIDemultiplexer, LosesNothingWhereAnotherStreamOnThePidHasGaps)
{
    Feed first({3}), second({3}, {}, 5);
    std::vector<Bytes> both;
    for (unsigned frame = 0; frame < 20; ++frame) {
        first.add(1, 800);
        second.add(1, 800);
        second.sender.skip();
        both.push_back(first.packets.back());
        both.push_back(second.packets.back());
    }
    first.end();
    both.push_back(first.packets.back());
    const auto out = demultiplexed(tables() + packed(both));
    EXPECT_EQ(out.packets, first.sent);
    EXPECT_EQ(out.gaps, 0U);
    // Were they counted together, the first would be none.
    EXPECT_EQ(out.demultiplexer->counters().packet_count_gaps, 18U);
}

TEST(T2MIDemultiplexer, IsFoundBesideMorePidsThatBeginLikeT2miAndFallSilent)
{
    Stream silent;
    for (unsigned PID = 0x100; PID < 0x110; ++PID)
        silent.packet(PID, Stream::begins, Bytes{0, 0x21, 0, 0, 0, 0x40, 0} + zqtest::pattern(150));
    for (unsigned count = 0; count < 10'001; ++count)
        silent.packet(0x200, Stream::goes_on, Bytes(184));
    Feed feed = usual_feed();
    EXPECT_EQ(demultiplexed(silent.data + packed(feed.packets)).packets, feed.sent);
}

TEST(T2MIDemultiplexer, UnderstandsTwoStreamsThatAreCountedTogether)
{
    Feed first({3}), second({3}, {}, 5);
    first.add(40, 800).end();
    second.add(40, 800).end();
    std::vector<Bytes> both;
    for (std::size_t at = 0; at < first.packets.size(); ++at)
        for (const Feed* feed : {&first, &second}) {
            Bytes packet = feed->packets[at];
            packet.resize(packet.size() - 4);
            packet[1] = static_cast<unsigned char>(both.size());
            both.push_back(zqtest::with_crc(packet));
        }
    const Bytes stream = tables() + packed(both);
    const auto out = demultiplexed(stream);
    EXPECT_EQ(out.demultiplexer->counters().packet_count_gaps, 0U);
    EXPECT_EQ(out.packets, first.sent);
    EXPECT_EQ(demultiplexed(stream, [](auto& d) { d.set_stream_id(5); }).packets, second.sent);
    // What is lost of one may have been of the other.
    both.erase(both.begin() + 50);
    EXPECT_EQ(demultiplexed(tables() + packed(both)).gaps, 1U);
}
} // namespace T2MISelection_test
