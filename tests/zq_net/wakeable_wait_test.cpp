// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/wakeable_wait.h"

#include "zq_net/datagram_reader.h"

#include <gtest/gtest.h>

#include <thread>

namespace wakeable_wait_test
{
using zq_net::ms;
using zq_net::second;
using zq_net::steady_time;
using zq_net::wakeable_wait;

TEST(WakeableWait, LastsUntilItsTimeWhenNobodyEndsIt)
{
    wakeable_wait wait;
    const std::uint64_t time = steady_time() + 5 * ms;
    EXPECT_FALSE(wait.until(time));
    EXPECT_GE(steady_time(), time);
}

TEST(WakeableWait, IsOverAtOnceWhenItsTimeHasPassed)
{
    wakeable_wait wait;
    EXPECT_FALSE(wait.until(steady_time()));
    EXPECT_FALSE(wait.until(0));
}

TEST(WakeableWait, IsEndedByAnotherThread)
{
    wakeable_wait wait;
    std::thread other{[&wait] { wait.end(); }};
    EXPECT_TRUE(wait.until(steady_time() + 3600 * second));
    other.join();
}

TEST(WakeableWait, IsEndedByWhatCameBeforeItOnce)
{
    wakeable_wait wait;
    wait.end();
    EXPECT_TRUE(wait.until(steady_time() + 3600 * second));
    EXPECT_FALSE(wait.until(steady_time() + ms));
}
} // namespace wakeable_wait_test
