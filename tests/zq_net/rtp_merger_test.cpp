// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/rtp_merger.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>
#include <random>
#include <set>
#include <vector>

namespace rtp_merger_test
{
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint64_t ms = 1'000'000;
constexpr std::uint32_t A = 0xA, B = 0xB;

/// Feeds packets whose payload is their number, two bytes; -1 tells a gap.
struct stand
{
    explicit stand(std::size_t legs) : merger{legs, {64, 20 * ms, 1 << 20, 16384}} {}

    void put(unsigned number, std::size_t leg = 0, std::uint64_t at = 0, std::uint32_t SSRC = A)
    {
        auto& bytes = payloads.emplace_back();
        bytes = {static_cast<unsigned char>(number >> 8), static_cast<unsigned char>(number)};
        zq_net::rtp_packet packet;
        packet.sequence_number = static_cast<std::uint16_t>(number);
        packet.SSRC = SSRC;
        packet.payload = bytes.data();
        packet.payload_size = bytes.size();
        merger.put(leg, packet, at, list);
    }
    std::vector<int> out()
    {
        std::vector<int> told;
        for (const auto& piece : list) {
            if (piece.gap)
                told.push_back(-1);
            for (std::size_t i = 0; i + 1 < piece.size; i += 2)
                told.push_back(piece.data[i] << 8 | piece.data[i + 1]);
        }
        list.clear();
        payloads.clear();
        return told;
    }

