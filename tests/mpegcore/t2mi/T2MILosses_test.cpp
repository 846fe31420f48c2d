// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/t2mi/T2MIDemultiplexer.h"

#include "support/T2MIFeed.h"

#include <gmock/gmock.h>

namespace T2MILosses_test
{
using mpegcore::T2MIDemultiplexer;
using testing::ElementsAre;
using testing::SizeIs;
using zqtest::BasebandFormat;
using zqtest::BasebandSender;
using zqtest::by_simple_rules;
using zqtest::Bytes;
using zqtest::Demultiplexed;
using zqtest::demultiplexed;
using zqtest::Feed;
using zqtest::joined;
using zqtest::packed;
using zqtest::T2MI_PID;
using zqtest::T2MISender;
using zqtest::tables;
using zqtest::usual_feed;
using zqtest::operator+;

TEST(T2MIDemultiplexer, LeavesOutPacketsThatAreSentTwice)
{
    Feed feed = usual_feed();
    Bytes stream;
    for (const Bytes& packet : zqtest::packets_of(tables() + packed(feed.packets)))
        stream = stream + packet + packet;
    EXPECT_NE(by_simple_rules(stream, 3), joined(feed.sent[3]));
    const auto out = demultiplexed(stream);
    EXPECT_EQ(out.packets, feed.sent);
    EXPECT_EQ(out.gaps, 0U);
}

TEST(T2MIDemultiplexer, MakesNoPacketOutOfTwoWhereFramesWithTheSameSyncdAreLost)
{
    // Each frame has 8 * 187 bytes and begins 100 bytes before a packet does.
    BasebandSender framer({});
    T2MISender sender;
    std::vector<Bytes> packets, sent;
    for (unsigned number = 0; number < 200; ++number) {
        sent.push_back(zqtest::numbered_packet(number));
        framer.add(sent.back());
    }
    packets.push_back(sender.frame(3, framer.frame(87)));
    while (framer.waiting() >= 8 * 187)
        packets.push_back(sender.frame(3, framer.frame(8 * 187)));
    auto transport = zqtest::packets_of(packed(packets));
    for (std::size_t at = 30; at < transport.size(); at += 37)
        transport.erase(transport.begin() + static_cast<std::ptrdiff_t>(at));
    const Bytes stream = tables() + joined(transport);
    EXPECT_FALSE(zqtest::is_subsequence(zqtest::packets_of(by_simple_rules(stream, 3)), sent));
    const auto out = demultiplexed(stream);
    EXPECT_TRUE(zqtest::is_subsequence(out.packets.at(3), sent));
    EXPECT_GE(out.gaps, 3U);
}

TEST(T2MIDemultiplexer, DropsThePartThatWasBegunWherePacketCountJumps)
{
    BasebandSender framer({});
    T2MISender sender;
    for (unsigned number = 0; number < 30; ++number)
        framer.add(zqtest::numbered_packet(number));
    std::vector<Bytes> packets;
    packets.push_back(sender.frame(3, framer.frame(1000)));
    static_cast<void>(framer.frame(8 * 187)); // lost in front of the gateway
    sender.skip();
    packets.push_back(sender.frame(3, framer.frame(1000)));
    const auto out = demultiplexed(packed(packets));
    // 1000 = 5 * 187 + 65: packet 5 was begun, packet 13 is what the next frame ends.
    EXPECT_THAT(out.packets.at(3), SizeIs(5 + 4));
    EXPECT_EQ(out.packets.at(3)[5], zqtest::numbered_packet(14));
    EXPECT_EQ(out.demultiplexer->counters().packet_count_gaps, 1U);
    EXPECT_EQ(out.demultiplexer->PLP_counters(3)->dropped_parts, 1U);
    EXPECT_EQ(out.gaps, 1U);
}

class EveryBasebandFormat : public testing::TestWithParam<zqtest::FormatCase>
{
protected:
    BasebandFormat format = zqtest::format_of(GetParam());
};

TEST_P(EveryBasebandFormat, ComesOutAsItWentInForEachPlp)
{
    Feed feed({0, 255}, format);
    for (const std::size_t size : {1500U, 188U, 40U, 1U, 700U})
        feed.add(5, size).signal();
    feed.end();
    for (auto& [plp_id, sent] : feed.sent)
        // Null packets at the very end were not counted by any packet behind them.
        while (format.deletes_nulls && sent.back() == zqtest::null_transport_packet())
            sent.pop_back();
    const Bytes stream = tables() + packed(feed.packets);
    const auto out = demultiplexed(stream);
    EXPECT_EQ(out.packets, feed.sent);
    EXPECT_NE(by_simple_rules(stream, 255), joined(feed.sent[255]));
    const auto without = demultiplexed(stream, [](auto& d) { d.set_restore_nulls(false); });
    const auto nulls = out.demultiplexer->PLP_counters(0)->restored_nulls;
    EXPECT_EQ(without.packets.at(0).size() + nulls, feed.sent[0].size());
    EXPECT_EQ(nulls > 0, format.deletes_nulls);
}

TEST_P(EveryBasebandFormat, GivesASubsequenceWhateverIsLostOrDamaged)
{
    std::mt19937 random(11);
    for (unsigned round = 0; round < 6; ++round) {
        Feed feed({1, 2}, format);
        for (unsigned t2_frame = 0; t2_frame < 8; ++t2_frame)
            feed.add(2, 200 + random() % 900).signal();
        feed.end();
        const Bytes psi = tables();
        auto transport = zqtest::packets_of(packed(feed.packets));
        Bytes stream = psi;
        std::size_t losses = 0;
        for (Bytes& packet : transport) {
            const unsigned fate = random() % 60;
            losses += fate < 3 ? 1 : 0;
            if (fate == 0)
                continue;
            if (fate == 1)
                packet[4 + random() % 184] ^= static_cast<unsigned char>(1U << random() % 8);
            if (fate == 2)
                packet[1] |= 0x80;
            stream = stream + packet;
            if (fate == 3)
                stream = stream + packet;
        }
        const std::size_t piece = 1 + random() % 700;
        const auto out = demultiplexed(stream, {}, piece);
        for (const auto& [plp_id, sent] : feed.sent) {
            const auto found = out.packets.find(plp_id);
            const auto got = found != out.packets.end() ? found->second : std::vector<Bytes>{};
            EXPECT_TRUE(zqtest::is_subsequence(got, sent));
            // Each loss costs at most three T2-MI packets, with some 8 packets of a PLP each.
            EXPECT_GE(got.size() + 24 * losses + 8, sent.size());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(T2MI, EveryBasebandFormat, zqtest::every_format(), zqtest::name_of_format);

TEST(T2MIDemultiplexer, GoesOnBehindAResetWithoutJoiningWhatDoesNotBelongTogether)
{
    Feed feed = usual_feed();
    const Bytes stream = tables() + packed(feed.packets);
    Demultiplexed out;
    out.feed(zqtest::slice(stream, 0, 188 * 30 + 77));
    out.demultiplexer->reset();
    out.feed(stream);
    out.demultiplexer->finish();
    EXPECT_THAT(out.PIDs, ElementsAre(T2MI_PID));
    EXPECT_EQ(out.gaps, 1U);
    const auto& got = out.packets.at(3);
    EXPECT_EQ(std::vector<Bytes>(got.end() - static_cast<std::ptrdiff_t>(feed.sent[3].size()), got.end()),
              feed.sent[3]);
}

TEST(T2MIDemultiplexer, SurvivesAnyBytes)
{
    std::mt19937 random(12);
    Feed feed = usual_feed();
    feed.signal();
    const Bytes good = tables() + packed(feed.packets);
    for (unsigned round = 0; round < 60; ++round) {
        Bytes bad = good;
        for (unsigned flips = random() % 200; flips != 0; --flips)
            bad[random() % bad.size()] = static_cast<unsigned char>(random());
        bad.resize(random() % bad.size());
        const auto out = demultiplexed(bad, {}, 1 + random() % 1000);
        EXPECT_LE(out.packets.size(), 2U);
    }
}
} // namespace T2MILosses_test
