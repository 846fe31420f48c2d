// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/delivery_meter.h"

#include <gtest/gtest.h>

namespace delivery_meter_test
{
using monitor::delivery_meter;
using monitor::moment;
using zq_net::ms;
using zq_net::second;

constexpr std::uint64_t noon = 1'769'860'800 * second;
/// The two clocks, `passed` after some moment.
moment after(std::uint64_t passed) { return {100 * second + passed, noon + passed}; }

TEST(DeliveryMeter, MeasuresByTheStampsOfTheDatagramsNotByWhenTheyWereRead)
{
    delivery_meter meter;
    meter.put({{noon + 1 * ms, 1316}, {noon + 2 * ms, 1316}, {noon + 5 * ms, 1316}}, after(40 * ms));
    const auto seen = meter.look(after(40 * ms), {});
    EXPECT_EQ(seen.recent.count, 2U);
    EXPECT_EQ(seen.recent.min, 1 * ms);
    EXPECT_EQ(seen.recent.max, 3 * ms);
    EXPECT_EQ(meter.look(after(second), {}).recent.count, 0U);
    EXPECT_EQ(meter.look(after(second), {}).total.max, 3 * ms);
}

TEST(DeliveryMeter, TakesDatagramsThatCameWhileOthersWereRead)
{
    delivery_meter meter;
    meter.put({{noon + 1 * ms, 1316}, {noon + 7 * ms, 1316}}, after(2 * ms));
    EXPECT_EQ(meter.look(after(second), {}).recent.max, 6 * ms);
}

TEST(DeliveryMeter, AClockThatIsSetMakesNoTimesOfItsOwn)
{
    constexpr std::uint64_t hour = 3600 * second;
    for (const bool goes_back : {false, true}) {
        delivery_meter meter;
        meter.put({{noon, 1316}}, after(1 * ms));
        const std::uint64_t set = goes_back ? noon - hour : noon + hour;
        meter.put({{noon + 2 * ms, 1316}}, {100 * second + 5 * ms, set + 5 * ms}); // stamped before it was set
        meter.put({{set + 10 * ms, 1316}}, {100 * second + 12 * ms, set + 12 * ms});
        const auto seen = meter.look(after(second), {});
        EXPECT_EQ(seen.total.count, 2U);
        EXPECT_LE(seen.total.max, 10 * ms);
        EXPECT_EQ(seen.total.sum, 10 * ms);
    }
}

TEST(DeliveryMeter, ADatagramOfAnotherSocketHasNoTimeInFrontOfIt)
{
    delivery_meter meter;
    meter.put({{noon, 1316}}, after(0));
    meter.forget();
    meter.put({{noon + 5 * second, 1316}}, after(5 * second));
    EXPECT_EQ(meter.look(after(5 * second), {}).total.count, 0U);
}

TEST(DeliveryMeter, HasTheMediaDeliveryIndexOfAnEvenStream)
{
    delivery_meter meter;
    for (unsigned at = 0; at <= 3000; ++at)
        meter.put({{noon + at * ms, 1316}}, after(at * ms));
    const auto seen = meter.look(after(3000 * ms), {});
    EXPECT_EQ(seen.index.intervals, 3U);
    EXPECT_EQ(seen.index.delay_factor, 1 * ms); // one datagram
    EXPECT_EQ(seen.index.media_rate, 1316U * 8 * 1000);
}

/// Looks once a second, a datagram of `size` bytes in front of each.
struct Looks
{
    zq_net::media_delivery_index::figures look(const delivery_meter::losses& all, std::size_t size = 1316)
    {
        meter.put({{noon + at, size}}, after(at));
        const auto seen = meter.look(after(at), all).index;
        at += second;
        return seen;
    }
    delivery_meter meter;
    std::uint64_t at = 0;
};

TEST(DeliveryMeter, CountsWhatRTPMissesAsDatagrams)
{
    Looks looks;
    (void)looks.look({true, 1, 0});
    EXPECT_EQ(looks.look({true, 3, 0}).lost, 7U); // the second before
    EXPECT_EQ(looks.look({true, 2, 0}).lost, 21U);
    const auto seen = looks.look({true, 2, 0}); // the socket was opened anew
    EXPECT_EQ(seen.lost, 35U);
    EXPECT_EQ(seen.media_loss_rate, 14U);
    EXPECT_EQ(seen.seconds_with_loss, 3U);
}

TEST(DeliveryMeter, CountsWhatIsLostOnceWhateverSizeDatagramsHaveNow)
{
    Looks looks;
    (void)looks.look({true, 100, 0});
    (void)looks.look({true, 100, 0}, 3 * 188);
    (void)looks.look({true, 100, 0});
    EXPECT_EQ(looks.look({true, 100, 0}).lost, 700U);
}

TEST(DeliveryMeter, DoesNotTakeMissingCountersForLossesOfRTPNorTheOtherWayRound)
{
    Looks looks;
    (void)looks.look({true, 10, 70});
    (void)looks.look({false, 0, 70}); // the socket is closed
    (void)looks.look({true, 0, 70});
    EXPECT_EQ(looks.look({true, 0, 70}).lost, 70U);
}

TEST(DeliveryMeter, CountsWhatCountersMissWithoutRTP)
{
    Looks looks;
    (void)looks.look({false, 0, 5});
    (void)looks.look({false, 0, 8});
    EXPECT_EQ(looks.look({false, 0, 8}).lost, 8U);
}

TEST(DeliveryMeter, TakesTheRateOfThePCRsThatNothingWasMissingBetween)
{
    constexpr std::uint64_t rate = 1316 * 8 * 1000;
    delivery_meter meter;
    delivery_meter::losses all;
    auto look = [&, at = std::uint64_t{0}](std::uint64_t PCR_rate) mutable {
        meter.put({{noon + at, 1316}}, after(at));
        const auto seen = meter.look(after(at), all, PCR_rate).index.media_rate;
        at += second;
        return seen;
    };
    (void)look(rate);
    (void)look(rate);
    EXPECT_EQ(look(rate), rate);
    all.missing = 700;
    (void)look(rate / 2);
    (void)look(rate / 2);
    EXPECT_EQ(look(rate), rate);
}
} // namespace delivery_meter_test
