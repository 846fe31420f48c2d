// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/wrapping_count.h"

#include <gtest/gtest.h>

namespace wrapping_count_test
{
using zq_net::wrapping_count;

TEST(WrappingCount, TellsWhatWasAddedSinceTheLastTime)
{
    wrapping_count count;
    EXPECT_EQ(count.advance(7), 7U);
    EXPECT_EQ(count.advance(7), 0U);
    EXPECT_EQ(count.advance(10), 3U);
}

TEST(WrappingCount, GoesOnOverTheEndOf32Bits)
{
    wrapping_count count;
    EXPECT_EQ(count.advance(0xFFFFFFFE), 0xFFFFFFFEU);
    EXPECT_EQ(count.advance(3), 5U);
    EXPECT_EQ(count.advance(4), 1U);
}

TEST(WrappingCount, SumsUpToMoreThan32Bits)
{
    wrapping_count count;
    std::uint64_t sum = 0;
    for (std::uint64_t total = 0; total <= 0x3'0000'0000; total += 0x4000'0000)
        sum += count.advance(static_cast<std::uint32_t>(total));
    EXPECT_EQ(sum, 0x3'0000'0000U);
}
} // namespace wrapping_count_test
