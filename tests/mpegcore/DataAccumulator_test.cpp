// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/DataAccumulator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <type_traits>
#include <vector>

namespace DataAccumulator_test
{
using mpegcore::CDataAccumulator;

std::vector<unsigned char> pattern(std::size_t size)
{
    std::vector<unsigned char> bytes(size);
    for (std::size_t at = 0; at < size; ++at)
        bytes[at] = static_cast<unsigned char>(at * 7 + at / 256);
    return bytes;
}

std::vector<unsigned char> contents(const CDataAccumulator& accumulator)
{
    return {accumulator.data, accumulator.data + accumulator.size};
}

TEST(DataAccumulator, OfSizeZeroHas4095Bytes)
{
    const CDataAccumulator accumulator(0);
    EXPECT_EQ(accumulator.capacity, 4095U);
    EXPECT_EQ(accumulator.size, 0U);
}

TEST(DataAccumulator, GrowsToWhatIsNeededPlus4095)
{
    CDataAccumulator accumulator(0);
    const auto bytes = pattern(5000);
    accumulator.addData(bytes.data(), bytes.size());
    EXPECT_EQ(accumulator.capacity, 9095U);
    EXPECT_EQ(accumulator.size, 5000U);
    EXPECT_EQ(contents(accumulator), bytes);
}

TEST(DataAccumulator, KeepsItsCapacityWhileTheBytesFitExactly)
{
    CDataAccumulator accumulator(8);
    const auto bytes = pattern(8);
    accumulator.addData(bytes.data(), 5);
    accumulator.addData(bytes.data() + 5, 3);
    EXPECT_EQ(accumulator.capacity, 8U);
    EXPECT_EQ(contents(accumulator), bytes);
}

TEST(DataAccumulator, KeepsEarlierBytesWhenItGrows)
{
    CDataAccumulator accumulator(8);
    const auto bytes = pattern(9);
    accumulator.addData(bytes.data(), 8);
    accumulator.addData(bytes.data() + 8, 1);
    EXPECT_EQ(accumulator.capacity, 1U + 8U + 4095U);
    EXPECT_EQ(contents(accumulator), bytes);
}

TEST(DataAccumulator, AppendsNothingFromAnEmptyRange)
{
    CDataAccumulator accumulator(1);
    accumulator.addData(nullptr, 0);
    EXPECT_EQ(accumulator.size, 0U);
    EXPECT_EQ(accumulator.capacity, 1U);
}

TEST(DataAccumulator, AppendsItsOwnBytes)
{
    CDataAccumulator accumulator(4);
    const auto bytes = pattern(4);
    accumulator.addData(bytes.data(), 4);
    accumulator.addData(accumulator.data, accumulator.size);
    auto twice = bytes;
    twice.insert(twice.end(), bytes.begin(), bytes.end());
    EXPECT_EQ(contents(accumulator), twice);
}

TEST(DataAccumulator, RefusesALengthWhoseSumOverflowsAndStaysAsItWas)
{
    CDataAccumulator accumulator(4);
    const auto bytes = pattern(3);
    accumulator.addData(bytes.data(), 3);
    EXPECT_THROW(accumulator.addData(bytes.data(), ~0UL), std::bad_alloc);
    EXPECT_EQ(contents(accumulator), bytes);
    EXPECT_EQ(accumulator.capacity, 4U);
}

TEST(DataAccumulator, ReservesExactlyWhatIsAskedForAndNeverShrinks)
{
    CDataAccumulator accumulator(4);
    const auto bytes = pattern(3);
    accumulator.addData(bytes.data(), 3);
    accumulator.reserve(100);
    EXPECT_EQ(accumulator.capacity, 100U);
    accumulator.reserve(50);
    EXPECT_EQ(accumulator.capacity, 100U);
    EXPECT_EQ(contents(accumulator), bytes);
}

TEST(DataAccumulator, IsNotCopyable) { EXPECT_FALSE(std::is_copy_constructible_v<CDataAccumulator>); }
} // namespace DataAccumulator_test