    zq_net::rtp_merger merger;
    zq_net::piece_list list;
    std::deque<std::vector<unsigned char>> payloads;
};

TEST(RtpMerger, PassesOneLegInOrderOverTheWrap)
{
    stand to{1};
    for (const unsigned number : {65534U, 65535U, 1U, 0U, 2U})
        to.put(number);
    EXPECT_THAT(to.out(), ElementsAre(65534, 65535, 0, 1, 2));
    EXPECT_EQ(to.merger.counters(0).reordered, 1U);
    EXPECT_EQ(to.merger.counters(0).lost, 0U);
}

TEST(RtpMerger, WaitsNoLongerOnceTheClockWasSetBack)
{
    stand to{1};
    to.put(10, 0, 5000 * ms);
    to.put(12, 0, 5001 * ms);
    to.merger.advance(5001 * ms, to.list);
    to.merger.advance(4500 * ms, to.list);
    EXPECT_THAT(to.out(), ElementsAre(10)) << "so little is no step of the clock";
    to.merger.advance(3000 * ms, to.list);
    EXPECT_THAT(to.out(), ElementsAre(-1, 12));
    to.put(14, 0, 3001 * ms);
    to.put(13, 0, 3002 * ms);
    EXPECT_THAT(to.out(), ElementsAre(13, 14));
}

TEST(RtpMerger, FollowsTheOtherLegWhenTheClockWasSetBackBehindTheFirstOne)
{
    stand to{2};
    to.put(10, 0, 7200000 * ms);
    to.merger.advance(7200000 * ms, to.list);
    to.merger.advance(3600000 * ms, to.list);
    // The second leg's numbers go elsewhere; up to a second behind the step the first one may be alive.
    to.put(40000, 1, 3600000 * ms);
    to.put(40001, 1, 3600999 * ms);
    to.put(40002, 1, 3601000 * ms);
    to.put(40003, 1, 3601001 * ms);
    EXPECT_THAT(to.out(), ElementsAre(10, -1, 40002, 40003));
}

TEST(RtpMerger, StaysWithItsSenderWhenTheClockIsSetBackInFrontOfTheFormerOne)
{
    stand to{1};
    to.put(10, 0, 0, A);
    to.put(500, 0, 7200000 * ms, B);
    to.merger.advance(7200000 * ms, to.list);
    to.put(11, 0, 3600000 * ms, A);
    to.merger.advance(3600000 * ms, to.list);
    to.put(12, 0, 3600001 * ms, A);
    to.put(501, 0, 3600002 * ms, B);
    EXPECT_THAT(to.out(), ElementsAre(10, -1, 500, 501));
}

TEST(RtpMerger, CountsAndMarksWhatNeverComes)
{
    stand to{1};
    to.put(10, 0, 0);
    to.put(13, 0, 1 * ms);
    to.merger.advance(20 * ms, to.list);
    EXPECT_THAT(to.out(), ElementsAre(10));
    to.merger.advance(21 * ms, to.list);
    EXPECT_THAT(to.out(), ElementsAre(-1, 13));
    EXPECT_EQ(to.merger.lost(), 2U);
    EXPECT_EQ(to.merger.counters(0).lost, 2U);
}

TEST(RtpMerger, DropsRepeatedPackets)
{
    stand to{1};
    for (const unsigned number : {10U, 10U, 11U, 10U})
        to.put(number);
    EXPECT_THAT(to.out(), ElementsAre(10, 11));
    EXPECT_EQ(to.merger.counters(0).repeated, 2U);
}

TEST(RtpMerger, FollowsANewSenderAtOnceAndCountsNoLoss)
{
    stand to{1};
    to.put(10);
    to.put(40000, 0, 0, B);
    to.put(40001, 0, 0, B);
    EXPECT_THAT(to.out(), ElementsAre(10, -1, 40000, 40001));
    EXPECT_EQ(to.merger.sender_changes(), 1U);
    EXPECT_EQ(to.merger.lost(), 0U);
}

TEST(RtpMerger, IsLedAstrayByNoPacketOfAnotherSenderWithoutPayload)
{
    stand to{1};
    to.put(10);
    zq_net::rtp_packet stray;
    stray.SSRC = B;
    to.merger.put(0, stray, 0, to.list);
    to.put(11);
    EXPECT_THAT(to.out(), ElementsAre(10, 11));
    EXPECT_EQ(to.merger.sender_changes(), 0U);
    EXPECT_EQ(to.merger.counters(0).foreign, 1U);
}

TEST(RtpMerger, PassesWhatItKeptOfTheFormerSenderFirst)
{
    stand to{1};
    to.put(10);
    to.put(12);
    to.put(500, 0, 0, B);
    EXPECT_THAT(to.out(), ElementsAre(10, -1, 12, -1, 500));
}

TEST(RtpMerger, DropsASecondSenderThatGoesOnBesideTheNewOne)
{
    stand to{1};
    to.put(10, 0, 0, A);
    for (unsigned i = 0; i < 3; ++i) {
        to.put(500 + i, 0, i, B);
        to.put(11 + i, 0, i, A);
    }
    EXPECT_THAT(to.out(), ElementsAre(10, -1, 500, 501, 502));
    EXPECT_EQ(to.merger.counters(0).foreign, 3U);
    EXPECT_EQ(to.merger.sender_changes(), 1U);
}

TEST(RtpMerger, GoesBackToTheFormerSenderWhenTheNewOneIsSilent)
{
    stand to{1};
    to.put(10, 0, 0, A);
    to.put(500, 0, 0, B);
    to.put(11, 0, 999 * ms, A);
    to.put(12, 0, 1000 * ms, A);
    EXPECT_THAT(to.out(), ElementsAre(10, -1, 500, -1, 12));
}

TEST(RtpMerger, FollowsASenderThatBeginsItsNumbersAnewWithoutLosingItsFirstPacket)
{
    stand to{1};
    for (const unsigned number : {20000U, 20001U, 7U, 8U, 9U})
        to.put(number);
    EXPECT_THAT(to.out(), ElementsAre(20000, 20001, -1, 7, 8, 9));
    EXPECT_EQ(to.merger.lost(), 0U);
    EXPECT_EQ(to.merger.sender_changes(), 1U);
}

TEST(RtpMerger, FollowsASenderThatGoesBackNoFurtherThanDuplicatesAreKnown)
{
    stand to{1};
    std::vector<int> expected;
    for (unsigned number = 0; number < 300; ++number) {
        to.put(number);
        expected.push_back(static_cast<int>(number));
    }
    for (const unsigned number : {0U, 1U, 2U})
        to.put(number);
    expected.insert(expected.end(), {-1, 0, 1, 2});
    EXPECT_EQ(to.out(), expected);
    EXPECT_EQ(to.merger.sender_changes(), 1U);
    EXPECT_EQ(to.merger.lost(), 0U);
}

TEST(RtpMerger, DropsALoneStrangePacket)
{
    stand to{1};
    for (const unsigned number : {20000U, 7U, 20001U})
        to.put(number);
    EXPECT_THAT(to.out(), ElementsAre(20000, 20001));
    EXPECT_EQ(to.merger.counters(0).foreign, 1U);
}

TEST(RtpMerger, CountsALongGapOfOneSenderAsLoss)
{
    stand to{1};
    to.put(100);
    to.put(3000);
    to.merger.advance(20 * ms, to.list);
    EXPECT_THAT(to.out(), ElementsAre(100, -1, 3000));
    EXPECT_EQ(to.merger.lost(), 2899U);
}

TEST(RtpMerger, CountsNothingAsLostThatWasNotListenedFor)
{
    stand to{1};
    to.put(10);
    to.put(12);
    to.merger.forget();
    to.put(500);
    to.put(501);
    EXPECT_THAT(to.out(), ElementsAre(10, -1, 500, 501));
    EXPECT_EQ(to.merger.lost(), 0U);
    EXPECT_EQ(to.merger.sender_changes(), 0U);
}

TEST(TwoLegs, MakeOneStreamOfWhichTheFirstCopyCounts)
{
    stand to{2};
    for (unsigned number = 0; number < 4; ++number) {
        to.put(number, 0);
        to.put(number, 1);
    }
    EXPECT_THAT(to.out(), ElementsAre(0, 1, 2, 3));
    EXPECT_EQ(to.merger.counters(0).second, 0U);
    EXPECT_EQ(to.merger.counters(1).second, 4U);
}

TEST(TwoLegs, MissNothingThatOneOfThemBrings)
{
    stand to{2};
    std::vector<int> expected;
    for (unsigned number = 0; number < 200; ++number) {
        expected.push_back(static_cast<int>(number));
        if (number % 20 != 3)
            to.put(number, 0, number * ms);
        if (number >= 5 && (number - 5) % 20 != 7)
            to.put(number - 5, 1, number * ms);
    }
    to.put(199, 1, 200 * ms);
    EXPECT_EQ(to.out(), expected);
    EXPECT_EQ(to.merger.lost(), 0U);
    EXPECT_EQ(to.merger.counters(0).lost, 10U);
}

TEST(TwoLegs, MissExactlyWhatBothLost)
{
    std::mt19937 random{3};
    stand to{2};
    std::vector<int> expected;
    std::uint64_t both = 0;
    bool gap = false;
    for (unsigned number = 0; number < 20000; ++number) {
        const bool first = number == 0 || number == 19999 || random() % 20 != 0;
        const bool second = random() % 20 != 0;
        if (first)
            to.put(number, 0, number * ms);
        if (second)
            to.put(number, 1, number * ms);
        to.merger.advance(number * ms, to.list);
        both += !first && !second ? 1 : 0;
        gap = gap || (!first && !second);
        if (!first && !second)
            continue;
        if (gap)
            expected.push_back(-1);
        gap = false;
        expected.push_back(static_cast<int>(number));
    }
    to.merger.advance(30000 * ms, to.list);
    EXPECT_EQ(to.out(), expected);
    EXPECT_GT(both, 10U);
    EXPECT_EQ(to.merger.lost(), both);
}

TEST(TwoLegs, GoOnWithTheOneThatIsLeft)
{
    stand to{2};
    to.put(0, 0);
    to.put(0, 1);
    for (unsigned number = 1; number < 4; ++number)
        to.put(number, 1, number * 2000 * ms);
    EXPECT_THAT(to.out(), ElementsAre(0, 1, 2, 3));
}

TEST(TwoLegs, StayWithTheStreamThatOneCarriesWhenTheOtherBringsAnotherSender)
{
    stand to{2};
    to.put(10, 0);
    to.put(10, 1);
    for (unsigned i = 1; i < 4; ++i) {
        to.put(700 + i, 0, i * ms, B);
        to.put(10 + i, 1, i * ms, A);
    }
    EXPECT_THAT(to.out(), ElementsAre(10, 11, 12, 13));
    EXPECT_EQ(to.merger.counters(0).foreign, 3U);
}

TEST(TwoLegs, FollowASenderThatBeganAnewWhenBothBringIt)
{
    stand to{2};
    to.put(10, 0);
    to.put(10, 1);
    to.put(700, 0, 1 * ms, B);
    to.put(701, 0, 2 * ms, B);
    to.put(700, 1, 3 * ms, B);
    to.put(702, 0, 4 * ms, B);
    to.put(701, 1, 5 * ms, B);
    EXPECT_THAT(to.out(), ElementsAre(10, -1, 700, 701, 702));
    EXPECT_EQ(to.merger.lost(), 0U);
}

TEST(TwoLegs, AreNotLedAstrayByNumbersThatJumpOnOne)
{
    stand to{2};
    for (unsigned i = 0; i < 6; ++i) {
        to.put(i < 2 ? i : 40000 + i, 0, i * ms);
        to.put(i, 1, i * ms);
    }
    EXPECT_THAT(to.out(), ElementsAre(0, 1, 2, 3, 4, 5));
    EXPECT_EQ(to.merger.sender_changes(), 0U);
}

/// Both legs bring `from` and two more, then `to_number` and three more; the second leg `behind` packets later.
void expect_both_follow(unsigned from, unsigned to_number, unsigned behind)
{
    stand to{2};
    std::vector<unsigned> numbers;
    for (unsigned i = 0; i < 10; ++i)
        numbers.push_back(from + i);
    for (unsigned i = 0; i < 30; ++i)
        numbers.push_back(to_number + i);
    for (unsigned i = 0; i < numbers.size() + behind; ++i) {
        if (i < numbers.size())
            to.put(numbers[i], 0, i * ms);
        if (i >= behind)
            to.put(numbers[i - behind], 1, i * ms);
        to.merger.advance(i * ms, to.list);
    }
    std::vector<int> expected{numbers.begin(), numbers.end()};
    expected.insert(expected.begin() + 10, -1);
    EXPECT_EQ(to.out(), expected) << from << " to " << to_number << ", " << behind << " behind";
    EXPECT_EQ(to.merger.lost(), 0U);
    EXPECT_EQ(to.merger.sender_changes(), 1U);
}

TEST(TwoLegs, FollowASenderThatCountsAnewOnBoth)
{
    for (const unsigned behind : {0U, 1U, 5U}) {
        expect_both_follow(20000, 10000, behind);
        expect_both_follow(20000, 30000, behind);
        expect_both_follow(20000, 19000, behind);
        expect_both_follow(20000, 45000, behind);
    }
}

TEST(TwoLegs, FollowTheOneThatCountsAnewWhenTheOtherIsSilent)
{
    stand to{2};
    for (unsigned i = 0; i < 3; ++i) {
        to.put(500 + i, 0);
        to.put(500 + i, 1);
    }
    for (unsigned i = 0; i < 4; ++i)
        to.put(i, 0, i * 400 * ms);
    EXPECT_THAT(to.out(), ElementsAre(500, 501, 502, -1, 3));
    EXPECT_EQ(to.merger.counters(0).foreign, 3U);
}

TEST(TwoLegs, TakeBackOneThatMissedMoreThanHalfOfAllNumbers)
{
    stand to{2};
    to.put(0, 0);
    for (unsigned number = 0; number < 40000; ++number)
        to.put(number, 1, number * ms);
    to.out();
    // It runs ten packets behind the other one.
    for (unsigned number = 40000; number < 40020; ++number) {
        to.put(number, 1, number * ms);
        to.put(number - 10, 0, number * ms);
    }
    EXPECT_EQ(to.out().size(), 20U);
    EXPECT_EQ(to.merger.counters(0).second, 20U);
    EXPECT_EQ(to.merger.counters(0).foreign, 0U);
}
} // namespace rtp_merger_test
