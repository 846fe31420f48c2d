// SPDX-License-Identifier: LGPL-2.1-or-later
// Stopping must never wait for downstream, whatever holds the receive thread.
#include "support/element.h"
#include "support/stopping.h"
#include "support/threads.h"
#include "support/udp_sender.h"
#include "support/watchdog.h"
#include "zq_net_source/zq_net_buffer_pool.h"

#include <gtest/gtest.h>

#include <mutex>

namespace stop_test
{
using namespace std::chrono_literals;
using support::drop_while_playing;
using support::eventually;
using support::figure;
using support::gate;
using support::pattern;
using support::receive_threads;

constexpr support::source_kind zqnetsource{"zqnetsource", "src_net"};

struct held : support::held_source
{
    held() : held_source{zqnetsource} {}
};

void cycle(const std::string& rest)
{
    support::stop_under_traffic(zqnetsource.factory, rest, [](std::uint16_t) {
        return receive_threads() == 0 ? std::string{} : std::string{"a run was left behind"};
    });
}

TEST(StopUnderTraffic, SurvivesCyclesIntoAFakeSink) { cycle("fakesink"); }

TEST(StopUnderTraffic, SurvivesCyclesIntoAQueueAndASynchronisedSink) { cycle("queue ! fakesink sync=true"); }

TEST(StopUnderTraffic, SurvivesCyclesIntoASinkThatSleeps) { cycle("identity sleep-time=3000 ! fakesink sync=true"); }

TEST(StopUnderTraffic, SurvivesCyclesIntoAnAppSinkThatNobodyPulls) { cycle("appsink"); }

TEST(StopUnderTraffic, SurvivesCyclesIntoAFileSink) { cycle("filesink location=/dev/null"); }

TEST(StopUnderTraffic, NeverShrinksTheFileOfAFileSink) { support::never_shrinks_a_file(zqnetsource.factory); }

TEST(Stop, SetsARunAsideWhosePushIsHeldAndCollectsItOnLeavingPaused)
{
    held stand;
    stand.play_until_held();
    support::set_state(stand.source, GST_STATE_PAUSED);
    EXPECT_EQ(receive_threads(), 1);
    stand.closed.open();
    support::set_state(stand.source, GST_STATE_READY);
    EXPECT_EQ(receive_threads(), 0);
    support::set_state(stand.source, GST_STATE_NULL);
}

TEST(Stop, SetsARunAsideWhoseNegotiationIsHeld)
{
    const support::watchdog guard;
    gate closed;
    const support::test_sink sink{{}, [&](GstQuery* query) {
                                      if (GST_QUERY_TYPE(query) == GST_QUERY_ALLOCATION)
                                          closed.pass();
                                      return false;
                                  }};
    const auto source = support::make_source();
    support::set_port(source, support::free_port());
    gst_pad_link(support::pad_of(source, "src_net").get(), sink.pad());
    support::set_state(source, GST_STATE_PLAYING);
    ASSERT_TRUE(closed.somebody_waits());
    EXPECT_EQ(receive_threads(), 1);
    support::set_state(source, GST_STATE_PAUSED);
    EXPECT_EQ(receive_threads(), 1);
    closed.open();
    support::set_state(source, GST_STATE_NULL);
    EXPECT_EQ(receive_threads(), 0);
}

TEST(Stop, CollectsARunSetAsideAtTheNextStart)
{
    held stand;
    stand.play_until_held();
    support::set_state(stand.source, GST_STATE_PAUSED);
    stand.closed.open();
    support::set_state(stand.source, GST_STATE_PLAYING);
    EXPECT_TRUE(eventually([] { return receive_threads() == 1; }));
    support::set_state(stand.source, GST_STATE_NULL);
    EXPECT_EQ(receive_threads(), 0);
}

TEST(Stop, LetsTheNextRunBeginWhenTheHeldPushComesBackAndLosesNothingMeanwhile)
{
    held stand;
    const auto pad = support::pad_of(stand.source, "src_net");
    const support::recorder recorder{pad.get()};
    stand.play_until_held();
    support::set_state(stand.source, GST_STATE_PAUSED);
    support::set_state(stand.source, GST_STATE_PLAYING);
    for (unsigned i = 1; i <= 5; ++i)
        stand.sender.send(pattern(1316, i));
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(recorder.count(), 1U);
    stand.closed.open();
    ASSERT_TRUE(eventually([&] { return recorder.count() == 6; }));
    support::set_state(stand.source, GST_STATE_NULL);
    EXPECT_EQ(recorder.flow(),
              (std::vector<std::string>{"stream-start", "caps", "segment", "buffer", "stream-start", "caps", "segment",
                                        "buffer", "buffer", "buffer", "buffer", "buffer"}));
    EXPECT_EQ(recorder.buffers().back().bytes, pattern(1316, 5));
}

TEST(Stop, NeverHoldsMoreThanOneRunHoweverOftenASinkThatBlocksForEverIsPaused)
{
    held stand;
    stand.play_until_held();
    for (int i = 0; i < 5; ++i) {
        support::set_state(stand.source, GST_STATE_PAUSED);
        EXPECT_EQ(receive_threads(), 1);
        support::set_state(stand.source, GST_STATE_PLAYING);
        stand.sender.send(pattern(1316));
    }
    support::set_state(stand.source, GST_STATE_PAUSED);
    EXPECT_EQ(receive_threads(), 1);
    stand.closed.open();
    support::set_state(stand.source, GST_STATE_NULL);
    EXPECT_EQ(receive_threads(), 0);
}

TEST(Stop, LeavesASinkThatBlocksForEverToItsThreadWhenTheElementGoes)
{
    held stand;
    stand.play_until_held();
    support::set_state(stand.source, GST_STATE_NULL);
    stand.source.reset();
    EXPECT_EQ(receive_threads(), 1);
    stand.closed.open();
    EXPECT_TRUE(eventually([] { return receive_threads() == 0; }));
}

TEST(Stop, WakesAThreadThatWaitsForAFreeBuffer)
{
    const support::watchdog guard;
    // Keeps every buffer, so that pool and reserve run dry.
    const std::size_t all_buffers = 40 + zq_reserve_buffers;
    std::mutex mutex;
    std::vector<zq_buffer_pointer> kept;
    support::test_sink sink{[&](GstBuffer* buffer) {
        const std::lock_guard lock{mutex};
        kept.emplace_back(gst_buffer_ref(buffer));
        return GST_FLOW_OK;
    }};
    const auto source = support::make_source();
    const auto port = support::free_port();
    support::set_port(source, port);
    gst_pad_link(support::pad_of(source, "src_net").get(), sink.pad());
    support::set_state(source, GST_STATE_PLAYING);
    const support::udp_sender sender{"127.0.0.1", port};
    const auto kept_so_far = [&] {
        const std::lock_guard lock{mutex};
        return kept.size();
    };
    for (std::size_t sent = 0; sent < all_buffers + 20; sent += 20) {
        for (unsigned i = 0; i < 20; ++i)
            sender.send(pattern(1316, i));
        ASSERT_TRUE(eventually([&] { return kept_so_far() >= std::min(sent + 20, all_buffers); }));
    }
    EXPECT_EQ(kept_so_far(), all_buffers);
    EXPECT_EQ(figure(source, "Last error"), "") << "an exhausted pool is back-pressure, not loss";
    support::set_state(source, GST_STATE_PAUSED);
    EXPECT_EQ(receive_threads(), 0);
    support::set_state(source, GST_STATE_NULL);
}

TEST(Stop, OnTheReceiveThreadItselfReturnsAndLeavesNoThread)
{
    const support::watchdog guard;
    const auto source = support::make_source();
    const auto port = support::free_port();
    support::set_port(source, port);
    std::atomic<bool> paused{false};
    support::test_sink sink{[&](GstBuffer*) {
        support::set_state(source, GST_STATE_PAUSED);
        paused = true;
        return GST_FLOW_OK;
    }};
    gst_pad_link(support::pad_of(source, "src_net").get(), sink.pad());
    support::set_state(source, GST_STATE_PLAYING);
    support::udp_sender{"127.0.0.1", port}.send(pattern(1316));
    EXPECT_TRUE(eventually([&] { return paused.load(); }));
    support::set_state(source, GST_STATE_NULL);
    EXPECT_EQ(receive_threads(), 0);
}

TEST(Stop, HappensWhenAnElementIsDroppedWhilePlaying)
{
    const support::watchdog guard;
    auto source = support::make_source();
    const auto port = support::free_port();
    support::set_port(source, port);
    support::test_sink sink;
    gst_pad_link(support::pad_of(source, "src_net").get(), sink.pad());
    const support::udp_traffic traffic{port, 500us};
    support::set_state(source, GST_STATE_PLAYING);
    ASSERT_TRUE(eventually([&] { return figure(source, "Data counter [byte]") != "0"; }));
    drop_while_playing(source);
    EXPECT_TRUE(eventually([] { return receive_threads() == 0; }));
    EXPECT_FALSE(gst_pad_is_linked(sink.pad()));
}

TEST(Stop, HappensWhenAnElementIsDroppedWhileDownstreamHoldsItsPush)
{
    held stand;
    stand.play_until_held();
    drop_while_playing(stand.source);
    stand.closed.open();
    EXPECT_TRUE(eventually([] { return receive_threads() == 0; }));
}
} // namespace stop_test
