// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/reorder_window.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <random>
#include <vector>

namespace reorder_window_test
{
using testing::ElementsAre;
using testing::IsEmpty;
using verdict = zq_net::reorder_window::verdict;

/// A window that begins at 1000 and takes payloads of one byte, the low byte of the number. What comes out is told as
/// these bytes, with -1 in front of each that stands behind a gap.
struct stand
{
    explicit stand(const zq_net::reorder_window::limits& limits = {4, 100, 1000, 64}) : window{limits}
    {
        window.begin(1000);
    }
    verdict put(std::uint64_t number, std::uint64_t arrival = 0)
    {
        payloads.push_back(static_cast<unsigned char>(number));
        const unsigned char& byte = payloads.back();
        return window.put(number, {&byte, 1, arrival}, list);
    }
    std::vector<int> out()
    {
        std::vector<int> told;
        for (const auto& piece : list) {
            if (piece.gap)
                told.push_back(-1);
            told.insert(told.end(), piece.data, piece.data + piece.size);
        }
        list.clear();
        return told;
    }
    static int byte(std::uint64_t number) { return static_cast<unsigned char>(number); }

    zq_net::reorder_window window;
    zq_net::piece_list list;
    std::deque<unsigned char> payloads;
};

TEST(ReorderWindow, PassesWhatIsDueAtOnceAndUncopied)
{
    stand to;
    EXPECT_EQ(to.put(1000), verdict::passed);
    EXPECT_EQ(to.list[0].data, &to.payloads.back());
    EXPECT_EQ(to.window.deadline(), to.window.never);
}

TEST(ReorderWindow, PutsInOrderWhatCameTooEarly)
{
    stand to;
    EXPECT_EQ(to.put(1002), verdict::kept);
    EXPECT_EQ(to.put(1001), verdict::kept);
    EXPECT_THAT(to.out(), IsEmpty());
    EXPECT_EQ(to.put(1000), verdict::passed);
    EXPECT_THAT(to.out(), ElementsAre(to.byte(1000), to.byte(1001), to.byte(1002)));
    EXPECT_EQ(to.window.lost(), 0U);
    EXPECT_EQ(to.window.next(), 1003U);
}

TEST(ReorderWindow, EndsItsWaitingWhenTheTimeIsOver)
{
    stand to;
    to.put(1000, 10);
    to.put(1003, 50);
    to.put(1004, 60);
    EXPECT_EQ(to.window.deadline(), 150U);
    to.window.expire(149, to.list);
    EXPECT_THAT(to.out(), ElementsAre(to.byte(1000)));
    to.window.expire(150, to.list);
    EXPECT_THAT(to.out(), ElementsAre(-1, to.byte(1003), to.byte(1004)));
    EXPECT_EQ(to.window.lost(), 2U);
    EXPECT_EQ(to.window.deadline(), to.window.never);
}

TEST(ReorderWindow, WaitsForASecondGapFromTheArrivalBehindIt)
{
    stand to;
    to.put(1001, 50);
    to.put(1003, 90);
    to.window.expire(150, to.list);
    EXPECT_THAT(to.out(), ElementsAre(-1, to.byte(1001)));
    EXPECT_EQ(to.window.deadline(), 190U);
    to.window.flush(to.list);
    EXPECT_THAT(to.out(), ElementsAre(-1, to.byte(1003)));
    EXPECT_EQ(to.window.lost(), 2U);
}

TEST(ReorderWindow, KeepsNoMorePacketsThanItsLimit)
{
    stand to;
    for (const std::uint64_t number : {1001U, 1002U, 1003U, 1004U})
        to.put(number);
    EXPECT_THAT(to.out(), IsEmpty());
    to.put(1006);
    EXPECT_THAT(to.out(), ElementsAre(-1, to.byte(1001), to.byte(1002), to.byte(1003), to.byte(1004)));
    EXPECT_EQ(to.window.lost(), 1U);
}

TEST(ReorderWindow, KeepsNoMoreBytesThanItsLimit)
{
    stand to{{100, 100, 2, 64}};
    to.put(1001);
    to.put(1003);
    EXPECT_THAT(to.out(), IsEmpty());
    to.put(1005);
    EXPECT_THAT(to.out(), ElementsAre(-1, to.byte(1001)));
}

TEST(ReorderWindow, DropsDuplicatesOfWhatPassedAndOfWhatIsKept)
{
    stand to;
    to.put(1000);
    to.put(1002);
    EXPECT_EQ(to.put(1000), verdict::duplicate);
    EXPECT_EQ(to.put(1002), verdict::duplicate);
    EXPECT_THAT(to.out(), ElementsAre(to.byte(1000)));
}

TEST(ReorderWindow, TellsLateFromDuplicateAndDropsIt)
{
    stand to;
    to.put(1001);
    to.window.flush(to.list);
    to.out();
    EXPECT_EQ(to.put(1000), verdict::late);
    EXPECT_EQ(to.put(1000), verdict::duplicate);
    EXPECT_THAT(to.out(), IsEmpty());
    EXPECT_EQ(to.window.lost(), 1U) << "a loss that was told is not taken back";
}

TEST(ReorderWindow, TakesWhatIsOlderThanItsHistoryAndWhatWasBeforeTheFirstForDuplicates)
{
    stand to;
    EXPECT_EQ(to.put(999), verdict::duplicate);
    to.put(1200);
    to.window.flush(to.list);
    EXPECT_EQ(to.put(1201 - 65), verdict::duplicate);
    EXPECT_EQ(to.put(1201 - 64), verdict::late);
}

TEST(ReorderWindow, MarksAGapInFrontOfTheNextPayloadThatHasBytes)
{
    stand to;
    const unsigned char byte = 7;
    to.put(1000);
    to.window.put(1002, {&byte, 0, 0}, to.list);
    to.window.put(1003, {&byte, 1, 0}, to.list);
    to.window.flush(to.list);
    EXPECT_THAT(to.out(), ElementsAre(to.byte(1000), -1, 7));
}

TEST(ReorderWindow, PutsAnyShuffleWithinItsLimitInOrder)
{
    std::mt19937 random{11};
    stand to{{16, 1000, 100000, 64}};
    std::vector<std::uint64_t> numbers;
    std::vector<int> expected;
    for (std::uint64_t number = 1000; number < 6000; ++number) {
        numbers.push_back(number);
        expected.push_back(to.byte(number));
    }
    for (std::size_t at = 0; at + 16 <= numbers.size(); at += 16)
        std::shuffle(numbers.begin() + static_cast<std::ptrdiff_t>(at),
                     numbers.begin() + static_cast<std::ptrdiff_t>(at + 16), random);
    for (const auto number : numbers)
        to.put(number);
    EXPECT_EQ(to.out(), expected);
    EXPECT_EQ(to.window.lost(), 0U);
}
} // namespace reorder_window_test
