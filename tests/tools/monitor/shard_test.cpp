// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/shard.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace shard_test
{
using monitor::fnv1a;
using monitor::parse_shard;
using monitor::shard;

TEST(Shard, HashesByThePublishedValuesOfFNV1a)
{
    EXPECT_EQ(fnv1a(""), 0xCBF29CE484222325U);
    EXPECT_EQ(fnv1a("a"), 0xAF63DC4C8601EC8CU);
    EXPECT_EQ(fnv1a("foobar"), 0x85944171F73967E8U);
}

TEST(Shard, HoldsTheSameStreamsInEveryRelease)
{
    std::string of_three;
    for (const auto* name : {"News", "Sport", "Film", "Music", "Kids", "Weather"})
        for (unsigned index = 0; index < 3; ++index)
            if (shard{index, 3}.holds(name))
                of_three += std::to_string(index);
    EXPECT_EQ(of_three, "002220");
}

TEST(Shard, EachStreamIsInExactlyOneAndTheSharesAreEven)
{
    std::array<unsigned, 7> shares{};
    for (unsigned number = 0; number < 7000; ++number) {
        unsigned holders = 0;
        for (unsigned index = 0; index < shares.size(); ++index)
            if (shard{index, 7}.holds("stream " + std::to_string(number))) {
                ++holders;
                ++shares[index];
            }
        ASSERT_EQ(holders, 1U);
    }
    for (const unsigned share : shares) {
        EXPECT_GT(share, 900U);
        EXPECT_LT(share, 1100U);
    }
}

TEST(Shard, IsWrittenAsIndexAndCount)
{
    const auto parsed = parse_shard("2/5");
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->index, 2U);
    EXPECT_EQ(parsed->count, 5U);
    for (const auto* wrong : {"", "1", "/", "5/5", "0/0", "-1/2", "1/2/3", "a/b", "1/4294967296"})
        EXPECT_FALSE(parse_shard(wrong)) << wrong;
}
} // namespace shard_test
