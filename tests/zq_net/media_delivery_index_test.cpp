// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/media_delivery_index.h"

#include <gtest/gtest.h>

namespace media_delivery_index_test
{
using zq_net::media_delivery_index;
using zq_net::ms;
using zq_net::second;

constexpr std::uint64_t datagram = 1316;
/// 1000 datagrams a second.
constexpr std::uint64_t rate = datagram * 8 * 1000;

TEST(DelayFactor, OfAnEvenStreamIsTheTimeOfOneDatagram)
{
    media_delivery_index index(rate);
    for (unsigned at = 0; at <= 1000; ++at)
        index.put(datagram, 5 * second + at * ms);
    EXPECT_EQ(index.last().intervals, 1U);
    EXPECT_EQ(index.last().delay_factor, 1 * ms);
    EXPECT_EQ(index.last().media_rate, rate);
}

TEST(DelayFactor, GrowsByTheDelayOfADatagram)
{
    media_delivery_index index(rate);
    for (unsigned at = 0; at <= 1000; ++at)
        index.put(datagram, at * ms + (at == 500 ? ms / 2 : 0));
    EXPECT_EQ(index.last().delay_factor, 1 * ms + ms / 2);
}

TEST(DelayFactor, IsTheLengthOfABurst)
{
    // All that belongs to 40 ms comes at their end.
    media_delivery_index index(rate);
    for (unsigned at = 0; at <= 1000; ++at)
        index.put(datagram, (at / 40 * 40 + 39) * ms);
    index.tick(1039 * ms);
    EXPECT_EQ(index.last().intervals, 1U);
    EXPECT_EQ(index.last().delay_factor, 40 * ms);
}

TEST(DelayFactor, DriftsWithARateThatIsOff)
{
    media_delivery_index index(rate / 100 * 99);
    for (unsigned at = 0; at <= 1000; ++at)
        index.put(datagram, at * ms);
    // 1000 datagrams last 1000 / 0.99 ms, and 999 ms went by until the last one.
    EXPECT_EQ(index.last().delay_factor, 11'101'010U);
}

TEST(DelayFactor, TakesTheRateOfTheIntervalBeforeWhenNoneIsGiven)
{
    media_delivery_index index;
    for (unsigned at = 0; at <= 1000; ++at)
        index.put(datagram, at * ms);
    EXPECT_EQ(index.last().delay_factor, 0U);
    EXPECT_EQ(index.last().media_rate, 0U);
    for (unsigned at = 1001; at <= 2000; ++at)
        index.put(datagram, at * ms);
    EXPECT_EQ(index.last().media_rate, rate);
    EXPECT_EQ(index.last().delay_factor, 1 * ms);
}

TEST(DelayFactor, BeginsAnewInEachInterval)
{
    media_delivery_index index(rate);
    for (unsigned at = 0; at < 3000; ++at)
        index.put(datagram, at * ms + (at == 500 ? ms / 2 : 0));
    index.tick(3 * second);
    EXPECT_EQ(index.last().intervals, 3U);
    EXPECT_EQ(index.last().delay_factor, 1 * ms);
}

TEST(DelayFactor, IsZeroInSilence)
{
    media_delivery_index index(rate);
    for (unsigned at = 0; at < 1000; ++at)
        index.put(datagram, at * ms);
    index.tick(3'600 * second);
    EXPECT_EQ(index.last().intervals, 3600U);
    EXPECT_EQ(index.last().delay_factor, 0U);
}

TEST(MediaLossRate, CountsTransportPacketsOfTheInterval)
{
    media_delivery_index index(rate);
    index.put(datagram, 0);
    index.add_lost(7);
    index.add_lost(7);
    index.tick(second - 1);
    EXPECT_EQ(index.last().intervals, 0U);
    index.tick(second);
    EXPECT_EQ(index.last().media_loss_rate, 14U);
    EXPECT_EQ(index.last().lost, 14U);
    EXPECT_EQ(index.last().seconds_with_loss, 1U);
    index.tick(2 * second);
    EXPECT_EQ(index.last().media_loss_rate, 0U);
    EXPECT_EQ(index.last().lost, 14U);
    EXPECT_EQ(index.last().seconds_with_loss, 1U);
}

TEST(MediaLossRate, OfALongSilenceBelongsToItsFirstInterval)
{
    media_delivery_index index(rate);
    index.put(datagram, 0);
    index.tick(second);
    index.add_lost(7);
    index.tick(10 * second);
    EXPECT_EQ(index.last().lost, 7U);
    EXPECT_EQ(index.last().seconds_with_loss, 1U);
    EXPECT_EQ(index.last().intervals, 10U);
}
TEST(DelayFactor, KeepsTheRateBehindAnIntervalWithLosses)
{
    media_delivery_index index;
    for (unsigned at = 0; at <= 3000; ++at) {
        if (at == 1999)
            index.add_lost(7 * 700);
        if (at < 1300 || at >= 2000)
            index.put(datagram, at * ms);
    }
    EXPECT_EQ(index.last().intervals, 3U);
    EXPECT_EQ(index.last().media_rate, rate);
    EXPECT_EQ(index.last().delay_factor, 1 * ms);
}

TEST(DelayFactor, TakesTheRateThatIsToldFromTheNextIntervalOn)
{
    media_delivery_index index(rate / 2);
    for (unsigned at = 0; at <= 2000; ++at) {
        index.put(datagram, at * ms);
        index.set_media_rate(rate);
    }
    EXPECT_EQ(index.last().intervals, 2U);
    EXPECT_EQ(index.last().media_rate, rate);
}
} // namespace media_delivery_index_test
