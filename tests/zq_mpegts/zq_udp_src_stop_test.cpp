// SPDX-License-Identifier: LGPL-2.1-or-later
// What zqnetsource's tests of stopping do to that, done to zqudpsrc.
#include "support/playing_udp_src.h"
#include "support/stopping.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <future>

namespace zq_udp_src_stop_test
{
using namespace std::chrono_literals;
using support::blocking_probe;
using support::eventually;
using support::joined;
using support::pattern;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr support::source_kind zqudpsrc{"zqudpsrc", "src"};

bool port_is_free(std::uint16_t port)
{
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    const bool is_free = ::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
    ::close(socket);
    return is_free;
}

struct held : support::held_source
{
    held() : held_source{zqudpsrc} {}
    ~held() { stop(); }
    /// The base class waits for the push that is under way, so the gate is to open.
    void stop()
    {
        closed.open();
        if (source)
            support::set_state(source, GST_STATE_NULL);
    }
};

class UdpSrcStopUnderTraffic : public testing::TestWithParam<std::pair<const char*, const char*>>
{};

TEST_P(UdpSrcStopUnderTraffic, LetsThePortGoInEachCycle)
{
    support::stop_under_traffic(zqudpsrc.factory, GetParam().second, [](std::uint16_t port) {
        return port_is_free(port) ? std::string{} : std::string{"the port is taken"};
    });
}

INSTANTIATE_TEST_SUITE_P(Into, UdpSrcStopUnderTraffic,
                         testing::Values(std::pair{"AFakeSink", "fakesink"},
                                         std::pair{"AQueueAndASynchronisedSink", "queue ! fakesink sync=true"},
                                         std::pair{"ASinkThatSleeps", "identity sleep-time=3000 ! fakesink sync=true"},
                                         std::pair{"AnAppSinkThatNobodyPulls", "appsink"},
                                         std::pair{"AnAppSinkThatIsFull", "appsink max-buffers=1"},
                                         std::pair{"AQueueThatIsFull",
                                                   "queue max-size-buffers=1 ! appsink max-buffers=1"},
                                         std::pair{"AFileSink", "filesink location=/dev/null"}),
                         [](const auto& given) { return given.param.first; });

TEST(UdpSrcStop, NeverShrinksTheFileOfAFileSink) { support::never_shrinks_a_file(zqudpsrc.factory); }

TEST(UdpSrcStop, PausesAtOnceWhileDownstreamHoldsItsPush)
{
    held stand;
    stand.play_until_held();
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(support::set_state(stand.source, GST_STATE_PAUSED), GST_STATE_CHANGE_NO_PREROLL);
        EXPECT_EQ(support::set_state(stand.source, GST_STATE_PLAYING), GST_STATE_CHANGE_SUCCESS);
    }
}

TEST(UdpSrcStop, PausesAtOnceWhileDownstreamHoldsItsNegotiation)
{
    const support::watchdog guard;
    support::gate closed;
    const support::test_sink sink{{}, [&](GstQuery* query) {
                                      if (GST_QUERY_TYPE(query) == GST_QUERY_ALLOCATION)
                                          closed.pass();
                                      return false;
                                  }};
    const auto port = support::free_port();
    const auto source = zqudpsrc.make(port);
    gst_pad_link(support::pad_of(source, "src").get(), sink.pad());
    support::set_state(source, GST_STATE_PLAYING);
    ASSERT_TRUE(closed.somebody_waits());
    EXPECT_EQ(support::set_state(source, GST_STATE_PAUSED), GST_STATE_CHANGE_NO_PREROLL);
    closed.open();
    support::set_state(source, GST_STATE_NULL);
    EXPECT_TRUE(port_is_free(port));
}

TEST(UdpSrcStop, GoesOnWhenTheHeldPushComesBackAndLosesNothingSinceItPlaysAgain)
{
    held stand;
    const support::recorder recorder{support::pad_of(stand.source, "src").get()};
    stand.play_until_held();
    support::set_state(stand.source, GST_STATE_PAUSED);
    support::set_state(stand.source, GST_STATE_PLAYING);
    std::vector<std::vector<unsigned char>> sent{pattern(1316)};
    for (unsigned i = 1; i <= 5; ++i) {
        sent.push_back(pattern(1316, i));
        stand.sender.send(sent.back());
    }
    EXPECT_EQ(recorder.count(), 1U);
    stand.closed.open();
    EXPECT_TRUE(eventually([&] { return recorder.bytes() == joined(sent); }));
    EXPECT_TRUE(recorder.buffers().at(1).discont);
}

TEST(UdpSrcStop, WaitsForThePushThatASinkHoldsWhichNobodyStops)
{
    held stand;
    stand.play_until_held();
    auto stopped = std::async(std::launch::async, [&] { support::set_state(stand.source, GST_STATE_NULL); });
    stand.closed.open();
    stopped.get();
    EXPECT_TRUE(port_is_free(stand.port));
}

