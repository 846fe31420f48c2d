// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/playing.h"
#include "support/stopping.h"
#include "support/threads.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace blocked_pad_test
{
using support::blocking_probe;
using support::eventually;
using support::pattern;
using support::receive_threads;
using testing::ElementsAre;
using testing::IsEmpty;

struct blocked : support::playing
{
    explicit blocked(const std::string& properties) : playing("fakesink sync=false async=false", properties) {}
    blocking_probe probe{support::pad_of(source, "src_net")};
};

/// With properties that let the socket be opened, and with an interface that no host has.
class BlockedPad : public testing::TestWithParam<const char*>
{};

TEST_P(BlockedPad, DoesNotHoldUpTheStart)
{
    blocked stand{GetParam()};
    EXPECT_EQ(stand.set(GST_STATE_PLAYING), GST_STATE_CHANGE_SUCCESS);
    EXPECT_TRUE(stand.probe.reached());
    EXPECT_THAT(stand.recorder.flow(), IsEmpty());
}

TEST_P(BlockedPad, AnnouncesWhenItIsUnblocked)
{
    blocked stand{GetParam()};
    stand.set(GST_STATE_PLAYING);
    ASSERT_TRUE(stand.probe.reached());
    stand.probe.remove();
    EXPECT_TRUE(eventually([&] { return stand.recorder.flow().size() == 2; }));
    EXPECT_THAT(stand.recorder.flow(), ElementsAre("stream-start", "caps"));
}

TEST_P(BlockedPad, DoesNotHoldUpThePauseAndAnnouncesOnceForEachRunWhenUnblocked)
{
    blocked stand{GetParam()};
    stand.set(GST_STATE_PLAYING);
    ASSERT_TRUE(stand.probe.reached());
    stand.set(GST_STATE_PAUSED);
    EXPECT_EQ(receive_threads(), 1) << "the run that the pad holds is set aside";
    stand.set(GST_STATE_PLAYING);
    EXPECT_THAT(stand.recorder.flow(), IsEmpty());
    stand.probe.remove();
    EXPECT_TRUE(eventually([&] { return stand.recorder.flow().size() == 4; }));
    EXPECT_THAT(stand.recorder.flow(), ElementsAre("stream-start", "caps", "stream-start", "caps"));
}

TEST_P(BlockedPad, DoesNotHoldUpTheStopAndLeavesNoThread)
{
    blocked stand{GetParam()};
    stand.set(GST_STATE_PLAYING);
    ASSERT_TRUE(stand.probe.reached());
    stand.set(GST_STATE_NULL);
    EXPECT_EQ(receive_threads(), 0);
    EXPECT_THAT(stand.recorder.flow(), IsEmpty());
}

TEST_P(BlockedPad, DoesNotHoldUpTheEndOfAnElementThatPlays)
{
    const support::watchdog guard;
    auto source = support::parse(std::string{"zqnetsource "} + GetParam());
    support::set_port(source, support::free_port());
    const support::test_sink sink;
    gst_pad_link(support::pad_of(source, "src_net").get(), sink.pad());
    const blocking_probe probe{support::pad_of(source, "src_net")};
    support::set_state(source, GST_STATE_PLAYING);
    ASSERT_TRUE(probe.reached());
    support::logged_by([&] { source.reset(); }); // GStreamer rightly complains
    EXPECT_TRUE(eventually([] { return receive_threads() == 0; }));
}

INSTANTIATE_TEST_SUITE_P(WithAGoodAndABadSocket, BlockedPad, testing::Values("", "interface=192.0.2.1"),
                         [](const auto& given) { return *given.param == '\0' ? "Good" : "Bad"; });

TEST(BlockedPadUnblocked, DeliversWhatCameMeanwhile)
{
    blocked stand{""};
    stand.set(GST_STATE_PLAYING);
    ASSERT_TRUE(stand.probe.reached());
    stand.sender.send(pattern(1316, 1));
    stand.sender.send(pattern(1316, 2));
    stand.probe.remove();
    ASSERT_TRUE(stand.saw(2));
    EXPECT_THAT(stand.recorder.flow(), ElementsAre("stream-start", "caps", "segment", "buffer", "buffer"));
    EXPECT_EQ(stand.recorder.buffers()[1].bytes, pattern(1316, 2));
}
} // namespace blocked_pad_test
