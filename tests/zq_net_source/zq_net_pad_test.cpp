// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net_source/zq_net_pad.h"

#include "support/element.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>

namespace zq_net_pad_test
{
using testing::ElementsAre;

TEST(SourcePad, AnswersTheCapsQueryWithoutRegardToTheFilter)
{
    const auto source = support::make_source();
    const auto pad = support::pad_of(source, "src_net");
    const zq_caps_pointer filter{gst_caps_new_empty_simple("video/x-raw")};
    const zq_query_pointer query{gst_query_new_caps(filter.get())};
    ASSERT_TRUE(gst_pad_query(pad.get(), query.get()));
    GstCaps* result = nullptr;
    gst_query_parse_caps_result(query.get(), &result);
    const zq_text_pointer text{gst_caps_to_string(result)};
    EXPECT_STREQ(text.get(), "video/mpegts");
}

TEST(SourcePad, WarnsOfARecordWithoutAPadInItsOwnWords)
{
    const zq_net_pad empty;
    bool result = true;
    const auto lines = support::logged_by([&] { result = empty.set_pad_caps(); });
    EXPECT_FALSE(result);
    EXPECT_THAT(lines, ElementsAre(testing::EndsWith("assertion 'GST_IS_PAD (pad)' failed")));
}

TEST(SourcePad, WarnsOfCapsThatAreNotFixedInItsOwnWords)
{
    const zq_net_pad any{zq_pad_pointer{GST_PAD(gst_object_ref_sink(gst_pad_new("src", GST_PAD_SRC)))}};
    bool result = true;
    const auto lines = support::logged_by([&] { result = any.set_pad_caps(); });
    EXPECT_FALSE(result);
    EXPECT_THAT(lines, ElementsAre(testing::EndsWith("assertion 'caps != NULL && gst_caps_is_fixed (caps)' failed")));
}

TEST(SourcePad, LeavesUpstreamEventsToTheDefaultHandlerAllTheSame)
{
    const auto source = support::make_source();
    support::set_state(source, GST_STATE_PAUSED);
    const auto pad = support::pad_of(source, "src_net");
    // The default handler passes an event on to the pads of the other direction that the pad is linked to inside.
    static std::atomic<int> asked;
    asked = 0;
    gst_pad_set_iterate_internal_links_function(pad.get(), [](GstPad* own, GstObject* parent) {
        ++asked;
        return gst_pad_iterate_internal_links_default(own, parent);
    });
    EXPECT_FALSE(gst_pad_send_event(pad.get(), gst_event_new_reconfigure()));
    EXPECT_EQ(asked, 1);
    support::set_state(source, GST_STATE_NULL);
}

TEST(SourcePad, ReportsFalseForEveryUpstreamEvent)
{
    const auto source = support::make_source();
    support::set_state(source, GST_STATE_PAUSED);
    const auto pad = support::pad_of(source, "src_net");
    EXPECT_FALSE(gst_pad_send_event(pad.get(), gst_event_new_qos(GST_QOS_TYPE_OVERFLOW, 1.0, 0, 0)));
    EXPECT_FALSE(gst_pad_send_event(pad.get(), gst_event_new_reconfigure()));
    support::set_state(source, GST_STATE_NULL);
}

TEST(SourcePad, LeavesOtherQueriesToTheDefaultHandler)
{
    const auto source = support::make_source();
    const auto pad = support::pad_of(source, "src_net");
    const zq_query_pointer query{gst_query_new_position(GST_FORMAT_TIME)};
    EXPECT_FALSE(gst_pad_query(pad.get(), query.get()));
}

TEST(SourcePad, UsesFixedCapsAndTheProxyFlag)
{
    const auto source = support::make_source();
    const auto pad = support::pad_of(source, "src_net");
    EXPECT_TRUE(GST_PAD_IS_FIXED_CAPS(pad.get()));
    EXPECT_TRUE(GST_PAD_IS_PROXY_CAPS(pad.get()));
    EXPECT_FALSE(zq_net_pad::isConnect(nullptr));
    EXPECT_FALSE(zq_net_pad::isConnect(pad.get()));
}
} // namespace zq_net_pad_test
