// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/RTP.h"
#include "support/demuxing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace zq_t2mi_demux_test
{
using support::demuxing;
using testing::ElementsAre;
using testing::IsEmpty;
using zqtest::Bytes;
using zqtest::Feed;
using zqtest::joined;
using zqtest::packed;
using zqtest::T2MI_PID;
using zqtest::tables;
using zqtest::operator+;

Feed two_plps()
{
    Feed feed({1, 255});
    for (unsigned t2_frame = 0; t2_frame < 5; ++t2_frame)
        feed.add(3, 1200).signal();
    feed.end();
    return feed;
}

Bytes datagram(std::uint16_t number, const Bytes& payload) { return support::rtp_datagram(number, payload); }

TEST(T2MIDemux, GivesTheTransportStreamOfEachPlp)
{
    Feed feed = two_plps();
    for (const std::size_t size : {188U, 1316U, 4096U, 1000U}) {
        demuxing to;
        EXPECT_EQ(to.push_cut(tables() + packed(feed.packets), size), GST_FLOW_OK);
        EXPECT_TRUE(to.push(gst_event_new_eos()));
        EXPECT_THAT(to.pads_added, ElementsAre("plp_1", "plp_255"));
        EXPECT_EQ(to.bytes(1), joined(feed.sent[1]));
        EXPECT_EQ(to.bytes(255), joined(feed.sent[255]));
    }
}

TEST(T2MIDemux, GathersWholePacketsForEachBufferOrListThatComes)
{
    Feed feed = two_plps();
    const Bytes stream = tables() + packed(feed.packets);
    demuxing to;
    to.push_list(zqtest::slice(stream, 0, 188 * 40), 1316);
    const auto buffers = to.of("plp_1").buffers();
    ASSERT_EQ(buffers.size(), 1U);
    EXPECT_GT(buffers[0].bytes.size(), 188U);
    EXPECT_EQ(buffers[0].bytes.size() % 188, 0U);
}

TEST(T2MIDemux, KeepsTheTimesOfTheBuffersThatEndPackets)
{
    Feed feed({3});
    feed.add(3, 1316).end();
    demuxing to;
    const Bytes stream = packed(feed.packets);
    std::uint64_t time = 0;
    for (std::size_t at = 0; at < stream.size(); at += 188 * 3)
        to.push(zqtest::slice(stream, at, std::min<std::size_t>(188 * 3, stream.size() - at)), ++time * GST_SECOND);
    to.push(gst_event_new_eos());
    std::uint64_t last = 0;
    for (const auto& buffer : to.of("plp_3").buffers()) {
        EXPECT_EQ(buffer.pts % GST_SECOND, 0U);
        EXPECT_EQ(buffer.pts, buffer.dts);
        EXPECT_GT(buffer.pts, last);
        last = buffer.pts;
    }
    EXPECT_EQ(last, time * GST_SECOND);
}

TEST(T2MIDemux, MarksWhatFollowsALoss)
{
    Feed feed({3});
    feed.add(10, 1200).end();
    auto packets = zqtest::packets_of(packed(feed.packets));
    packets.erase(packets.begin() + 30);
    demuxing to;
    std::vector<bool> disconts;
    to.on_buffer = [&disconts](GstBuffer* given) {
        disconts.push_back(GST_BUFFER_IS_DISCONT(given));
        return GST_FLOW_OK;
    };
    to.push(joined(packets));
    to.push(gst_event_new_eos());
    EXPECT_EQ(std::count(disconts.begin(), disconts.end(), true), 2);
    EXPECT_TRUE(disconts[0]);
    EXPECT_EQ(to.figure("continuity-errors"), 1U);
    EXPECT_EQ(to.figure("dropped-parts", "plp-3"), 1U);
}

TEST(T2MIDemux, TakesThePidStreamAndPlpThatAreSet)
{
    Feed feed = two_plps(), other({1}, {}, 4);
    other.add(6, 900).end();
    const Bytes stream = tables() + zqtest::interleaved({packed(feed.packets), packed(other.packets, 0x222)});
    demuxing one([](GObject* demux) { g_object_set(demux, "plp", 255, nullptr); });
    one.push(stream);
    one.push(gst_event_new_eos());
    EXPECT_THAT(one.pads_added, ElementsAre("plp_255"));
    EXPECT_EQ(one.bytes(255), joined(feed.sent[255]));
    demuxing by_PID([](GObject* demux) { g_object_set(demux, "pid", 0x222, "stream-id", 4, nullptr); });
    by_PID.push(stream);
    by_PID.push(gst_event_new_eos());
    EXPECT_EQ(by_PID.bytes(1), joined(other.sent[1]));
    demuxing none([](GObject* demux) { g_object_set(demux, "pid", 0x222, "stream-id", 3, nullptr); });
    none.push(stream);
    EXPECT_THAT(none.pads_added, IsEmpty());
}

TEST(T2MIDemux, LeavesDeletedNullPacketsOutWhenTold)
{
    zqtest::BasebandFormat format;
    format.deletes_nulls = true;
    Feed feed({3}, format);
    feed.add(10, 1000);
    const Bytes stream = tables() + packed(feed.packets);
    demuxing with, without([](GObject*demux) { g_object_set(demux, "reinsert-null-packets", FALSE, nullptr); });
    with.push(stream);
    without.push(stream);
    const std::uint64_t nulls = with.figure("restored-nulls", "plp-3");
    EXPECT_GT(nulls, 5U);
    EXPECT_EQ(without.bytes(3).size() + 188 * nulls, with.bytes(3).size());
}

TEST(T2MIDemux, MergesCommonPlpsWhenTold)
{
    zqtest::BasebandFormat format;
    format.ISSY_size = 3;
    Feed feed({1, 9}, format);
    mpegcore::L1Current L1;
    ASSERT_TRUE(L1.read(zqtest::L1_on_air.data(), zqtest::L1_on_air.size()));
    L1.L1CONF.PLPs.resize(2, L1.L1CONF.PLPs[0]);
    L1.L1DYN_CURR.PLPs.resize(2);
    L1.L1CONF.PLPs[0].PLP_ID = 1;
    L1.L1CONF.PLPs[1].PLP_ID = 9;
    L1.L1CONF.PLPs[1].PLP_TYPE = 0;
    L1.measure();
    feed.packets.push_back(feed.sender.packet(0x10, L1.payload()));
    feed.add(20, 1200).end();
    const Bytes stream = tables() + packed(feed.packets);
    demuxing with([](GObject*demux) { g_object_set(demux, "merge-common-plps", TRUE, nullptr); }), without;
    for (demuxing* const to : {&with, &without}) {
        to->push_cut(stream, 1316);
        to->push(gst_event_new_eos());
    }
    EXPECT_EQ(without.figure("merged-packets"), 0U);
    EXPECT_EQ(without.bytes(1), joined(feed.sent[1]));
    // Slots count the packets of each PLP; where that of PLP 1 is a null packet, that of PLP 9 comes.
    auto merged = feed.sent[1];
    unsigned changed = 0;
    for (std::size_t slot = 0; slot < merged.size() && slot < feed.sent[9].size(); ++slot)
        if (merged[slot] == zqtest::null_transport_packet() && feed.sent[9][slot] != merged[slot]) {
            merged[slot] = feed.sent[9][slot];
            ++changed;
        }
    EXPECT_GT(changed, 10U);
    EXPECT_EQ(with.bytes(1), joined(merged));
    EXPECT_EQ(with.figure("merged-packets"), changed);
    EXPECT_EQ(with.bytes(9), joined(feed.sent[9]));
}

TEST(T2MIDemux, StripsRtpWhetherCapsSaySoOrNot)
{
    Feed feed({3});
    feed.add(20, 1200).end();
    const Bytes stream = tables() + packed(feed.packets);
    Bytes datagrams;
    for (std::size_t at = 0; at < stream.size(); at += 1316)
        datagrams = datagrams + datagram(0, zqtest::slice(stream, at, std::min<std::size_t>(1316, stream.size() - at)));
    EXPECT_NE(zqtest::by_simple_rules(datagrams, 3), joined(feed.sent[3]));
    for (const char* caps : {"video/mpegts", "application/x-rtp, payload=(int)33"}) {
        demuxing to({}, caps);
        std::uint16_t number = 65530;
        for (std::size_t at = 0; at < stream.size(); at += 1316)
            to.push(datagram(number++, zqtest::slice(stream, at, std::min<std::size_t>(1316, stream.size() - at))));
        to.push(gst_event_new_eos());
        EXPECT_EQ(to.bytes(3), joined(feed.sent[3]));
        EXPECT_EQ(to.figure("rtp-packets"), (stream.size() + 1315) / 1316);
        EXPECT_EQ(to.figure("rtp-lost"), 0U);
    }
}

TEST(T2MIDemux, CountsTheRtpPacketsThatAreMissing)
{
    Feed feed({3});
    feed.add(20, 1200).end();
    const Bytes stream = tables() + packed(feed.packets);
    demuxing to({}, "application/x-rtp");
    for (std::uint16_t number = 0; number < 16; ++number)
        if (number != 7 && number != 8)
            to.push(datagram(number, zqtest::slice(stream, 1316 * std::size_t{number}, 1316)));
    EXPECT_EQ(to.figure("rtp-lost"), 2U);
    EXPECT_EQ(to.figure("continuity-errors"), 1U);
    EXPECT_TRUE(zqtest::is_subsequence(zqtest::packets_of(to.bytes(3)), feed.sent[3]));
}

TEST(T2MIDemux, LeavesOutRtpPacketsThatComeTwiceOrLate)
{
    Feed feed({3});
    feed.add(20, 1200).end();
    const Bytes stream = tables() + packed(feed.packets);
    demuxing to({}, "application/x-rtp");
    const auto push = [&](std::size_t number) {
        to.push(datagram(static_cast<std::uint16_t>(number), zqtest::slice(stream, 1316 * number, 1316)));
    };
    for (std::size_t number = 0; number < 16; ++number) {
        if (number == 7)
            continue;
        push(number);
        if (number % 4 == 1)
            push(number);
        if (number == 8)
            push(7);
    }
    // One gap, for the datagram that came behind the one that should have followed it.
    EXPECT_EQ(to.figure("continuity-errors"), 1U);
    EXPECT_TRUE(zqtest::is_subsequence(zqtest::packets_of(to.bytes(3)), feed.sent[3]));
}

TEST(T2MIDemux, DropsWhatIsNoRtpWhereCapsSayRtp)
{
    Feed feed = two_plps();
    demuxing to({}, "application/x-rtp");
    EXPECT_EQ(to.push_cut(packed(feed.packets), 1316), GST_FLOW_OK);
    EXPECT_EQ(to.figure("transport-packets"), 0U);
}

TEST(T2MIDemux, WarnsOnceOfScrambledPackets)
{
    auto packets = zqtest::packets_of(packed(two_plps().packets));
    for (Bytes& packet : packets)
        packet[3] |= 0xC0;
    demuxing to;
    to.push(tables({{0x06, T2MI_PID, zqtest::T2MI_descriptor()}}) + joined(packets));
    EXPECT_THAT(to.warnings(), ElementsAre("The T2-MI on PID 4096 is scrambled."));
}

TEST(T2MIDemux, WarnsOnceOfAPlpThatIsNoTransportStream)
{
    zqtest::T2MISender sender;
    std::vector<Bytes> packets;
    for (unsigned frame = 0; frame < 6; ++frame) {
        Bytes header{0xB0, 0, 0, 0, 0x0B, 0xB8, 0, 0, 0};
        header.push_back(zqtest::crc_8(header) ^ 1);
        packets.push_back(sender.frame(7, header + zqtest::pattern(375)));
    }
    demuxing to;
    to.push(tables() + packed(packets));
    EXPECT_THAT(to.warnings(), ElementsAre("PLP 7 carries no transport stream."));
    EXPECT_THAT(to.pads_added, IsEmpty()) << "no sink is to wait for it";
    to.push(gst_event_new_eos());
    EXPECT_THAT(to.errors(), ElementsAre("No PLP gave a transport packet."));
}

TEST(T2MIDemux, WarnsOnceWhenFiveSecondsHadNoT2mi)
{
    demuxing to;
    zqtest::Stream stream;
    for (unsigned packet = 0; packet < 7; ++packet)
        stream.packet(0x300, zqtest::Stream::goes_on, Bytes(184));
    for (unsigned second = 10; second < 15; ++second)
        to.push(stream.data, second * GST_SECOND);
    EXPECT_THAT(to.warnings(), IsEmpty());
    to.push(stream.data, 15 * GST_SECOND);
    to.push(stream.data, 16 * GST_SECOND);
    EXPECT_THAT(to.warnings(), ElementsAre("No T2-MI was found in 5 seconds of the stream."));
}

TEST(T2MIDemux, WarnsByThePcrWhereBuffersHaveNoTimes)
{
    demuxing to;
    for (unsigned second = 0; second < 20; ++second) {
        Bytes packet(188, 0xFF);
        const std::uint64_t base = 45'000 * second;
        const Bytes head{0x47,
                         0x01,
                         0x00,
                         0x20,
                         183,
                         0x10,
                         0,
                         static_cast<unsigned char>(base >> 17),
                         static_cast<unsigned char>(base >> 9),
                         static_cast<unsigned char>(base >> 1),
                         0x7E,
                         0};
        std::copy(head.begin(), head.end(), packet.begin());
        to.push(packet);
        to.push(zqtest::Stream().null().null().null().null().null().null().data);
    }
    EXPECT_THAT(to.warnings(), ElementsAre("No T2-MI was found in 5 seconds of the stream."));
}

TEST(T2MIDemux, TakesNoPieceForRtpThatBeginsWithinAPacket)
{
    // Version 2 stands where a buffer begins, 12 bytes before a packet.
    Feed feed = two_plps();
    const Bytes begin = tables() + packed(feed.packets);
    const Bytes other = zqtest::Stream().packet(0x300, zqtest::Stream::goes_on, Bytes(184, 0x80)).data;
    const std::size_t cut = begin.size() / 188 / 2 * 188;
    const Bytes stream = zqtest::slice(begin, 0, cut) + other + zqtest::slice(begin, cut, begin.size() - cut);
    for (const GstFormat format : {GST_FORMAT_TIME, GST_FORMAT_BYTES}) {
        demuxing to({}, "video/mpegts", format);
        to.push(zqtest::slice(stream, 0, cut + 176));
        to.push(zqtest::slice(stream, cut + 176, stream.size() - cut - 176));
        to.push(gst_event_new_eos());
        EXPECT_EQ(to.bytes(1), joined(feed.sent[1]));
        EXPECT_EQ(to.bytes(255), joined(feed.sent[255]));
        EXPECT_EQ(to.figure("rtp-packets"), 0U);
    }
}

TEST(T2MIDemux, LooksForNoRtpInAFile)
{
    // The file begins within a packet, with what might be the head of RTP.
    Feed feed = two_plps();
    const Bytes other = zqtest::Stream().packet(0x300, zqtest::Stream::goes_on, Bytes(184, 0x80)).data;
    const Bytes stream = zqtest::slice(other, 176, 12) + tables() + packed(feed.packets);
    demuxing to({}, "video/mpegts", GST_FORMAT_BYTES);
    to.push_cut(stream, 4096);
    to.push(gst_event_new_eos());
    EXPECT_EQ(to.bytes(255), joined(feed.sent[255]));
    EXPECT_EQ(to.figure("rtp-packets"), 0U);
}

TEST(T2MIDemux, TellsAMissingPlpFromAStreamWithoutT2mi)
{
    demuxing to([](GObject* demux) { g_object_set(demux, "plp", 77, nullptr); });
    Feed feed = two_plps();
    const Bytes stream = tables() + packed(feed.packets);
    to.push(stream, 0);
    to.push(zqtest::Stream().null().data, 5 * GST_SECOND);
    EXPECT_THAT(to.warnings(), ElementsAre("PLP 77 was not found in 5 seconds of the stream."));
    to.push(gst_event_new_eos());
    EXPECT_THAT(to.errors(), ElementsAre("The stream has no PLP 77."));
}

TEST(T2MIDemux, FailsAtTheEndOfAStreamWithoutT2mi)
{
    demuxing to;
    zqtest::Stream stream;
    for (unsigned packet = 0; packet < 100; ++packet)
        stream.packet(0x300, zqtest::Stream::goes_on, Bytes(184));
    to.push(stream.data);
    to.push(gst_event_new_eos());
    EXPECT_THAT(to.errors(), ElementsAre("The stream has no T2-MI."));
}

TEST(T2MIDemux, TellsWhatL1Says)
{
    Feed feed({102});
    feed.add(2, 900).signal();
    demuxing to;
    to.push(tables() + packed(feed.packets));
    const auto told = to.next("ZqT2MIL1Changed");
    ASSERT_NE(told, nullptr);
    const GstStructure* const L1 = gst_message_get_structure(told.get());
    guint id = 0;
    EXPECT_TRUE(gst_structure_get_uint(L1, "network-id", &id));
    EXPECT_EQ(id, 0x3003U);
    EXPECT_STREQ(gst_structure_get_string(L1, "guard-interval"), "1/8");
    EXPECT_STREQ(gst_structure_get_string(L1, "pilot-pattern"), "PP3");
    const GValue* const plps = gst_structure_get_value(L1, "plps");
    ASSERT_EQ(gst_value_array_get_size(plps), 1U);
    const GstStructure* const plp = gst_value_get_structure(gst_value_array_get_value(plps, 0));
    EXPECT_STREQ(gst_structure_get_string(plp, "modulation"), "16-QAM");
    EXPECT_STREQ(gst_structure_get_string(plp, "code-rate"), "3/5");
    EXPECT_STREQ(gst_structure_get_string(plp, "fec"), "64K LDPC");
    EXPECT_STREQ(gst_structure_get_string(plp, "payload"), "TS");
    EXPECT_STREQ(gst_structure_get_string(plp, "mode"), "high efficiency");
}

TEST(T2MIDemux, HasItsFiguresReadWhileDataFlow)
{
    Feed feed = two_plps();
    const Bytes stream = tables() + packed(feed.packets);
    demuxing to;
    std::atomic<bool> stop{false};
    std::thread reader([&] {
        while (!stop) {
            GstStructure* stats = nullptr;
            g_object_get(to.element.get(), "stats", &stats, nullptr);
            gst_structure_free(stats);
        }
    });
    for (unsigned round = 0; round < 30; ++round)
        to.push_cut(stream, 1316);
    stop = true;
    reader.join();
    EXPECT_EQ(to.figure("transport-packets"), 30 * stream.size() / 188);
    support::set_state(to.element, GST_STATE_NULL);
    EXPECT_EQ(to.figure("transport-packets"), 30 * stream.size() / 188);
}
} // namespace zq_t2mi_demux_test
