// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/inter_arrival.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace inter_arrival_test
{
using testing::ElementsAre;
using zq_net::inter_arrival;
using zq_net::inter_arrival_figures;
using zq_net::ms;

TEST(InterArrival, HasNoTimeInFrontOfTheFirstDatagram)
{
    inter_arrival times;
    times.put(5000 * ms);
    EXPECT_EQ(times.total().count, 0U);
    EXPECT_EQ(times.total().mean(), 0U);
    EXPECT_EQ(times.total().quantile(0.5), 0U);
}

TEST(InterArrival, HasLeastMeanAndLongestTime)
{
    inter_arrival times;
    for (const std::uint64_t at : {100U, 101U, 104U, 110U})
        times.put(at * ms);
    EXPECT_EQ(times.total().count, 3U);
    EXPECT_EQ(times.total().min, 1 * ms);
    EXPECT_EQ(times.total().max, 6 * ms);
    EXPECT_EQ(times.total().sum, 10 * ms);
    EXPECT_EQ(times.total().mean(), 10 * ms / 3);
}

TEST(InterArrival, SortsEachEdgeIntoItsBucketAndWhatIsLongerIntoTheNext)
{
    for (std::size_t at = 0; at < inter_arrival_figures::edges.size(); ++at) {
        inter_arrival_figures figures;
        figures.add(inter_arrival_figures::edges[at]);
        EXPECT_EQ(figures.buckets[at], 1U) << at;
        figures.add(inter_arrival_figures::edges[at] + 1);
        EXPECT_EQ(figures.buckets[at + 1], 1U) << at;
    }
}

TEST(InterArrival, HandsOutWhatIsRecentOnce)
{
    inter_arrival times;
    times.put(0);
    times.put(2 * ms);
    EXPECT_EQ(times.take_recent().max, 2 * ms);
    times.put(3 * ms);
    const inter_arrival_figures recent = times.take_recent();
    EXPECT_EQ(recent.count, 1U);
    EXPECT_EQ(recent.max, 1 * ms);
    EXPECT_EQ(times.take_recent().count, 0U);
    EXPECT_EQ(times.total().count, 2U);
}

TEST(InterArrival, SpreadsQuantilesOverTheirBuckets)
{
    inter_arrival_figures figures;
    for (int time = 0; time < 90; ++time)
        figures.add(ms / 20);
    for (int time = 0; time < 10; ++time)
        figures.add(20 * ms);
    EXPECT_EQ(figures.quantile(0), ms / 20);
    EXPECT_EQ(figures.quantile(0.9), ms / 10);
    EXPECT_EQ(figures.quantile(0.95), 15 * ms); // half of the way from 10 ms to the longest
    EXPECT_EQ(figures.quantile(1), 20 * ms);
}

TEST(InterArrival, TakesAClockThatGoesBackForNoTime)
{
    inter_arrival times;
    times.put(10 * ms);
    times.put(4 * ms);
    times.put(5 * ms);
    EXPECT_EQ(times.total().min, 0U);
    EXPECT_EQ(times.total().max, 1 * ms);
}

TEST(InterArrival, BeginsAnewBehindAChange)
{
    inter_arrival times;
    times.put(0);
    times.forget();
    times.put(9000 * ms);
    EXPECT_EQ(times.total().count, 0U);
}
} // namespace inter_arrival_test
