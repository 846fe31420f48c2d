// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net_source/zq_net_run.h"

#include "support/element.h"
#include "support/udp_sender.h"
#include "support/watchdog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>

namespace zq_net_run_test
{
using support::eventually;
using support::pattern;
using support::printed_by;
using testing::ElementsAre;

/// What the element prints and sends between NULL, PLAYING and NULL when its socket cannot be opened.
void expect_silent(const std::string& properties, const std::string& text)
{
    const support::watchdog guard;
    const auto pipeline = support::parse("zqnetsource name=src " + properties + " ! fakesink name=sink async=false");
    const support::recorder recorder{support::pad_of(support::named(pipeline, "src"), "src_net").get()};
    int allocation_queries = 0;
    const auto sink_pad = support::pad_of(support::named(pipeline, "sink"), "sink");
    gst_pad_add_probe(
        sink_pad.get(), GST_PAD_PROBE_TYPE_QUERY_DOWNSTREAM,
        [](GstPad*, GstPadProbeInfo* info, gpointer count) {
            *static_cast<int*>(count) += GST_QUERY_TYPE(GST_PAD_PROBE_INFO_QUERY(info)) == GST_QUERY_ALLOCATION;
            return GST_PAD_PROBE_OK;
        },
        &allocation_queries, nullptr);
    const auto output = printed_by([&] {
        EXPECT_NE(support::set_state(pipeline, GST_STATE_PLAYING), GST_STATE_CHANGE_FAILURE);
        support::set_state(pipeline, GST_STATE_NULL);
    });
    EXPECT_EQ(output, "zq_net_source: NULL_TO_READY\n"
                      "zq_net_source: PAUSED_TO_PLAYING\n" +
                          text +
                          "zq_net_source: PLAYING_TO_PAUSED\n"
                          "zq_net_source: READY_TO_NULL\n");
    EXPECT_THAT(recorder.flow(), ElementsAre("stream-start", "caps"));
    EXPECT_EQ(allocation_queries, 0);
}

TEST(SilentElement, OnABadInterfacePlaysSilentlyAndPrintsWhy)
{
    expect_silent("address=239.1.1.1 interface=192.0.2.99 port=" + std::to_string(support::free_port()),
                  "::setsockopt(m_hSocket, IPPROTO_IP, IP_ADD_MEMBERSHIP, (char *)&mcast, sizeof(mcast)) < 0");
}

TEST(SilentElement, OnATakenPortPlaysSilentlyAndPrintsWhy)
{
    const support::taken_port port;
    expect_silent("port=" + std::to_string(port.number),
                  "2: 0 > ::bind(m_hSocket, (struct sockaddr *) &addr, sizeof(addr))");
}

TEST(SilentElement, OnATakenPortPrintsTooThatTheCapsCouldNotBeSent)
{
    const support::taken_port port;
    const auto source = support::make_source();
    support::set_port(source, port.number);
    const support::test_sink sink;
    const auto pad = support::pad_of(source, "src_net");
    gst_pad_link(pad.get(), sink.pad());
    support::set_state(source, GST_STATE_PAUSED);
    gst_pad_set_active(pad.get(), FALSE);
    EXPECT_EQ(printed_by([&] { support::set_state(source, GST_STATE_PLAYING); }),
              "zq_net_source: PAUSED_TO_PLAYING\n"
              "2: 0 > ::bind(m_hSocket, (struct sockaddr *) &addr, sizeof(addr))"
              "zqnetsource: Can't set asi caps.");
    support::set_state(source, GST_STATE_NULL);
}

TEST(SilentElement, OnATakenPortAndUnlinkedSendsNothing)
{
    const support::taken_port port;
    const auto source = support::make_source();
    support::set_port(source, port.number);
    const support::recorder recorder{support::pad_of(source, "src_net").get()};
    EXPECT_EQ(printed_by([&] { support::set_state(source, GST_STATE_PLAYING); }),
              "zq_net_source: NULL_TO_READY\nzq_net_source: PAUSED_TO_PLAYING\n"
              "2: 0 > ::bind(m_hSocket, (struct sockaddr *) &addr, sizeof(addr))");
    support::set_state(source, GST_STATE_NULL);
    EXPECT_THAT(recorder.flow(), testing::IsEmpty());
}

struct pool_release
{
    void operator()(GstBufferPool* pool) const
    {
        gst_buffer_pool_set_active(pool, FALSE);
        gst_object_unref(pool);
    }
};
using held_pool = std::unique_ptr<GstBufferPool, pool_release>;

/// The pool of the first buffer that an element pushes to a peer which offers `offered`, still held when the element
/// has stopped.
held_pool pool_after_a_run(GstBufferPool* offered)
{
    const support::watchdog guard;
    std::atomic<GstBufferPool*> seen{nullptr};
    const support::test_sink sink{[&](GstBuffer* buffer) {
                                      seen = GST_BUFFER_POOL(gst_object_ref(buffer->pool));
                                      return GST_FLOW_OK;
                                  },
                                  [&](GstQuery* query) {
                                      if (offered == nullptr || GST_QUERY_TYPE(query) != GST_QUERY_ALLOCATION)
                                          return false;
                                      gst_query_add_allocation_pool(query, offered, 4096, 2, 0);
                                      return true;
                                  }};
    const auto source = support::make_source();
    const auto port = support::free_port();
    support::set_port(source, port);
    gst_pad_link(support::pad_of(source, "src_net").get(), sink.pad());
    support::set_state(source, GST_STATE_PLAYING);
    support::udp_sender{"127.0.0.1", port}.send(pattern(1316));
    eventually([&] { return seen != nullptr; });
    support::set_state(source, GST_STATE_NULL);
    return held_pool{seen};
}

TEST(StoppedRun, LeavesItsOwnPoolActiveForWhoeverStillHoldsIt)
{
    const auto pool = pool_after_a_run(nullptr);
    ASSERT_NE(pool, nullptr);
    EXPECT_TRUE(gst_buffer_pool_is_active(pool.get()));
}

TEST(StoppedRun, DeactivatesDownstreamsPoolWhoeverStillHoldsIt)
{
    GstBufferPool* const offered = gst_buffer_pool_new();
    const auto pool = pool_after_a_run(offered);
    EXPECT_EQ(pool.get(), offered);
    EXPECT_FALSE(gst_buffer_pool_is_active(offered));
    gst_object_unref(offered);
}
} // namespace zq_net_run_test
