// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zqsdk/ZQString.h"

#include <gtest/gtest.h>

#include <limits>

namespace ZQString_test
{
using namespace std::chrono_literals;
using ZQSDK::number_to_string;
using ZQSDK::toString;

TEST(NumberToString, PadsOnTheLeftWithZeros) { EXPECT_EQ(number_to_string(3, 7), "007"); }

TEST(NumberToString, KeepsTheLeftmostDigitsOfANumberThatIsTooWide) { EXPECT_EQ(number_to_string(3, 1234), "123"); }

TEST(NumberToString, InWidthZeroIsEmpty) { EXPECT_EQ(number_to_string(0, 5), ""); }

TEST(DurationToString, WritesHoursMinutesSecondsAndMilliseconds)
{
    EXPECT_EQ(toString("hhh:mm:ss.ccc", 3725042ms), "001:02:05.042");
}

TEST(DurationToString, OfZeroIsAllZeros) { EXPECT_EQ(toString("hhh:mm:ss.ccc", 0ns), "000:00:00.000"); }

TEST(DurationToString, PrefixesANegativeDurationWithMinus)
{
    EXPECT_EQ(toString("hhh:mm:ss.ccc", -3725042ms), "-001:02:05.042");
}

TEST(DurationToString, UsesTheTwoLetterFormsWhenTheThreeLetterFormsAreAbsent)
{
    EXPECT_EQ(toString("hh:mm:ss.cc", 3725042ms), "01:02:05.42");
    EXPECT_EQ(toString("cc", 7ms), "07");
    EXPECT_EQ(toString("cc", 123ms), "12");
}

TEST(DurationToString, ReplacesOnlyTheFirstOfEachPattern) { EXPECT_EQ(toString("ss ss", 5s), "05 ss"); }

TEST(DurationToString, CutsHoursBeyondTheWidth) { EXPECT_EQ(toString("hhh", 1234h), "123"); }

TEST(DurationToString, LeavesTextWithoutPatternsAlone) { EXPECT_EQ(toString("x:y", 5s), "x:y"); }

TEST(DurationToString, HoldsTheMostNegativeDuration)
{
    EXPECT_EQ(toString("hhh:mm:ss.ccc", std::chrono::nanoseconds{std::numeric_limits<std::int64_t>::min()}),
              "-256:47:16.854");
}
} // namespace ZQString_test