TEST(UdpSrcStop, PausesOnItsOwnThread)
{
    const support::watchdog guard;
    const auto port = support::free_port();
    const auto source = zqudpsrc.make(port);
    std::atomic<bool> paused{false};
    const support::test_sink sink{[&](GstBuffer*) {
        support::set_state(source, GST_STATE_PAUSED);
        paused = true;
        return GST_FLOW_OK;
    }};
    gst_pad_link(support::pad_of(source, "src").get(), sink.pad());
    support::set_state(source, GST_STATE_PLAYING);
    support::udp_sender{"127.0.0.1", port}.send(pattern(1316));
    EXPECT_TRUE(eventually([&] { return paused.load(); }));
    support::set_state(source, GST_STATE_NULL);
    EXPECT_TRUE(port_is_free(port));
}

TEST(UdpSrcStop, HappensWhenTheElementIsDroppedWhilePlaying)
{
    const support::watchdog guard;
    const auto port = support::free_port();
    auto source = zqudpsrc.make(port);
    std::atomic<int> buffers{0};
    const support::test_sink sink{[&](GstBuffer*) {
        ++buffers;
        return GST_FLOW_OK;
    }};
    gst_pad_link(support::pad_of(source, "src").get(), sink.pad());
    const support::udp_traffic traffic{port, 500us};
    support::set_state(source, GST_STATE_PLAYING);
    ASSERT_TRUE(eventually([&] { return buffers > 0; }));
    EXPECT_THAT(support::logged_by([&] { source.reset(); }),
                ElementsAre("zqudpsrc is dropped in the state PLAYING instead of NULL"));
    EXPECT_TRUE(port_is_free(port));
    EXPECT_FALSE(gst_pad_is_linked(sink.pad()));
}

TEST(UdpSrcStop, HappensWhenTheElementIsDroppedByItsOwnThread)
{
    const support::watchdog guard;
    const auto port = support::free_port();
    auto source = zqudpsrc.make(port);
    std::atomic<bool> gone{false};
    g_object_weak_ref(
        G_OBJECT(source.get()), [](gpointer told, GObject*) { *static_cast<std::atomic<bool>*>(told) = true; }, &gone);
    const support::test_sink sink{[&](GstBuffer*) {
        source.reset();
        return GST_FLOW_OK;
    }};
    gst_pad_link(support::pad_of(source, "src").get(), sink.pad());
    EXPECT_THAT(support::logged_by([&] {
                    support::set_state(source, GST_STATE_PLAYING);
                    support::udp_sender{"127.0.0.1", port}.send(pattern(1316));
                    EXPECT_TRUE(eventually([&] { return gone.load(); }));
                }),
                ElementsAre("zqudpsrc is dropped in the state PLAYING instead of NULL"));
    EXPECT_TRUE(port_is_free(port));
    EXPECT_FALSE(gst_pad_is_linked(sink.pad()));
}

TEST(UdpSrcStop, WaitsForThePushThatDownstreamHoldsWhenTheElementIsDropped)
{
    held stand;
    stand.play_until_held();
    auto dropped = std::async(std::launch::async, [&] { support::drop_while_playing(stand.source); });
    stand.closed.open();
    dropped.get();
    EXPECT_TRUE(port_is_free(stand.port));
}

TEST(UdpSrcStop, LetsThePortGoInReadyButNotInPaused)
{
    const support::playing_udp_src to;
    EXPECT_FALSE(port_is_free(to.port));
    support::set_state(to.pipeline, GST_STATE_PAUSED);
    EXPECT_FALSE(port_is_free(to.port));
    support::set_state(to.pipeline, GST_STATE_READY);
    EXPECT_TRUE(port_is_free(to.port));
}

struct blocked : support::playing_udp_src
{
    blocking_probe probe{support::pad_of(source, "src")};
    /// The pad is blocked before anything went through it.
    blocked() : playing_udp_src{"", "fakesink sync=false async=false", GST_STATE_NULL} {}
    GstStateChangeReturn set(GstState state) const { return support::set_state(pipeline, state); }
};

TEST(UdpSrcBlockedPad, DoesNotHoldUpStartPauseAndStop)
{
    blocked stand;
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(stand.set(GST_STATE_PLAYING), GST_STATE_CHANGE_SUCCESS);
        ASSERT_TRUE(stand.probe.reached());
        EXPECT_EQ(stand.set(GST_STATE_PAUSED), GST_STATE_CHANGE_NO_PREROLL);
        EXPECT_EQ(stand.set(GST_STATE_PLAYING), GST_STATE_CHANGE_SUCCESS);
        EXPECT_EQ(stand.set(GST_STATE_NULL), GST_STATE_CHANGE_SUCCESS);
        EXPECT_TRUE(port_is_free(stand.port));
    }
    EXPECT_THAT(stand.recorder.flow(), IsEmpty());
}

TEST(UdpSrcBlockedPad, DeliversWhatCameMeanwhileWhenItIsUnblocked)
{
    blocked stand;
    stand.set(GST_STATE_PLAYING);
    ASSERT_TRUE(stand.probe.reached());
    stand.sender.send(pattern(1316, 1));
    stand.sender.send(pattern(1316, 2));
    stand.probe.remove();
    EXPECT_TRUE(stand.got(joined({pattern(1316, 1), pattern(1316, 2)})));
    const auto flow = stand.recorder.flow();
    ASSERT_GE(flow.size(), 4U);
    EXPECT_THAT(std::vector<std::string>(flow.begin(), flow.begin() + 4),
                ElementsAre("stream-start", "caps", "segment", "buffer"));
}
} // namespace zq_udp_src_stop_test
