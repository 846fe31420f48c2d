// SPDX-License-Identifier: LGPL-2.1-or-later
// Stopping must never wait for downstream, whatever holds the receive thread.
#include "support/element.h"
#include "support/threads.h"
#include "support/udp_sender.h"
#include "support/watchdog.h"
#include "zq_net_source/zq_net_buffer_pool.h"

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <condition_variable>
#include <cstdlib>
#include <mutex>

namespace stop_test
{
using namespace std::chrono_literals;
using support::eventually;
using support::figure;
using support::pattern;
using support::receive_threads;

/// Cycles of PLAYING, PAUSED, PLAYING, NULL; fewer where everything takes longer (sanitizers).
int cycles()
{
    const char* wanted = std::getenv("ZQ_CYCLES");
    return wanted != nullptr ? std::atoi(wanted) : 200;
}

/// A gate that a test opens: buffers wait in front of it.
class gate
{
public:
    GstFlowReturn pass()
    {
        std::unique_lock lock{m_mutex};
        m_waiting = true;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return m_open; });
        return GST_FLOW_OK;
    }
    bool somebody_waits()
    {
        std::unique_lock lock{m_mutex};
        return m_changed.wait_for(lock, 30s, [this] { return m_waiting; });
    }
    void open()
    {
        const std::lock_guard lock{m_mutex};
        m_open = true;
        m_changed.notify_all();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_waiting = false, m_open = false;
};

/// An element linked to a sink that holds every buffer until the gate opens.
struct held
{
    support::watchdog guard;
    gate closed;
    support::test_sink sink{[this](GstBuffer*) { return closed.pass(); }};
    std::uint16_t port = support::free_port();
    support::element source = support::make_source();
    support::udp_sender sender{"127.0.0.1", port};

    held()
    {
        support::set_port(source, port);
        gst_pad_link(support::pad_of(source, "src_net").get(), sink.pad());
    }
    void play_until_held()
    {
        support::set_state(source, GST_STATE_PLAYING);
        sender.send(pattern(1316));
        ASSERT_TRUE(closed.somebody_waits());
    }
};

void cycle(const std::string& rest)
{
    const support::watchdog guard{280s};
    const auto port = support::free_port();
    const auto pipeline = support::parse("zqnetsource name=src port=" + std::to_string(port) + " ! " + rest);
    const support::udp_traffic traffic{port, 300us};
    for (int i = 0, count = cycles(); i < count; ++i) {
        support::set_state(pipeline, GST_STATE_PLAYING);
        std::this_thread::sleep_for(std::chrono::milliseconds{i % 5});
        support::set_state(pipeline, GST_STATE_PAUSED);
        support::set_state(pipeline, GST_STATE_PLAYING);
        support::set_state(pipeline, GST_STATE_NULL);
        ASSERT_EQ(receive_threads(), 0) << "a run was left behind in cycle " << i;
    }
}

TEST(StopUnderTraffic, SurvivesCyclesIntoAFakeSink) { cycle("fakesink"); }

TEST(StopUnderTraffic, SurvivesCyclesIntoAQueueAndASynchronisedSink) { cycle("queue ! fakesink sync=true"); }

TEST(StopUnderTraffic, SurvivesCyclesIntoASinkThatSleeps) { cycle("identity sleep-time=3000 ! fakesink sync=true"); }

TEST(StopUnderTraffic, SurvivesCyclesIntoAnAppSinkThatNobodyPulls) { cycle("appsink"); }

TEST(StopUnderTraffic, SurvivesCyclesIntoAFileSink) { cycle("filesink location=/dev/null"); }

TEST(StopUnderTraffic, NeverShrinksTheFileOfAFileSink)
{
    const support::watchdog guard{280s};
    char path[] = "/tmp/zq-filesink-XXXXXX";
    ::close(::mkstemp(path));
    const auto port = support::free_port();
    const auto pipeline =
        support::parse("zqnetsource port=" + std::to_string(port) + " ! filesink location=" + path + " buffer-mode=2");
    const support::udp_traffic traffic{port, 200us};
    off_t largest = 0;
    for (int i = 0, count = 2 * cycles(); i < count; ++i) {
        support::set_state(pipeline, i % 2 == 0 ? GST_STATE_PLAYING : GST_STATE_PAUSED);
        std::this_thread::sleep_for(2ms);
        struct stat now
        {};
        ASSERT_EQ(::stat(path, &now), 0);
        ASSERT_GE(now.st_size, largest) << "after change " << i;
        largest = now.st_size;
    }
    support::set_state(pipeline, GST_STATE_NULL);
    EXPECT_GT(largest, 0);
    ::unlink(path);
}

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

/// Lets an element go while it plays, which GStreamer rightly complains about.
void drop_while_playing(support::element& source)
{
    const auto old = g_log_set_default_handler([](const gchar*, GLogLevelFlags, const gchar*, gpointer) {}, nullptr);
    source.reset();
    g_log_set_default_handler(old, nullptr);
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
