// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/burst_size.h"

#include <gtest/gtest.h>

namespace burst_size_test
{
/// Reads bursts of `count` datagrams and tells how many calls each took in the end.
std::size_t calls_for(zq_net::burst_size& size, std::size_t count)
{
    std::size_t calls = 0;
    for (int burst = 0; burst < 40; ++burst) {
        calls = 0;
        for (std::size_t left = count; left > 0; ++calls) {
            const std::size_t asked = size.next(), received = std::min(asked, left);
            size.note(asked, received);
            left -= received;
        }
    }
    return calls;
}

TEST(BurstSize, TakesABurstInOneCallOnceItKnowsItsLength)
{
    zq_net::burst_size size{32};
    for (const std::size_t count : {4U, 10U, 31U, 3U})
        EXPECT_EQ(calls_for(size, count), 1U) << count;
}

TEST(BurstSize, AsksForNoMoreThanTheMost)
{
    zq_net::burst_size size{8};
    for (int i = 0; i < 10; ++i) {
        EXPECT_LE(size.next(), 8U);
        size.note(size.next(), size.next());
    }
    EXPECT_EQ(size.next(), 8U);
}

TEST(BurstSize, AsksForOneWhereTheyComeOneByOneAndLooksForASecondNowAndThen)
{
    zq_net::burst_size size{32};
    int twos = 0;
    for (int i = 0; i < 170; ++i) {
        twos += size.next() == 2 ? 1 : 0;
        EXPECT_LE(size.next(), 2U);
        size.note(size.next(), 1);
    }
    EXPECT_EQ(twos, 10) << "the first, and each behind sixteen";
}

TEST(BurstSize, LearnsNothingFromSilence)
{
    zq_net::burst_size size{32};
    size.note(2, 2);
    size.note(4, 0);
    EXPECT_EQ(size.next(), 4U);
}
} // namespace burst_size_test
