// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net_source/zq_net_source.h"

#include "support/element.h"
#include "support/net_sandbox.h"
#include "support/paced_sending.h"
#include "support/playing.h"
#include "support/udp_sender.h"
#include "support/watchdog.h"
#include "zq_net_source/zq_gst_net_source.h"

#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace zq_net_source_test
{
using namespace std::chrono_literals;
using support::eventually;
using support::figure;
using support::pattern;
using support::playing;
using support::printed_by;
using support::udp_sender;
using testing::ElementsAre;

TEST(Element, PrintsItsStateChangesAndReturnsNoPrerollForALiveSource)
{
    const auto source = support::make_source();
    GstStateChangeReturn result{};
    const auto set = [&](GstState state) { return printed_by([&] { result = support::set_state(source, state); }); };
    EXPECT_EQ(set(GST_STATE_READY), "zq_net_source: NULL_TO_READY\n");
    EXPECT_EQ(result, GST_STATE_CHANGE_SUCCESS);
    EXPECT_EQ(set(GST_STATE_PAUSED), "");
    EXPECT_EQ(result, GST_STATE_CHANGE_NO_PREROLL);
    EXPECT_EQ(set(GST_STATE_PLAYING), "zq_net_source: PAUSED_TO_PLAYING\n");
    EXPECT_EQ(result, GST_STATE_CHANGE_SUCCESS);
    EXPECT_EQ(set(GST_STATE_PAUSED), "zq_net_source: PLAYING_TO_PAUSED\n");
    EXPECT_EQ(result, GST_STATE_CHANGE_NO_PREROLL);
    EXPECT_EQ(set(GST_STATE_READY), "");
    EXPECT_EQ(result, GST_STATE_CHANGE_SUCCESS);
    EXPECT_EQ(set(GST_STATE_NULL), "zq_net_source: READY_TO_NULL\n");
    EXPECT_EQ(result, GST_STATE_CHANGE_SUCCESS);
}

TEST(Element, SendsStreamStartCapsAndSegmentBeforeTheFirstBuffer)
{
    playing stand;
    stand.set(GST_STATE_PLAYING);
    stand.sender.send(pattern(1316, 1));
    stand.sender.send(pattern(1316, 2));
    ASSERT_TRUE(stand.saw(2));
    stand.set(GST_STATE_NULL);
    EXPECT_THAT(stand.recorder.flow(), ElementsAre("stream-start", "caps", "segment", "buffer", "buffer"));
}

TEST(Element, StartsTheSegmentAtTheTimeOfTheFirstDatagram)
{
    playing stand;
    stand.set(GST_STATE_PLAYING);
    std::this_thread::sleep_for(50ms);
    stand.sender.send(pattern(1316));
    ASSERT_TRUE(stand.saw(1));
    stand.set(GST_STATE_NULL);
    const auto segments = stand.recorder.segments();
    ASSERT_EQ(segments.size(), 1U);
    EXPECT_EQ(segments[0].format, GST_FORMAT_TIME);
    EXPECT_GT(segments[0].start, 0U);
    EXPECT_EQ(segments[0].start, stand.recorder.buffers().at(0).pts);
    EXPECT_EQ(segments[0].stop, GST_CLOCK_TIME_NONE);
    EXPECT_EQ(segments[0].duration, GST_CLOCK_TIME_NONE);
}

TEST(Element, CountsOffsetsInGroupsOf1316WhateverTheBufferSizes)
{
    playing stand;
    stand.set(GST_STATE_PLAYING);
    for (const std::size_t size : {1316, 4000, 64000, 1400})
        stand.sender.send(pattern(size));
    ASSERT_TRUE(stand.saw(4));
    stand.set(GST_STATE_NULL);
    const auto buffers = stand.recorder.buffers();
    std::vector<std::size_t> sizes;
    for (std::size_t i = 0; i < buffers.size(); ++i) {
        sizes.push_back(buffers[i].bytes.size());
        EXPECT_EQ(buffers[i].offset, i * 1316);
        EXPECT_EQ(buffers[i].offset_end, (i + 1) * 1316);
    }
    EXPECT_THAT(sizes, ElementsAre(1316, 4000, 64000, 1400));
}

TEST(Element, DeliversDatagramsOfOddSizesByteForByte)
{
    playing stand;
    stand.set(GST_STATE_PLAYING);
    std::vector<unsigned char> sent;
    for (const std::size_t size : {0, 1, 187, 65000, 188, 1316}) {
        const auto datagram = pattern(size, static_cast<unsigned>(size));
        stand.sender.send(datagram);
        sent.insert(sent.end(), datagram.begin(), datagram.begin() + std::min<std::ptrdiff_t>(64000, datagram.size()));
    }
    ASSERT_TRUE(stand.saw(2));
    stand.set(GST_STATE_NULL);
    EXPECT_EQ(stand.recorder.bytes(), sent);
    EXPECT_EQ(figure(stand.source, "Data counter [byte]"), std::to_string(sent.size()));
}

TEST(Element, RecordsIntoAFileSinkThatHoldsMoreBuffersThanThePoolHas)
{
    char path[] = "/tmp/zq-record-XXXXXX";
    ::close(::mkstemp(path));
    {
        playing stand{std::string{"filesink location="} + path};
        stand.set(GST_STATE_PLAYING);
        std::vector<std::vector<unsigned char>> datagrams;
        std::vector<unsigned char> sent;
        for (unsigned i = 0; i < 500; ++i) {
            datagrams.push_back(pattern(1316, i));
            sent.insert(sent.end(), datagrams.back().begin(), datagrams.back().end());
        }
        ASSERT_TRUE(support::send_paced(stand.sender, datagrams, {&stand.source}));
        ASSERT_TRUE(stand.saw(500));
        stand.set(GST_STATE_NULL);
        std::ifstream file{path, std::ios::binary};
        const std::vector<unsigned char> recorded{std::istreambuf_iterator<char>{file}, {}};
        EXPECT_EQ(recorded, sent);
    }
    ::unlink(path);
}

TEST(Element, AppliesAPropertyOnlyAtTheNextStart)
{
    playing stand{"fakesink sync=false async=false"};
    stand.set(GST_STATE_PLAYING);
    const auto other = support::free_port();
    support::set_port(stand.source, other);
    stand.sender.send(pattern(1316, 1));
    ASSERT_TRUE(stand.saw(1));
    stand.set(GST_STATE_PAUSED);
    stand.set(GST_STATE_PLAYING);
    udp_sender{"127.0.0.1", other}.send(pattern(1316, 2));
    EXPECT_TRUE(stand.saw(2));
}

TEST(Element, WithAnUnknownInputTypeCountsAndPushesNothing)
{
    playing stand;
    GValue value = G_VALUE_INIT;
    g_value_init(&value, G_TYPE_INT);
    g_value_set_int(&value, 7);
    // Past the range check, as only other code inside the process could.
    reinterpret_cast<Gstzqnetsource*>(stand.source.get())
        ->engine->set_property(zq_net_source::input_type, &value, nullptr);
    stand.set(GST_STATE_PLAYING);
    stand.sender.send(pattern(1316));
    EXPECT_TRUE(eventually([&] { return figure(stand.source, "Data counter [byte]") == "1316"; }));
    stand.set(GST_STATE_NULL);
    EXPECT_EQ(stand.recorder.count(), 0U);
    EXPECT_EQ(figure(stand.source, "Last error"), "");
}

TEST(Element, CutsValuesBeyondTheRangeCheckToTheirFieldWidth)
{
    const auto source = support::make_source();
    auto* const engine = reinterpret_cast<Gstzqnetsource*>(source.get())->engine;
    GValue port = G_VALUE_INIT, plp = G_VALUE_INIT;
    g_value_init(&port, G_TYPE_UINT);
    g_value_set_uint(&port, 65536 + 1234);
    engine->set_property(zq_net_source::port, &port, nullptr);
    g_value_init(&plp, G_TYPE_INT);
    g_value_set_int(&plp, 256 + 7);
    engine->set_property(zq_net_source::plp, &plp, nullptr);
    guint got_port = 0;
    gint got_plp = 0;
    g_object_get(source.get(), "port", &got_port, "plp", &got_plp, nullptr);
    EXPECT_EQ(got_port, 1234U);
    EXPECT_EQ(got_plp, 7);
}

TEST(Element, UnlinkedAtTheStartDropsDatagramsUncounted)
{
    const support::watchdog guard;
    const auto source = support::make_source();
    const auto port = support::free_port();
    support::set_port(source, port);
    const support::recorder recorder{support::pad_of(source, "src_net").get()};
    support::set_state(source, GST_STATE_PLAYING);
    const udp_sender sender{"127.0.0.1", port};
    std::this_thread::sleep_for(5ms);
    sender.send(pattern(1316));
    EXPECT_TRUE(eventually([&] { return figure(source, "System time") != "000:00:00.000"; }));
    EXPECT_EQ(figure(source, "Data counter [byte]"), "0");
    EXPECT_THAT(recorder.flow(), testing::IsEmpty());

    // Linked later it is not negotiated: the data finds no pool.
    const support::test_sink sink;
    gst_pad_link(support::pad_of(source, "src_net").get(), sink.pad());
    sender.send(pattern(1316));
    EXPECT_TRUE(eventually([&] { return figure(source, "Last error") == "No free buffers in the buffer pool"; }));
    EXPECT_EQ(figure(source, "Data counter [byte]"), "1316");
    support::set_state(source, GST_STATE_NULL);
    EXPECT_EQ(recorder.count(), 0U);
}

TEST(Element, PrintsThatTheCapsCouldNotBeSentAndMakesNoPool)
{
    playing stand;
    stand.set(GST_STATE_PAUSED);
    const auto pad = support::pad_of(stand.source, "src_net");
    gst_pad_set_active(pad.get(), FALSE);
    EXPECT_EQ(printed_by([&] { stand.set(GST_STATE_PLAYING); }),
              "zq_net_source: PAUSED_TO_PLAYING\nzqnetsource: Can't set asi caps.");
    gst_pad_set_active(pad.get(), TRUE);
    stand.sender.send(pattern(1316));
    EXPECT_TRUE(eventually([&] { return figure(stand.source, "Last error") == "No free buffers in the buffer pool"; }));
}

TEST(Element, ReceivesAGroupOnTheGivenInterface)
{
    const support::watchdog guard;
    const auto port = support::free_port();
    const auto pipeline =
        support::parse("zqnetsource name=src address=239.1.2.9 interface=127.0.0.1 port=" + std::to_string(port) +
                       " ! fakesink sync=false");
    const auto source = support::named(pipeline, "src");
    const support::recorder recorder{support::pad_of(source, "src_net").get()};
    support::set_state(pipeline, GST_STATE_PLAYING);
    udp_sender{"239.1.2.9", port}.send(pattern(1316));
    EXPECT_TRUE(eventually([&] { return recorder.count() == 1; }));
    support::set_state(pipeline, GST_STATE_NULL);
}

TEST(Element, OfTwoOnOnePortEachGetsOnlyItsOwnGroup)
{
    if (!support::in_net_sandbox())
        GTEST_SKIP() << "joining without an interface needs a route for multicast over loopback";
    const support::watchdog guard;
    const auto port = std::to_string(support::free_port());
    const auto pipeline = support::parse("zqnetsource name=a address=239.1.3.1 port=" + port +
                                         " ! fakesink sync=false zqnetsource name=b address=239.1.3.2 port=" + port +
                                         " ! fakesink sync=false");
    const auto a = support::named(pipeline, "a"), b = support::named(pipeline, "b");
    const support::recorder from_a{support::pad_of(a, "src_net").get()}, from_b{support::pad_of(b, "src_net").get()};
    support::set_state(pipeline, GST_STATE_PLAYING);
    const udp_sender to_a{"239.1.3.1", static_cast<std::uint16_t>(std::stoi(port))};
    const udp_sender to_b{"239.1.3.2", static_cast<std::uint16_t>(std::stoi(port))};
    std::vector<unsigned char> sent_a, sent_b;
    for (unsigned i = 0; i < 10; ++i) {
        const auto for_a = pattern(1316, 2 * i), for_b = pattern(1400, 2 * i + 1);
        to_a.send(for_a);
        to_b.send(for_b);
        sent_a.insert(sent_a.end(), for_a.begin(), for_a.end());
        sent_b.insert(sent_b.end(), for_b.begin(), for_b.end());
    }
    EXPECT_TRUE(eventually([&] { return from_a.count() >= 10 && from_b.count() >= 10; }));
    support::set_state(pipeline, GST_STATE_NULL);
    EXPECT_EQ(from_a.bytes(), sent_a);
    EXPECT_EQ(from_b.bytes(), sent_b);
}

TEST(Element, PassesAnEndOfStreamEventOnThroughItsPad)
{
    playing stand;
    stand.set(GST_STATE_PLAYING);
    stand.sender.send(pattern(1316));
    ASSERT_TRUE(stand.saw(1));
    EXPECT_TRUE(gst_element_send_event(stand.pipeline.get(), gst_event_new_eos()));
    GstBus* bus = gst_element_get_bus(stand.pipeline.get());
    GstMessage* message = gst_bus_timed_pop_filtered(bus, 30 * GST_SECOND, GST_MESSAGE_EOS);
    EXPECT_NE(message, nullptr);
    if (message != nullptr)
        gst_message_unref(message);
    gst_object_unref(bus);
    EXPECT_EQ(stand.recorder.flow().back(), "eos");
}

TEST(Element, PassesAnEndOfStreamEventOnBeforeAnyDataCame)
{
    playing stand;
    stand.set(GST_STATE_PLAYING);
    EXPECT_TRUE(gst_element_send_event(stand.pipeline.get(), gst_event_new_eos()));
    GstBus* bus = gst_element_get_bus(stand.pipeline.get());
    GstMessage* message = gst_bus_timed_pop_filtered(bus, 30 * GST_SECOND, GST_MESSAGE_EOS);
    EXPECT_NE(message, nullptr);
    if (message != nullptr)
        gst_message_unref(message);
    gst_object_unref(bus);
}

TEST(Engine, WritesATimeStampInWholeMilliseconds)
{
    EXPECT_EQ(zq_net_source::pts_to_string(0), "0");
    EXPECT_EQ(zq_net_source::pts_to_string(999999), "0");
    EXPECT_EQ(zq_net_source::pts_to_string(1234567890), "1234");
}

TEST(Engine, MakesTheExceptionAtHandTheLastError)
{
    const auto source = support::make_source();
    try {
        throw std::runtime_error("no memory");
    } catch (...) {
        reinterpret_cast<Gstzqnetsource*>(source.get())->engine->note_exception();
    }
    EXPECT_EQ(figure(source, "Last error"), "no memory");
}
} // namespace zq_net_source_test
