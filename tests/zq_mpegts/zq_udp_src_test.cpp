// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/RTP.h"
#include "support/kernel_stamps.h"
#include "support/net_sandbox.h"
#include "support/playing_udp_src.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <thread>

namespace zq_udp_src_test
{
using bytes = std::vector<unsigned char>;
using message = support::message;
using playing = support::playing_udp_src;
using support::eventually;
using support::joined;
using support::pattern;
using support::rtp_datagram;
using testing::HasSubstr;

std::string error_of(const std::string& properties)
{
    const support::watchdog guard;
    const auto pipeline = support::parse("zqudpsrc " + properties + " ! fakesink");
    EXPECT_EQ(support::set_state(pipeline, GST_STATE_PLAYING), GST_STATE_CHANGE_FAILURE);
    GstBus* const bus = gst_element_get_bus(pipeline.get());
    const message found{gst_bus_pop_filtered(bus, GST_MESSAGE_ERROR)};
    gst_object_unref(bus);
    std::string text;
    if (found) {
        GError* error = nullptr;
        gst_message_parse_error(found.get(), &error, nullptr);
        EXPECT_TRUE(g_error_matches(error, GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_OPEN_READ));
        text = error->message;
        g_error_free(error);
    }
    support::set_state(pipeline, GST_STATE_NULL);
    return text;
}

TEST(UdpSrc, DeliversWhatItReceives)
{
    playing to;
    for (unsigned i = 0; i < 20; ++i)
        to.sender.send(pattern(1316, i));
    std::vector<bytes> sent;
    for (unsigned i = 0; i < 20; ++i)
        sent.push_back(pattern(1316, i));
    EXPECT_TRUE(to.got(joined(sent)));
    EXPECT_EQ(to.figure("datagrams"), 20U);
    EXPECT_EQ(to.figure("bytes"), 20U * 1316);
    EXPECT_EQ(to.figure("senders"), 1U);
    EXPECT_EQ(to.figure("kernel-drops"), 0U);
}

TEST(UdpSrc, AnnouncesATransportStreamAndATimeSegment)
{
    playing to;
    to.sender.send(pattern(1316));
    ASSERT_TRUE(to.got(pattern(1316)));
    const auto flow = to.recorder.flow();
    EXPECT_EQ(flow, (std::vector<std::string>{"stream-start", "caps", "segment", "buffer"}));
    EXPECT_EQ(to.recorder.segments()[0].format, GST_FORMAT_TIME);
    GstCaps* const caps = gst_pad_get_current_caps(support::pad_of(to.source, "src").get());
    gchar* const text = gst_caps_to_string(caps);
    EXPECT_STREQ(text, "video/mpegts, systemstream=(boolean)true, packetsize=(int)188");
    g_free(text);
    gst_caps_unref(caps);
}

TEST(UdpSrc, StampsBuffersInOrderOfTheirArrival)
{
    playing to;
    for (unsigned i = 0; i < 5; ++i) {
        to.sender.send(pattern(1316, i));
        ASSERT_TRUE(eventually([&] { return to.recorder.bytes().size() == (i + 1) * 1316U; }));
    }
    const auto buffers = to.recorder.buffers();
    for (std::size_t i = 1; i < buffers.size(); ++i)
        EXPECT_GE(buffers[i].pts, buffers[i - 1].pts);
    EXPECT_LE(buffers.back().pts, gst_element_get_current_running_time(to.source.get()));
}

TEST(UdpSrc, GoesOnBehindAPauseWithTimesThatGoOn)
{
    playing to;
    to.sender.send(pattern(1316));
    ASSERT_TRUE(to.got(pattern(1316)));
    for (unsigned i = 1; i < 10; ++i) {
        support::set_state(to.pipeline, GST_STATE_PAUSED);
        support::set_state(to.pipeline, GST_STATE_PLAYING);
        to.sender.send(pattern(1316));
        ASSERT_TRUE(eventually([&] { return to.recorder.bytes().size() == (i + 1) * 1316; }));
    }
    const auto buffers = to.recorder.buffers();
    for (std::size_t i = 1; i < buffers.size(); ++i) {
        EXPECT_GE(buffers[i].pts, buffers[i - 1].pts);
        EXPECT_TRUE(buffers[i].discont) << i;
    }
}

TEST(UdpSrc, ReceivesWhatIsSentRightBehindTheStateChangeThatStartsIt)
{
    playing to;
    for (unsigned i = 0; i < 50; ++i) {
        to.sender.send(pattern(1316));
        ASSERT_TRUE(eventually([&] { return to.recorder.bytes().size() == (i + 1) * 1316; })) << i;
        support::set_state(to.pipeline, GST_STATE_NULL);
        support::set_state(to.pipeline, GST_STATE_PLAYING);
    }
}

TEST(UdpSrc, BeginsItsTimesAnewBehindAFlushThatResetsThem)
{
    playing to;
    std::this_thread::sleep_for(std::chrono::milliseconds{300});
    to.sender.send(pattern(1316));
    ASSERT_TRUE(to.got(pattern(1316)));
    gst_element_send_event(to.source.get(), gst_event_new_flush_start());
    gst_element_send_event(to.source.get(), gst_event_new_flush_stop(TRUE));
    ASSERT_TRUE(eventually([&] {
        to.sender.send(pattern(1316));
        return to.recorder.count() > 1;
    }));
    EXPECT_LE(to.recorder.buffers().back().pts, gst_element_get_current_running_time(to.source.get()));
}

TEST(UdpSrc, DropsWhatComesWhileItDoesNotPlay)
{
    const support::kernel_stamps stamps;
    playing to;
    for (const GstState state : {GST_STATE_PAUSED, GST_STATE_READY}) {
        support::set_state(to.pipeline, state);
        support::set_state(to.pipeline, GST_STATE_PAUSED);
        for (unsigned i = 0; i < 40; ++i)
            to.sender.send(pattern(1316, 1));
        support::set_state(to.pipeline, GST_STATE_PLAYING);
        to.sender.send(pattern(1316, 2));
        const std::size_t had = state == GST_STATE_PAUSED ? 0 : 1316;
        ASSERT_TRUE(eventually([&] { return to.recorder.bytes().size() > had; }));
    }
    EXPECT_EQ(to.recorder.bytes(), joined({pattern(1316, 2), pattern(1316, 2)}));
    EXPECT_EQ(to.figure("datagrams"), 1U);
}

TEST(UdpSrc, StopsAtOnceHoweverOften)
{
    playing to;
    const support::udp_traffic traffic{to.port, std::chrono::microseconds{300}};
    const char* const wanted = std::getenv("ZQ_CYCLES");
    const int cycles = wanted != nullptr ? std::max(100, std::atoi(wanted)) : 1000;
    for (int i = 0; i < cycles; ++i) {
        support::set_state(to.pipeline, i % 3 == 0 ? GST_STATE_NULL : GST_STATE_PAUSED);
        support::set_state(to.pipeline, GST_STATE_PLAYING);
    }
    const auto had = to.recorder.count();
    EXPECT_TRUE(eventually([&] { return to.recorder.count() > had; }));
}

TEST(UdpSrc, EndsWithAnEndOfStreamThatTheApplicationSends)
{
    playing to;
    gst_element_send_event(to.pipeline.get(), gst_event_new_eos());
    EXPECT_TRUE(to.next_message(GST_MESSAGE_EOS));
}

TEST(UdpSrc, StripsRtpPutsItInOrderAndCountsWhatIsMissing)
{
    playing to;
    for (const unsigned number : {65534U, 0U, 65535U, 0U, 3U, 4U})
        to.sender.send(rtp_datagram(static_cast<std::uint16_t>(number), pattern(1316, number)));
    EXPECT_TRUE(to.got(
        joined({pattern(1316, 65534), pattern(1316, 65535), pattern(1316, 0), pattern(1316, 3), pattern(1316, 4)})));
    EXPECT_EQ(to.figure("rtp-lost"), 2U);
    EXPECT_EQ(to.figure("rtp-duplicates"), 1U);
    EXPECT_EQ(to.figure("rtp-reordered"), 1U);
}

TEST(UdpSrc, MergesTwoLegs)
{
    const auto port2 = support::free_port();
    playing to{"port2=" + std::to_string(port2)};
    const support::udp_sender second{"127.0.0.1", port2};
    std::vector<bytes> sent;
    for (unsigned i = 0; i < 200; ++i) {
        sent.push_back(pattern(1316, i));
        const auto datagram = rtp_datagram(static_cast<std::uint16_t>(i), sent.back());
        if (i % 20 != 5)
            to.sender.send(datagram);
        if (i % 20 != 15)
            second.send(datagram);
    }
    EXPECT_TRUE(to.got(joined(sent)));
    EXPECT_EQ(to.figure("rtp-lost"), 0U);
    GstStructure* stats = nullptr;
    g_object_get(to.source.get(), "stats", &stats, nullptr);
    const GValue* const legs = gst_structure_get_value(stats, "legs");
    ASSERT_EQ(gst_value_array_get_size(legs), 2U);
    for (guint leg = 0; leg < 2; ++leg) {
        guint64 lost = 0;
        gst_structure_get_uint64(gst_value_get_structure(gst_value_array_get_value(legs, leg)), "rtp-lost", &lost);
        EXPECT_EQ(lost, 10U) << leg;
    }
    gst_structure_free(stats);
}

TEST(UdpSrc, HasASecondLegOnTheSamePortWhereOnlyItsAddressIsSet)
{
    playing to{"address2=127.0.0.2"};
    const support::udp_sender second{"127.0.0.2", to.port};
    to.sender.send(rtp_datagram(0, pattern(1316, 0)));
    second.send(rtp_datagram(1, pattern(1316, 1)));
    EXPECT_TRUE(to.got(joined({pattern(1316, 0), pattern(1316, 1)})));
}

TEST(UdpSrc, DropsAndCountsWhatIsNoTransportStream)
{
    playing to;
    to.sender.send(bytes(1000, 0x11));
    to.sender.send(pattern(1316));
    EXPECT_TRUE(to.got(pattern(1316)));
    EXPECT_EQ(to.figure("not-ts"), 1U);
}

TEST(UdpSrc, TellsOfSilenceAndOfItsEnd)
{
    playing to{"timeout=20000000"};
    const auto silence = to.next_message(GST_MESSAGE_ELEMENT);
    ASSERT_TRUE(silence);
    const GstStructure* const told = gst_message_get_structure(silence.get());
    EXPECT_STREQ(gst_structure_get_name(told), "GstUDPSrcTimeout");
    guint64 timeout = 0;
    EXPECT_TRUE(gst_structure_get_uint64(told, "timeout", &timeout));
    EXPECT_EQ(timeout, 20000000U);
    to.sender.send(pattern(1316));
    for (;;) {
        const auto next = to.next_message(GST_MESSAGE_ELEMENT);
        ASSERT_TRUE(next);
        const GstStructure* const resumed = gst_message_get_structure(next.get());
        if (!gst_structure_has_name(resumed, "ZqUdpSrcResumed"))
            continue;
        guint64 lasted = 0;
        EXPECT_TRUE(gst_structure_get_uint64(resumed, "silence", &lasted));
        EXPECT_GE(lasted, timeout);
        return;
    }
}

TEST(UdpSrc, TakesNoPauseForSilence)
{
    playing to{"timeout=1000000000"};
    support::set_state(to.pipeline, GST_STATE_PAUSED);
    // More than one call reads, so that one of them gives nothing once it plays.
    for (unsigned i = 0; i < 100; ++i)
        to.sender.send(pattern(1316, 1));
    std::this_thread::sleep_for(std::chrono::milliseconds{1100});
    support::set_state(to.pipeline, GST_STATE_PLAYING);
    to.sender.send(pattern(1316, 2));
    ASSERT_TRUE(to.got(pattern(1316, 2)));
    EXPECT_FALSE(to.message_now(GST_MESSAGE_ELEMENT));
}

TEST(UdpSrc, TellsOfNoSilenceWithTheLongestTimeout)
{
    playing to{"timeout=18446744073709551615"};
    for (unsigned i = 0; i < 3; ++i)
        to.sender.send(bytes(1000, 0x11));
    ASSERT_TRUE(eventually([&] { return to.figure("not-ts") == 3; }));
    to.sender.send(pattern(1316));
    ASSERT_TRUE(to.got(pattern(1316)));
    EXPECT_FALSE(to.message_now(GST_MESSAGE_ELEMENT));
}

TEST(UdpSrc, HasFiguresInAnyState)
{
    const auto source = support::parse("zqudpsrc");
    GstStructure* stats = nullptr;
    g_object_get(source.get(), "stats", &stats, nullptr);
    guint64 value = 1;
    EXPECT_TRUE(gst_structure_get_uint64(stats, "datagrams", &value));
    EXPECT_EQ(value, 0U);
    EXPECT_TRUE(gst_structure_get_uint64(stats, "last-packet-age", &value));
    EXPECT_EQ(value, GST_CLOCK_TIME_NONE);
    gst_structure_free(stats);
}

TEST(UdpSrcErrors, TellOfATakenPortAnUnknownInterfaceAndABadAddress)
{
    const support::taken_port taken;
    EXPECT_THAT(error_of("port=" + std::to_string(taken.number)),
                HasSubstr("0.0.0.0:" + std::to_string(taken.number) + ": Address already in use"));
    EXPECT_THAT(error_of("interface=eth77"), HasSubstr("this host has no interface \"eth77\""));
    EXPECT_THAT(error_of("address=example.org"), HasSubstr("\"example.org\" is no IPv4 or IPv6 address"));
}

TEST(UdpSrcUri, SetsAndTellsTheAddress)
{
    const auto source = support::parse("zqudpsrc");
    GstURIHandler* const handler = GST_URI_HANDLER(source.get());
    ASSERT_TRUE(gst_uri_handler_set_uri(handler, "rtp://127.0.0.9@232.1.2.3:6000?interface=lo&batch-time=5", nullptr));
    gchar* address = nullptr;
    gchar* interface = nullptr;
    guint port = 0, batch_time = 0;
    gint rtp = 0;
    g_object_get(source.get(), "address", &address, "port", &port, "interface", &interface, "batch-time", &batch_time,
                 "rtp", &rtp, nullptr);
    EXPECT_STREQ(address, "232.1.2.3");
    EXPECT_EQ(port, 6000U);
    EXPECT_STREQ(interface, "lo");
    EXPECT_EQ(batch_time, 5U);
    EXPECT_EQ(rtp, 2);
    g_free(address);
    g_free(interface);
    gchar* const uri = gst_uri_handler_get_uri(handler);
    EXPECT_STREQ(uri, "rtp://127.0.0.9@232.1.2.3:6000");
    g_free(uri);
}

TEST(UdpSrcUri, LeavesWhatItDoesNotSay)
{
    const auto source = support::parse("zqudpsrc source-filter=192.0.2.1,192.0.2.2 rtp=off");
    const auto expect = [&](const char* uri, const char* filter, gint rtp) {
        ASSERT_TRUE(gst_uri_handler_set_uri(GST_URI_HANDLER(source.get()), uri, nullptr));
        gchar* source_filter = nullptr;
        gint rtp_now = -1;
        g_object_get(source.get(), "source-filter", &source_filter, "rtp", &rtp_now, nullptr);
        EXPECT_STREQ(source_filter, filter) << uri;
        EXPECT_EQ(rtp_now, rtp) << uri;
        g_free(source_filter);
    };
    constexpr gint automatic = 0, off = 1, on = 2;
    expect("udp://232.1.2.3:6000", "192.0.2.1,192.0.2.2", off);
    expect("rtp://192.0.2.9@232.1.2.3:6000", "192.0.2.9", on);
    expect("udp://232.1.2.3:6000", "192.0.2.9", automatic);
}

TEST(UdpSrcUri, IsRefusedForAValueThatItsParameterCannotHave)
{
    const auto source = support::parse("zqudpsrc address=127.0.0.3 batch-time=7");
    for (const std::string parameter : {"batch-time=soon", "batch-time=10001", "rtp=perhaps", "align=well", "port2=-1"})
    {
        GError* error = nullptr;
        const std::string uri = "udp://127.0.0.1:6000?interface=lo&" + parameter;
        EXPECT_FALSE(gst_uri_handler_set_uri(GST_URI_HANDLER(source.get()), uri.c_str(), &error)) << uri;
        EXPECT_TRUE(g_error_matches(error, GST_URI_ERROR, GST_URI_ERROR_BAD_URI));
        const auto sign = parameter.find('=');
        EXPECT_EQ(error->message,
                  '"' + parameter.substr(0, sign) + "\" cannot be \"" + parameter.substr(sign + 1) + '"');
        g_clear_error(&error);
    }
    gchar* address = nullptr;
    guint batch_time = 0;
    g_object_get(source.get(), "address", &address, "batch-time", &batch_time, nullptr);
    EXPECT_STREQ(address, "127.0.0.3") << "nothing of it is taken";
    EXPECT_EQ(batch_time, 7U);
    g_free(address);
}

TEST(UdpSrcUri, ThatIsRefusedAsAPropertyIsWarnedOfAndLeavesTheAddress)
{
    const auto source = support::parse("zqudpsrc name=src address=127.0.0.3 port=6001");
    const auto logged = support::logged_by([&] {
        g_object_set(source.get(), "uri", "udp://127.0.0.1:6000?batch-time=10001", nullptr);
        g_object_set(source.get(), "uri", "udp://127.0.0.1:6000?batch-time=10000", nullptr);
        g_object_set(source.get(), "uri", "udp://example.org:6000", nullptr);
        g_object_set(source.get(), "uri", nullptr, nullptr);
    });
    EXPECT_THAT(logged, testing::ElementsAre("src: \"batch-time\" cannot be \"10001\"",
                                             "src: \"example.org\" is no IPv4 or IPv6 address",
                                             "src: \"\" begins with neither udp:// nor rtp://"));
    gchar* uri = nullptr;
    g_object_get(source.get(), "uri", &uri, nullptr);
    EXPECT_STREQ(uri, "udp://127.0.0.1:6000") << "the one that is good";
    g_free(uri);
}

TEST(UdpSrcUri, ThatItTellsIsOneThatItTakes)
{
    const std::pair<const char*, const char*> expected[] = {
        {"address=232.1.1.1 source-filter=\" 10.0.0.1 \"", "udp://10.0.0.1@232.1.1.1:5004"},
        {"address=232.1.1.1 source-filter=10.0.0.1,", "udp://10.0.0.1@232.1.1.1:5004"},
        {"address=232.1.1.1 source-filter=10.0.0.1,10.0.0.2", "udp://232.1.1.1:5004"},
        {"address=232.1.1.1 source-filter=,", "udp://232.1.1.1:5004"},
        {"address=ff3e::9 source-filter=2001:db8::6", "udp://2001:db8::6@[ff3e::9]:5004"},
        {"address=ff02::9%lo source-filter=fe80::6%lo", "udp://fe80::6%25lo@[ff02::9%25lo]:5004"},
        {"", "udp://0.0.0.0:5004"},
    };
    for (const auto& [properties, wanted] : expected) {
        const auto source = support::parse("zqudpsrc " + std::string{properties});
        gchar* const uri = gst_uri_handler_get_uri(GST_URI_HANDLER(source.get()));
        EXPECT_STREQ(uri, wanted);
        const auto other = support::parse("zqudpsrc");
        EXPECT_TRUE(gst_uri_handler_set_uri(GST_URI_HANDLER(other.get()), uri, nullptr)) << uri;
        gchar* const again = gst_uri_handler_get_uri(GST_URI_HANDLER(other.get()));
        EXPECT_STREQ(again, uri);
        g_free(again);
        g_free(uri);
    }
}

TEST(UdpSrcUri, IsRefusedForAHostNameAndWhilePlaying)
{
    playing to;
    GstURIHandler* const handler = GST_URI_HANDLER(to.source.get());
    GError* error = nullptr;
    EXPECT_FALSE(gst_uri_handler_set_uri(handler, "udp://127.0.0.1:1", &error));
    EXPECT_TRUE(g_error_matches(error, GST_URI_ERROR, GST_URI_ERROR_BAD_STATE));
    g_clear_error(&error);
    support::set_state(to.pipeline, GST_STATE_NULL);
    EXPECT_FALSE(gst_uri_handler_set_uri(handler, "udp://example.org:1", &error));
    EXPECT_TRUE(g_error_matches(error, GST_URI_ERROR, GST_URI_ERROR_BAD_URI));
    g_clear_error(&error);
}

TEST(UdpSrcMulticast, MayHaveBlanksAroundItsSources)
{
    if (!support::in_net_sandbox())
        GTEST_SKIP() << "needs multicast on the loopback";
    const support::watchdog guard;
    const auto pipeline =
        support::parse("zqudpsrc address=232.8.8.1 interface=lo port=" + std::to_string(support::free_port()) +
                       " source-filter=\" 127.0.0.1 , 127.0.0.2,\" ! fakesink async=false");
    EXPECT_NE(gst_element_set_state(pipeline.get(), GST_STATE_PLAYING), GST_STATE_CHANGE_FAILURE);
    support::set_state(pipeline, GST_STATE_NULL);
}

TEST(UdpSrcMulticast, TakesItsGroupAndNoOtherOnTheSamePort)
{
    if (!support::in_net_sandbox())
        GTEST_SKIP() << "needs multicast on the loopback";
    const support::watchdog guard;
    const auto port = std::to_string(support::free_port());
    const auto pipeline = support::parse("zqudpsrc name=a address=239.8.8.1 interface=lo port=" + port +
                                         " ! fakesink sync=false async=false zqudpsrc name=b address=239.8.8.2 "
                                         "interface=127.0.0.1 port=" +
                                         port + " ! fakesink sync=false async=false");
    const support::recorder first{support::pad_of(support::named(pipeline, "a"), "src").get()};
    const support::recorder second{support::pad_of(support::named(pipeline, "b"), "src").get()};
    support::set_state(pipeline, GST_STATE_PLAYING);
    const auto number = static_cast<std::uint16_t>(std::stoi(port));
    support::udp_sender{"239.8.8.1", number}.send(pattern(1316, 1));
    support::udp_sender{"239.8.8.2", number}.send(pattern(1316, 2));
    EXPECT_TRUE(eventually([&] { return first.count() > 0 && second.count() > 0; }));
    EXPECT_EQ(first.bytes(), pattern(1316, 1));
    EXPECT_EQ(second.bytes(), pattern(1316, 2));
    support::set_state(pipeline, GST_STATE_NULL);
}
} // namespace zq_udp_src_test
