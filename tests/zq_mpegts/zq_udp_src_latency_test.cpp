// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/RTP.h"
#include "support/playing_udp_src.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace zq_udp_src_latency_test
{
using playing = support::playing_udp_src;
using support::eventually;
using support::joined;
using support::pattern;
using support::rtp_datagram;

struct latency
{
    explicit latency(const playing& of)
    {
        GstQuery* const query = gst_query_new_latency();
        EXPECT_TRUE(gst_element_query(of.source.get(), query));
        gst_query_parse_latency(query, &live, &least, &most);
        gst_query_unref(query);
    }
    gboolean live = FALSE;
    GstClockTime least = 0, most = 0;
};

/// Latency messages of the source since the last call; the sink has some, too.
int messages_of(const playing& to)
{
    int count = 0;
    while (const auto found = to.message_now(GST_MESSAGE_LATENCY))
        count += GST_MESSAGE_SRC(found.get()) == GST_OBJECT(to.source.get()) ? 1 : 0;
    return count;
}

TEST(UdpSrcLatency, HasNoUpperBoundAndWhatBatchAndOrderMayCostAsItsLower)
{
    const std::pair<const char*, GstClockTime> expected[] = {
        {"batch-time=10", 10}, {"rtp=on batch-time=10", 30}, {"", 1}, {"rtp=on", 21}};
    for (const auto& [properties, milliseconds] : expected) {
        const playing to{properties};
        const latency told{to};
        EXPECT_TRUE(told.live);
        EXPECT_EQ(told.least, milliseconds * GST_MSECOND) << properties;
        EXPECT_EQ(told.most, GST_CLOCK_TIME_NONE);
    }
}

TEST(UdpSrcLatency, OfTwoLegsIsWhatOneMayBeBehindTheOther)
{
    const std::pair<const char*, GstClockTime> expected[] = {
        {"", 51}, {"rtp=on", 51}, {"rtp=off", 51}, {"batch-time=10", 60}};
    for (const auto& [properties, milliseconds] : expected) {
        const playing to{"address2=127.0.0.2 " + std::string{properties}};
        EXPECT_EQ(latency{to}.least, milliseconds * GST_MSECOND) << properties;
    }
}

TEST(UdpSrcLatency, GrowsWithAMessageWhenTheFirstRtpIsSeenAndOnlyThen)
{
    playing to;
    to.sender.send(pattern(1316, 0));
    ASSERT_TRUE(to.got(pattern(1316, 0)));
    EXPECT_EQ(messages_of(to), 0);
    EXPECT_EQ(latency{to}.least, 1 * GST_MSECOND);
    to.sender.send(rtp_datagram(1, pattern(1316, 1)));
    EXPECT_TRUE(eventually([&] { return messages_of(to) == 1; }));
    EXPECT_EQ(latency{to}.least, 21 * GST_MSECOND);
    to.sender.send(rtp_datagram(2, pattern(1316, 2)));
    to.sender.send(pattern(1316, 3));
    ASSERT_TRUE(to.got(joined({pattern(1316, 0), pattern(1316, 1), pattern(1316, 2), pattern(1316, 3)})));
    EXPECT_EQ(messages_of(to), 0);
    EXPECT_EQ(latency{to}.least, 21 * GST_MSECOND);
}

TEST(UdpSrcLatency, IsWithoutRtpAgainAtTheNextStart)
{
    playing to;
    to.sender.send(rtp_datagram(1, pattern(1316)));
    ASSERT_TRUE(eventually([&] { return messages_of(to) == 1; }));
    support::set_state(to.pipeline, GST_STATE_READY);
    support::set_state(to.pipeline, GST_STATE_PLAYING);
    EXPECT_EQ(latency{to}.least, 1 * GST_MSECOND);
    to.sender.send(rtp_datagram(2, pattern(1316)));
    EXPECT_TRUE(eventually([&] { return messages_of(to) == 1; }));
}

TEST(UdpSrcLatency, IsKnownFromTheStartWhereRtpIsDemanded)
{
    for (const char* properties : {"rtp=on", "rtp=on address2=127.0.0.2", "address2=127.0.0.2"}) {
        playing to{properties};
        to.sender.send(rtp_datagram(1, pattern(1316)));
        ASSERT_TRUE(to.got(pattern(1316)));
        EXPECT_EQ(messages_of(to), 0) << properties;
    }
}

TEST(UdpSrcLatency, GrowsWithAMessageInAProcessOfManySourcesAndDoesNotFallWhenTheyEnd)
{
    playing to;
    EXPECT_EQ(latency{to}.least, 1 * GST_MSECOND);
    {
        std::vector<std::unique_ptr<playing>> others;
        while (others.size() < 15)
            others.push_back(std::make_unique<playing>());
        EXPECT_EQ(latency{*others.back()}.least, 8 * GST_MSECOND);
        to.sender.send(pattern(1316, 0));
        EXPECT_TRUE(eventually([&] { return messages_of(to) == 1; }));
        EXPECT_EQ(latency{to}.least, 8 * GST_MSECOND);
    }
    to.sender.send(pattern(1316, 1));
    ASSERT_TRUE(to.got(joined({pattern(1316, 0), pattern(1316, 1)})));
    EXPECT_EQ(messages_of(to), 0);
    EXPECT_EQ(latency{to}.least, 8 * GST_MSECOND);
}

TEST(UdpSrcLatency, GrowsInAProcessOfManySourcesWhereRtpIsDemandedToo)
{
    playing to{"rtp=on"};
    std::vector<std::unique_ptr<playing>> others;
    while (others.size() < 15)
        others.push_back(std::make_unique<playing>());
    to.sender.send(rtp_datagram(1, pattern(1316)));
    EXPECT_TRUE(eventually([&] { return messages_of(to) == 1; }));
    EXPECT_EQ(latency{to}.least, 28 * GST_MSECOND);
}
} // namespace zq_udp_src_latency_test
