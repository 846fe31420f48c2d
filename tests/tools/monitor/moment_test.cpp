// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/moment.h"

#include <gtest/gtest.h>

#include <deque>

namespace moment_test
{
using monitor::moment;

/// Gives these times one behind the other.
struct Times
{
    std::uint64_t operator()()
    {
        const std::uint64_t time = times.front();
        if (times.size() > 1)
            times.pop_front();
        return time;
    }
    std::deque<std::uint64_t> times;
};

TEST(Moment, IsTwoClocksReadAtTheSameTime)
{
    const auto now = moment::read(Times{{1000, 41'000}}, Times{{7'000'000}});
    EXPECT_EQ(now.clock, 41'000U);
    EXPECT_EQ(now.real, 7'000'000U);
}

TEST(Moment, IsReadAgainWhenTheThreadWasHeldUpBetweenTheClocks)
{
    const auto now = moment::read(Times{{1000, 5'001'000, 5'002'000}}, Times{{7'000'000, 12'000'000}});
    EXPECT_EQ(now.clock, 5'002'000U);
    EXPECT_EQ(now.real, 12'000'000U);
}

TEST(Moment, IsReadSoOftenAndNoMore)
{
    std::uint64_t time = 0;
    const auto now = moment::read([&] { return time += 1'000'000; }, [] { return std::uint64_t{5}; });
    EXPECT_EQ(now.clock, 9'000'000U);
}
} // namespace moment_test
