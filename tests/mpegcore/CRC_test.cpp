// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/CRC.h"

#include <gtest/gtest.h>

#include <array>

using namespace mpegcore;

namespace
{
constexpr std::array<unsigned char, 9> digits{'1', '2', '3', '4', '5', '6', '7', '8', '9'};
}

TEST(Crc32, OfTheNineDigitsIs0376E6E7) { EXPECT_EQ(crc32_mpeg2(digits.data(), digits.size()), 0x0376E6E7U); }

TEST(Crc32, ReferenceOfTheNineDigitsIs0376E6E7)
{
    EXPECT_EQ(crc32_mpeg2_bytewise(digits.data(), digits.size()), 0x0376E6E7U);
}

TEST(Crc32, TableHoldsTheRegistersOfThePolynomial)
{
    EXPECT_EQ(g_MPEG2_PSI_CRC_32_Lookup[0], 0U);
    EXPECT_EQ(g_MPEG2_PSI_CRC_32_Lookup[1], 0x04C11DB7U);
    EXPECT_EQ(g_MPEG2_PSI_CRC_32_Lookup[255], 0xB1F740B4U);
}

TEST(Crc8, OfTheNineDigitsIsBC) { EXPECT_EQ(crc8_dvb(digits.data(), digits.size()), 0xBC); }
