// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/element.h"
#include "support/paced_sending.h"
#include "support/playing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace pause_test
{
using namespace std::chrono_literals;
using support::eventually;
using support::figure;
using support::pattern;
using support::playing;
using testing::ElementsAre;

TEST(Element, BeginsAfreshAfterAPause)
{
    playing stand{"fakesink sync=false async=false"};
    stand.set(GST_STATE_PLAYING);
    for (unsigned i = 0; i < 3; ++i)
        stand.sender.send(pattern(1316, i));
    ASSERT_TRUE(stand.saw(3));
    stand.set(GST_STATE_PAUSED);
    const auto time_before = figure(stand.source, "System time");
    stand.set(GST_STATE_PLAYING);
    EXPECT_EQ(figure(stand.source, "Data counter [byte]"), "0");
    EXPECT_EQ(figure(stand.source, "Bit rate [bit/sec]"), "0");
    EXPECT_EQ(figure(stand.source, "System time"), time_before);
    stand.sender.send(pattern(1316));
    ASSERT_TRUE(stand.saw(4));
    stand.set(GST_STATE_NULL);
    EXPECT_THAT(stand.recorder.flow(), ElementsAre("stream-start", "caps", "segment", "buffer", "buffer", "buffer",
                                                   "stream-start", "caps", "segment", "buffer"));
    EXPECT_EQ(stand.recorder.buffers().at(3).offset, 0U);
    EXPECT_EQ(figure(stand.source, "Data counter [byte]"), "1316");
}

TEST(Element, BasesTheSegmentAfterAPauseOnTheRunningTime)
{
    playing stand{"fakesink sync=true async=false"};
    stand.set(GST_STATE_PLAYING);
    stand.sender.send(pattern(1316));
    ASSERT_TRUE(stand.saw(1));
    std::this_thread::sleep_for(300ms);
    stand.set(GST_STATE_PAUSED);
    stand.set(GST_STATE_PLAYING);
    stand.sender.send(pattern(1316));
    ASSERT_TRUE(stand.saw(2));
    const auto now = gst_element_get_current_running_time(stand.source.get());
    stand.set(GST_STATE_NULL);
    const auto segments = stand.recorder.segments();
    ASSERT_EQ(segments.size(), 2U);
    EXPECT_GE(segments[1].base, 300000000U);
    EXPECT_LE(segments[1].base, now);
}

TEST(Element, LosesNoBufferToASynchronisedSinkAfterAPause)
{
    // Half of what plays before the pause, which is how late everything after it would be without the base.
    playing stand{"fakesink name=sink sync=true max-lateness=200000000 qos=true"};
    const support::udp_traffic traffic{stand.port, 4ms};
    stand.set(GST_STATE_PLAYING);
    ASSERT_TRUE(stand.saw(100));
    stand.set(GST_STATE_PAUSED);
    std::this_thread::sleep_for(200ms);
    const auto before = stand.recorder.count();
    stand.set(GST_STATE_PLAYING);
    ASSERT_TRUE(stand.saw(before + 200));
    GstStructure* stats = nullptr;
    g_object_get(support::named(stand.pipeline, "sink").get(), "stats", &stats, nullptr);
    guint64 rendered = 0; // since the pause, which sets it back
    gst_structure_get_uint64(stats, "rendered", &rendered);
    gst_structure_free(stats);
    // The last may be on its way, and a busy machine may make a few late; without the base every one is.
    EXPECT_GE(rendered, 190U);
}

TEST(Element, KeepsTheLastErrorOverAPause)
{
    playing stand{"fakesink sync=false async=false"};
    // Fails in the stand's way, not the element's: the peer answers with an error.
    const auto sink_pad = zq_pad_pointer{gst_pad_get_peer(support::pad_of(stand.source, "src_net").get())};
    gst_pad_add_probe(
        sink_pad.get(), GST_PAD_PROBE_TYPE_BUFFER,
        [](GstPad*, GstPadProbeInfo* info, gpointer) {
            gst_buffer_unref(GST_PAD_PROBE_INFO_BUFFER(info));
            GST_PAD_PROBE_INFO_DATA(info) = nullptr;
            GST_PAD_PROBE_INFO_FLOW_RETURN(info) = GST_FLOW_NOT_NEGOTIATED;
            return GST_PAD_PROBE_HANDLED;
        },
        nullptr, nullptr);
    stand.set(GST_STATE_PLAYING);
    stand.sender.send(pattern(1316));
    const std::string error = "Can't push buffer, err = -4";
    ASSERT_TRUE(eventually([&] { return figure(stand.source, "Last error") == error; }));
    stand.set(GST_STATE_PAUSED);
    stand.set(GST_STATE_PLAYING);
    EXPECT_EQ(figure(stand.source, "Last error"), error);
}

TEST(Element, MakesItsPipelinePauseWithoutPreroll)
{
    playing stand;
    stand.set(GST_STATE_PLAYING);
    stand.sender.send(pattern(1316));
    ASSERT_TRUE(stand.saw(1));
    EXPECT_EQ(stand.set(GST_STATE_PAUSED), GST_STATE_CHANGE_NO_PREROLL);
    GstState state{};
    EXPECT_EQ(gst_element_get_state(stand.pipeline.get(), &state, nullptr, 30 * GST_SECOND),
              GST_STATE_CHANGE_NO_PREROLL);
    EXPECT_EQ(state, GST_STATE_PAUSED);
}
} // namespace pause_test
