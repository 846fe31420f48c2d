// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/Samples.h"
#include "support/demuxing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>

namespace zq_t2mi_demux_pads_test
{
using support::demuxing;
using testing::ElementsAre;
using zqtest::Bytes;
using zqtest::Feed;
using zqtest::joined;
using zqtest::packed;
using zqtest::tables;
using zqtest::operator+;

Feed two_plps()
{
    Feed feed({1, 2});
    feed.add(12, 1200).end();
    return feed;
}

Bytes stream_of(const Feed& feed) { return tables() + packed(feed.packets); }

Bytes half(const Bytes& stream, unsigned which)
{
    const std::size_t middle = stream.size() / 2 / 188 * 188;
    return which == 0 ? zqtest::slice(stream, 0, middle) : zqtest::slice(stream, middle, stream.size() - middle);
}

std::string stream_id_of(GstElement* element, const char* name)
{
    GstPad* const pad = gst_element_get_static_pad(element, name);
    gchar* const id = gst_pad_get_stream_id(pad);
    const std::string text = id;
    g_free(id);
    gst_object_unref(pad);
    return text;
}

mpegcore::L1Current L1_of(const std::vector<std::uint8_t>& plp_ids)
{
    mpegcore::L1Current L1;
    EXPECT_TRUE(L1.read(zqtest::L1_on_air.data(), zqtest::L1_on_air.size()));
    L1.L1CONF.PLPs.resize(plp_ids.size(), L1.L1CONF.PLPs[0]);
    L1.L1DYN_CURR.PLPs.resize(plp_ids.size());
    for (std::size_t at = 0; at < plp_ids.size(); ++at)
        L1.L1CONF.PLPs[at].PLP_ID = plp_ids[at];
    L1.measure();
    return L1;
}

TEST(T2MIDemuxPads, BeginWithStreamStartCapsSegmentAndTheCollection)
{
    Feed feed = two_plps();
    demuxing to;
    to.push(stream_of(feed));
    EXPECT_THAT(to.of("plp_1").flow(), testing::Contains("buffer"));
    auto flow = to.of("plp_1").flow();
    flow.resize(4);
    EXPECT_EQ(flow, (std::vector<std::string>{"stream-start", "caps", "segment", "stream-collection"}));
    EXPECT_EQ(to.of("plp_1").segments()[0].format, GST_FORMAT_TIME);
}

TEST(T2MIDemuxPads, HaveStreamIdsThatAreTheSameEachTimeAndOneGroup)
{
    std::vector<std::string> ids;
    for (unsigned round = 0; round < 2; ++round) {
        demuxing to;
        to.push(stream_of(two_plps()));
        ids.push_back(stream_id_of(to.element.get(), "plp_1"));
        ids.push_back(stream_id_of(to.element.get(), "plp_2"));
        for (const char* name : {"plp_1", "plp_2"}) {
            GstPad* const pad = gst_element_get_static_pad(to.element.get(), name);
            GstEvent* const start = gst_pad_get_sticky_event(pad, GST_EVENT_STREAM_START, 0);
            guint group = 0;
            EXPECT_TRUE(gst_event_parse_group_id(start, &group));
            EXPECT_EQ(group, 7U);
            gst_event_unref(start);
            gst_object_unref(pad);
        }
    }
    EXPECT_THAT(ids, ElementsAre("upstream/plp_1", "upstream/plp_2", "upstream/plp_1", "upstream/plp_2"));
}

TEST(T2MIDemuxPads, AreToldInCollectionsAndMessages)
{
    demuxing to;
    to.push(stream_of(two_plps()));
    std::vector<guint> sizes;
    while (const auto told = to.next(GST_MESSAGE_STREAM_COLLECTION)) {
        GstStreamCollection* collection = nullptr;
        gst_message_parse_stream_collection(told.get(), &collection);
        sizes.push_back(gst_stream_collection_get_size(collection));
        gst_object_unref(collection);
    }
    EXPECT_THAT(sizes, ElementsAre(1, 2));
}

TEST(T2MIDemuxPads, AreToldInAMessageOfTheElement)
{
    demuxing to;
    to.push(stream_of(two_plps()));
    ASSERT_NE(to.next("ZqT2MIPLPs"), nullptr);
    const auto told = to.next("ZqT2MIPLPs");
    ASSERT_NE(told, nullptr);
    const GValue* const plps = gst_structure_get_value(gst_message_get_structure(told.get()), "plps");
    ASSERT_EQ(gst_value_array_get_size(plps), 2U);
    EXPECT_EQ(g_value_get_uint(gst_value_array_get_value(plps, 1)), 2U);
}

TEST(T2MIDemuxPads, CarryWhatL1SaysAsTags)
{
    Feed feed({102});
    feed.add(2, 900).signal();
    demuxing to;
    to.push(stream_of(feed));
    GstPad* const pad = gst_element_get_static_pad(to.element.get(), "plp_102");
    GstEvent* const event = gst_pad_get_sticky_event(pad, GST_EVENT_TAG, 0);
    ASSERT_NE(event, nullptr);
    GstTagList* tags = nullptr;
    gst_event_parse_tag(event, &tags);
    const gchar* text = nullptr;
    EXPECT_TRUE(gst_tag_list_peek_string_index(tags, GST_TAG_EXTENDED_COMMENT, 1, &text));
    EXPECT_STREQ(text, "modulation=16-QAM");
    gst_event_unref(event);
    gst_object_unref(pad);
}

TEST(T2MIDemuxPads, ThatNobodyLinksStopNothing)
{
    Feed feed = two_plps();
    demuxing to;
    to.links = false;
    EXPECT_EQ(to.push_cut(stream_of(feed), 1316), GST_FLOW_OK);
    EXPECT_THAT(to.pads_added, ElementsAre("plp_1", "plp_2"));
}

TEST(T2MIDemuxPads, GoOnWhenTheyAreLinkedAgain)
{
    Feed feed = two_plps();
    const Bytes stream = stream_of(feed);
    demuxing to;
    to.push_cut(half(stream, 0), 1316);
    GstPad* const pad = gst_element_get_static_pad(to.element.get(), "plp_1");
    GstPad* const old_peer = gst_pad_get_peer(pad);
    gst_pad_unlink(pad, old_peer);
    gst_object_unref(old_peer);
    const std::size_t bytes_before = to.bytes(1).size();
    EXPECT_EQ(to.push_cut(zqtest::slice(half(stream, 1), 0, 188 * 20), 1316), GST_FLOW_OK);
    bool is_first_discont = false;
    std::size_t count = 0;
    const support::test_sink again([&](GstBuffer* given) {
        if (count++ == 0)
            is_first_discont = GST_BUFFER_IS_DISCONT(given);
        return GST_FLOW_OK;
    });
    const support::recorder records(again.pad());
    ASSERT_EQ(gst_pad_link(pad, again.pad()), GST_PAD_LINK_OK);
    to.push_cut(zqtest::slice(half(stream, 1), 188 * 20, half(stream, 1).size() - 188 * 20), 1316);
    EXPECT_EQ(to.bytes(1).size(), bytes_before);
    EXPECT_EQ(records.flow()[0], "stream-start");
    EXPECT_TRUE(is_first_discont);
    EXPECT_GT(records.bytes().size(), 0U);
    gst_pad_unlink(pad, again.pad());
    gst_object_unref(pad);
}

TEST(T2MIDemuxPads, EndWhenL1NoLongerListsTheirPlp)
{
    Feed feed({1, 2});
    feed.add(4, 900).end();
    feed.packets.insert(feed.packets.begin(), feed.sender.packet(0x10, L1_of({1, 2}).payload()));
    zqtest::T2MISender behind(0, 10);
    feed.packets.push_back(behind.packet(0x10, L1_of({1}).payload()));
    demuxing to;
    to.push(stream_of(feed));
    EXPECT_THAT(to.pads_removed, ElementsAre("plp_2"));
    EXPECT_EQ(to.of("plp_2").flow().back(), "eos");
    EXPECT_EQ(to.bytes(2), joined(feed.sent[2]));
    EXPECT_NE(to.of("plp_1").flow().back(), "eos");
}

TEST(T2MIDemuxPads, EndWithTheStream)
{
    demuxing to;
    to.push(stream_of(two_plps()));
    to.push(gst_event_new_eos());
    EXPECT_EQ(to.of("plp_1").flow().back(), "eos");
    EXPECT_EQ(to.of("plp_2").flow().back(), "eos");
}

TEST(T2MIDemuxPads, AreFlushedAndJoinNothingAcrossAFlush)
{
    Feed feed = two_plps();
    const Bytes stream = stream_of(feed);
    demuxing to;
    to.push(zqtest::slice(stream, 0, 188 * 51));
    GstPad* const pad = gst_element_get_static_pad(to.element.get(), "plp_1");
    unsigned flushes = 0;
    const gulong probe = gst_pad_add_probe(
        pad, GST_PAD_PROBE_TYPE_EVENT_FLUSH,
        [](GstPad*, GstPadProbeInfo*, gpointer count) {
            ++*static_cast<unsigned*>(count);
            return GST_PAD_PROBE_OK;
        },
        &flushes, nullptr);
    to.push(gst_event_new_flush_start());
    to.push(gst_event_new_flush_stop(TRUE));
    gst_pad_remove_probe(pad, probe);
    gst_object_unref(pad);
    EXPECT_EQ(flushes, 2U);
    GstSegment segment;
    gst_segment_init(&segment, GST_FORMAT_TIME);
    to.push(gst_event_new_segment(&segment));
    to.push(stream);
    const Bytes got = to.bytes(1), sent = joined(feed.sent[1]);
    ASSERT_GE(got.size(), sent.size());
    EXPECT_TRUE(std::equal(sent.begin(), sent.end(), got.end() - static_cast<std::ptrdiff_t>(sent.size())));
    EXPECT_EQ(std::count(to.pads_added.begin(), to.pads_added.end(), "plp_1"), 1);
}

TEST(T2MIDemuxPads, SayTogetherWhetherDataAreWanted)
{
    demuxing to;
    to.on_buffer = [](GstBuffer*) { return GST_FLOW_EOS; };
    EXPECT_EQ(to.push_cut(stream_of(two_plps()), 1316), GST_FLOW_EOS);
    demuxing broken;
    broken.on_buffer = [](GstBuffer*) { return GST_FLOW_ERROR; };
    EXPECT_EQ(broken.push_cut(stream_of(two_plps()), 1316), GST_FLOW_ERROR);
}

TEST(T2MIDemuxPads, SayTogetherThatNoDataAreWantedThoughTheirDataComeInTurns)
{
    demuxing to;
    Feed feed({1, 2});
    feed.add(12, 3000);
    unsigned buffers = 0;
    to.on_buffer = [&buffers](GstBuffer*) { return ++buffers < 8 ? GST_FLOW_OK : GST_FLOW_EOS; };
    EXPECT_EQ(to.push_cut(stream_of(feed), 376), GST_FLOW_EOS);
}

TEST(T2MIDemuxPads, HandOnBeforeTheInputBufferEndsWhereNullPacketsMakeMuchOfIt)
{
    zqtest::BasebandSender framer({true, 0, true});
    zqtest::T2MISender sender;
    std::vector<Bytes> packets;
    for (unsigned number = 0; number < 20; ++number) {
        for (unsigned null = 0; null < 255; ++null)
            framer.add(zqtest::null_transport_packet());
        framer.add(zqtest::numbered_packet(number));
    }
    packets.push_back(sender.frame(1, framer.frame(framer.waiting())));
    packets.push_back(sender.frame(2, Bytes{0xF0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0xA8}));
    demuxing to;
    std::size_t before = 0;
    to.on_buffer = [&](GstBuffer*) {
        before += to.pads_added.size() < 2 ? 1 : 0;
        return GST_FLOW_OK;
    };
    to.push(tables() + packed(packets));
    EXPECT_EQ(to.bytes(1).size(), 188U * 20 * 256);
    EXPECT_GE(before, 20U * 256 / 43 - 33);
}

TEST(T2MIDemuxPads, TellOfSilenceWhileOthersHaveData)
{
    demuxing to;
    Feed both({1, 2}), one({1});
    both.add(4, 1200);
    one.add(8, 1200);
    to.push(stream_of(both), 0);
    const auto gaps = [&to] {
        const auto flow = to.of("plp_2").flow();
        return std::count(flow.begin(), flow.end(), "gap");
    };
    const auto packets = zqtest::packets_of(packed(one.packets));
    for (unsigned tenth = 1; tenth <= 11; ++tenth)
        to.push(packets[tenth], tenth * 100 * GST_MSECOND);
    EXPECT_EQ(gaps(), 2);
}

TEST(T2MIDemuxPads, AreCompleteOnceAllThatL1ListsAreThere)
{
    demuxing to;
    unsigned complete = 0;
    g_signal_connect_swapped(to.element.get(), "no-more-pads", G_CALLBACK(+[](unsigned* count) { ++*count; }),
                             &complete);
    Feed feed({1, 2});
    feed.packets.push_back(feed.sender.packet(0x10, L1_of({1, 2}).payload()));
    to.push(stream_of(feed));
    feed.packets.clear();
    feed.add(1, 1200);
    to.push(packed({feed.packets[0]}));
    EXPECT_EQ(complete, 0U);
    to.push(packed({feed.packets[1]}));
    feed.packets.clear();
    feed.add(3, 1200);
    to.push(packed(feed.packets));
    EXPECT_EQ(complete, 1U);
    to.push(gst_event_new_eos());
    EXPECT_EQ(complete, 1U);
    g_signal_handlers_disconnect_by_data(to.element.get(), &complete);
}

TEST(T2MIDemuxPads, AreCompleteAtOnceWhereOneIsWantedAndAtTheEndWithoutL1)
{
    for (const bool wants_one : {true, false}) {
        demuxing to([=](GObject* demux) { g_object_set(demux, "plp", wants_one ? 2 : -1, nullptr); });
        unsigned complete = 0;
        g_signal_connect_swapped(to.element.get(), "no-more-pads", G_CALLBACK(+[](unsigned* count) { ++*count; }),
                                 &complete);
        to.push(stream_of(two_plps()));
        EXPECT_EQ(complete, wants_one ? 1U : 0U);
        to.push(gst_event_new_eos());
        EXPECT_EQ(complete, 1U);
        g_signal_handlers_disconnect_by_data(to.element.get(), &complete);
    }
}

TEST(T2MIDemuxPads, HandASeekUpOnce)
{
    demuxing to;
    to.push(stream_of(two_plps()));
    unsigned seeks = 0;
    const auto source = support::pad_of(to.element, "sink");
    const gulong probe = gst_pad_add_probe(
        source.get(), GST_PAD_PROBE_TYPE_EVENT_UPSTREAM,
        [](GstPad*, GstPadProbeInfo*, gpointer count) {
            ++*static_cast<unsigned*>(count);
            return GST_PAD_PROBE_OK;
        },
        &seeks, nullptr);
    GstEvent* const seek =
        gst_event_new_seek(1.0, GST_FORMAT_BYTES, GST_SEEK_FLAG_FLUSH, GST_SEEK_TYPE_SET, 0, GST_SEEK_TYPE_NONE, -1);
    for (const char* name : {"plp_1", "plp_2"}) {
        GstPad* const pad = gst_element_get_static_pad(to.element.get(), name);
        gst_pad_send_event(pad, gst_event_ref(seek));
        gst_object_unref(pad);
    }
    gst_event_unref(seek);
    gst_pad_remove_probe(source.get(), probe);
    EXPECT_EQ(seeks, 1U);
}

TEST(T2MIDemuxPads, ComeAnewWithEachStart)
{
    Feed feed = two_plps();
    const Bytes stream = stream_of(feed);
    demuxing to;
    for (unsigned round = 1; round <= 20; ++round) {
        EXPECT_EQ(to.push_cut(stream, 1316), GST_FLOW_OK);
        to.push(gst_event_new_eos());
        EXPECT_EQ(to.bytes(1), joined(feed.sent[1]));
        support::set_state(to.element, GST_STATE_NULL);
        EXPECT_EQ(to.pads_removed.size(), 2U * round);
        to.deactivate();
        to.start();
    }
}

TEST(T2MIDemuxPads, WriteAFileInAPipeline)
{
    const support::watchdog guard;
    Feed feed = two_plps();
    const Bytes stream = stream_of(feed);
    const std::string in = testing::TempDir() + "t2mi_demux_in.ts", out = testing::TempDir() + "t2mi_demux_out.ts";
    std::ofstream(in, std::ios::binary)
        .write(reinterpret_cast<const char*>(stream.data()), static_cast<std::streamsize>(stream.size()));
    const auto pipeline =
        support::parse("filesrc location=" + in + " ! zqt2midemux name=d d.plp_2 ! filesink location=" + out);
    support::set_state(pipeline, GST_STATE_PLAYING);
    GstBus* const bus = gst_element_get_bus(pipeline.get());
    const support::message end{gst_bus_timed_pop_filtered(
        bus, 30 * GST_SECOND, static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR))};
    gst_object_unref(bus);
    ASSERT_NE(end, nullptr);
    EXPECT_EQ(GST_MESSAGE_TYPE(end.get()), GST_MESSAGE_EOS);
    support::set_state(pipeline, GST_STATE_NULL);
    const std::string written = zqtest::contents(out);
    EXPECT_EQ(Bytes(written.begin(), written.end()), joined(feed.sent[2]));
    std::remove(in.c_str());
    std::remove(out.c_str());
}
} // namespace zq_t2mi_demux_pads_test
