// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/t2mi/T2MIDemultiplexer.h"

#include "support/Samples.h"
#include "support/T2MIFeed.h"

#include <gmock/gmock.h>

namespace T2MIDemultiplexer_test
{
using mpegcore::T2MIDemultiplexer;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using zqtest::BasebandSender;
using zqtest::by_simple_rules;
using zqtest::Bytes;
using zqtest::demultiplexed;
using zqtest::Feed;
using zqtest::joined;
using zqtest::packed;
using zqtest::T2MI_descriptor;
using zqtest::T2MI_PID;
using zqtest::T2MISender;
using zqtest::tables;
using zqtest::usual_feed;
using zqtest::operator+;

TEST(T2MIDemultiplexer, GivesThreePlpsWithTimestampsAndL1BetweenTheirFrames)
{
    Feed feed({1, 2, 3});
    for (unsigned t2_frame = 0; t2_frame < 6; ++t2_frame)
        feed.add(3, 900).signal();
    feed.end();
    const Bytes stream = tables() + packed(feed.packets);
    EXPECT_NE(by_simple_rules(stream, 1), joined(feed.sent[1]));
    const auto out = demultiplexed(stream);
    EXPECT_EQ(out.packets, feed.sent);
    EXPECT_THAT(out.timestamps, SizeIs(6));
    EXPECT_EQ(out.timestamps[0].subseconds, 9679701U);
    ASSERT_THAT(out.L1, SizeIs(1));
    EXPECT_EQ(out.L1[0].L1CONF.PLPs[0].PLP_ID, 102);
    EXPECT_EQ(out.gaps, 0U);
}

TEST(T2MIDemultiplexer, GoesOnAcrossFramesWithoutData)
{
    BasebandSender framer({});
    T2MISender sender;
    std::vector<Bytes> packets, sent;
    for (unsigned number = 0; number < 12; ++number) {
        sent.push_back(zqtest::numbered_packet(number));
        framer.add(sent.back());
    }
    for (const std::size_t size : {250U, 0U, 20U, 30U, 0U, 100U, 500U})
        packets.push_back(sender.frame(3, framer.frame(size, 60)));
    packets.push_back(sender.frame(3, framer.frame(framer.waiting())));
    const Bytes stream = tables() + packed(packets);
    EXPECT_NE(by_simple_rules(stream, 3), joined(sent));
    EXPECT_EQ(demultiplexed(stream).packets.at(3), sent);
}

TEST(T2MIDemultiplexer, CarriesPacketsOfPlp255AcrossFramesLikeThoseOfAnother)
{
    Feed feed({0, 255});
    feed.add(20, 1000);
    zqtest::Stream stream;
    for (const Bytes& packet : feed.packets)
        zqtest::pack(stream, T2MI_PID, {packet}); // as the simple rules need it
    const Bytes all = tables() + stream.data;
    const auto out = demultiplexed(all);
    const auto simple = [&all](unsigned plp_id) { return zqtest::packets_of(by_simple_rules(all, plp_id)).size(); };
    EXPECT_GE(simple(0) + 6, out.packets.at(0).size()); // but for the last frame
    EXPECT_LE(simple(255) + 18, out.packets.at(255).size());
    for (auto& [plp_id, sent] : feed.sent) {
        sent.resize(20 * 1000 / 187);
        EXPECT_EQ(out.packets.at(plp_id), sent);
    }
}

TEST(T2MIDemultiplexer, SaysOnceThatAPlpIsNoTransportStream)
{
    // GFPS, GCS and GSE.
    for (const unsigned char MATYPE : {0x30, 0x70, 0xB0}) {
        T2MISender sender;
        std::vector<Bytes> packets;
        for (unsigned frame = 0; frame < 6; ++frame) {
            Bytes header{MATYPE, 0, 0, 0, 0x0B, 0xB8, 0, 0, 0};
            header.push_back(zqtest::crc_8(header) ^ 1);
            packets.push_back(sender.frame(7, header + zqtest::pattern(375)));
        }
        const Bytes stream = tables() + packed(packets);
        EXPECT_THAT(by_simple_rules(stream, 7), testing::Not(IsEmpty()));
        const auto out = demultiplexed(stream);
        EXPECT_THAT(out.packets, IsEmpty());
        EXPECT_THAT(out.warnings, ElementsAre(std::pair(T2MIDemultiplexer::Warning::not_a_transport_stream, 7U)));
        EXPECT_EQ(out.demultiplexer->PLP_counters(7)->other_formats, 6U);
    }
}

TEST(T2MIDemultiplexer, SaysOnceThatThePidIsScrambled)
{
    Feed feed = usual_feed();
    auto transport = zqtest::packets_of(packed(feed.packets));
    for (Bytes& packet : transport) {
        packet[3] |= 0x80;
        const std::size_t payload = (packet[3] & 0x20) == 0 ? 4 : 5 + std::size_t{packet[4]};
        for (std::size_t at = payload; at < packet.size(); ++at)
            packet[at] ^= static_cast<unsigned char>(0x5A + at);
    }
    const Bytes stream = tables({{0x06, T2MI_PID, T2MI_descriptor()}}) + joined(transport);
    EXPECT_THAT(by_simple_rules(stream, 3), IsEmpty()); // and nothing said
    const auto out = demultiplexed(stream);
    EXPECT_THAT(out.packets, IsEmpty());
    EXPECT_THAT(out.warnings, ElementsAre(std::pair(T2MIDemultiplexer::Warning::scrambled, T2MI_PID)));
    EXPECT_EQ(out.demultiplexer->gatherer_counters().scrambled, transport.size());
}

TEST(T2MIDemultiplexer, TakesOnlyThePlpsThatAreWanted)
{
    Feed feed({1, 2, 3});
    feed.add(4, 900).end();
    const auto out = demultiplexed(tables() + packed(feed.packets),
                                   [](auto& demultiplexer) { demultiplexer.set_PLPs(std::bitset<256>().set(2)); });
    EXPECT_THAT(out.packets, SizeIs(1));
    EXPECT_EQ(out.packets.at(2), feed.sent[2]);
    EXPECT_THAT(out.appeared, ElementsAre(2));
    EXPECT_EQ(out.demultiplexer->PLP_counters(1), nullptr);
}

TEST(T2MIDemultiplexer, TellsOfPlpsThatComeAndGoByL1)
{
    mpegcore::L1Current both, one;
    ASSERT_TRUE(both.read(zqtest::L1_on_air.data(), zqtest::L1_on_air.size()));
    both.L1CONF.PLPs.resize(2, both.L1CONF.PLPs[0]);
    both.L1DYN_CURR.PLPs.resize(2);
    both.L1CONF.PLPs[0].PLP_ID = 1;
    both.L1CONF.PLPs[1].PLP_ID = 2;
    both.measure();
    one = both;
    one.L1CONF.PLPs.resize(1);
    one.L1DYN_CURR.PLPs.resize(1);
    one.measure();
    Feed feed({1, 2});
    const auto signal = [&feed](const mpegcore::L1Current& L1) {
        feed.packets.push_back(feed.sender.packet(0x10, L1.payload()));
    };
    feed.add(2, 900);
    signal(both);
    feed.add(2, 900);
    both.frame_idx = 1;
    both.L1DYN_CURR.FRAME_IDX = 1;
    signal(both);
    feed.end();
    signal(one);
    feed.packets.push_back(feed.sender.frame(1, BasebandSender({}).frame(0)));
    const auto out = demultiplexed(tables() + packed(feed.packets));
    EXPECT_THAT(out.L1, SizeIs(2));
    EXPECT_THAT(out.appeared, ElementsAre(1, 2));
    EXPECT_THAT(out.gone, ElementsAre(2));
    ASSERT_NE(out.demultiplexer->L1_of(1), nullptr);
    EXPECT_EQ(out.demultiplexer->L1_of(1)->PLP_MOD, 1);
    EXPECT_EQ(out.demultiplexer->L1_of(2), nullptr);
}

TEST(T2MIDemultiplexer, HandsOnEveryOtherTypeAsBytesAndCountsTheUnknown)
{
    T2MISender sender;
    const Bytes addressing{0x00, 0x15, 0x00, 0x0B, 0x04, 0x00, 0x04, 0xFF, 0x9C};
    const auto out = demultiplexed(tables() + packed({sender.packet(0x21, addressing),
                                                      sender.packet(0x30, {0, 0, 0x20}), sender.packet(0x77, {1, 2})}));
    EXPECT_THAT(out.others, ElementsAre(std::pair(0x21U, addressing), std::pair(0x30U, Bytes{0, 0, 0x20}),
                                        std::pair(0x77U, Bytes{1, 2})));
    EXPECT_EQ(out.demultiplexer->counters().unknown_types, 1U);
    EXPECT_EQ(out.demultiplexer->counters().packets_by_type[0x21], 1U);
}

TEST(T2MIDemultiplexer, CountsWhatIsTooShortForItsType)
{
    T2MISender sender;
    std::vector<Bytes> packets;
    for (std::size_t size = 0; size < zqtest::L1_on_air.size(); ++size)
        packets.push_back(sender.packet(0x10, zqtest::slice(zqtest::L1_on_air, 0, size)));
    for (std::size_t size = 0; size < 11; ++size)
        packets.push_back(sender.packet(0x20, zqtest::slice(zqtest::timestamp_on_air, 0, size)));
    for (std::size_t size = 0; size < 3; ++size)
        packets.push_back(sender.packet(0x00, Bytes(size)));
    const auto out = demultiplexed(tables({{0x06, T2MI_PID, T2MI_descriptor()}}) + packed(packets));
    EXPECT_EQ(out.demultiplexer->counters().payload_errors, packets.size());
    EXPECT_THAT(out.L1, IsEmpty());
    EXPECT_THAT(out.timestamps, IsEmpty());
}

TEST(T2MIDemultiplexer, AllocatesNothingForPacketsOncePidAndPlpsAreKnown)
{
    Feed feed({1, 2, 3});
    for (unsigned t2_frame = 0; t2_frame < 10; ++t2_frame)
        feed.add(3, 900).signal();
    const auto transport = packed(feed.packets);
    struct Counting : T2MIDemultiplexer::Listener
    {
        void on_packet(std::uint8_t, const mpegcore::UserPacket&, bool) override { ++packets; }
        unsigned packets = 0;
    } listener;
    T2MIDemultiplexer demultiplexer(listener);
    demultiplexer.put(transport.data(), 188 * 200);
    const unsigned packets = listener.packets;
    const std::size_t before = zqtest::allocations();
    demultiplexer.put(transport.data() + 188 * 200, transport.size() - 188 * 200);
    EXPECT_EQ(zqtest::allocations(), before);
    EXPECT_GT(listener.packets, packets);
}

TEST(T2MIDemultiplexer, GivesTheRecordedStreamWhole)
{
    const auto folder = zqtest::sample_folder();
    if (!folder)
        GTEST_SKIP() << "ZQ_SAMPLE_DIR is not set";
    const std::string data = zqtest::contents(*folder / "t2mi-plp-0.ts");
    const std::string expected = zqtest::contents(*folder / "t2mi-plp-0.expected-output.ts");
    for (const std::size_t piece : {std::size_t{1} << 30, std::size_t{1316}, std::size_t{1}}) {
        const auto out = demultiplexed(Bytes(data.begin(), data.end()), {}, piece);
        EXPECT_EQ(joined(out.packets.at(0)), Bytes(expected.begin(), expected.end()));
        EXPECT_EQ(out.gaps, 0U);
    }
}
} // namespace T2MIDemultiplexer_test
