// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zqsdk/ZQMask.h"

#include <gtest/gtest.h>

namespace ZQMask_test
{
TEST(Mask, HasAsManyLowBitsSetAsItsIndex)
{
    ASSERT_EQ(ZQSDK::mask_impl.size(), 65U);
    EXPECT_EQ(ZQSDK::mask_impl[0], 0U);
    for (unsigned n = 1; n < 64; ++n)
        EXPECT_EQ(ZQSDK::mask_impl[n], (std::uint64_t{1} << n) - 1);
    EXPECT_EQ(ZQSDK::mask_impl[64], ~std::uint64_t{0});
}
} // namespace ZQMask_test
