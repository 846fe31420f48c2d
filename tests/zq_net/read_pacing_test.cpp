// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/read_pacing.h"

#include <gtest/gtest.h>

namespace read_pacing_test
{
using zq_net::ms;
using zq_net::read_pacing;

constexpr std::uint64_t us = ms / 1000;

/// Reads of `count` datagrams each, `interval` from one datagram to the next.
struct stream
{
    void flow(std::size_t count, std::uint64_t interval)
    {
        for (int reads = 0; reads < 100; ++reads)
            pacing.note(count, now += count * interval);
    }

    std::uint64_t rest() const { return pacing.rest(with); }
    std::size_t expected() const { return pacing.expected(with); }

    read_pacing pacing;
    read_pacing::patience with = read_pacing::alone;
    std::uint64_t now = 1000 * ms;
};

/// One that has come for a while.
stream dense()
{
    stream to;
    to.flow(20, 5 * us);
    return to;
}

stream in_a_crowd(std::uint64_t interval)
{
    stream to;
    to.with = read_pacing::in_a_crowd;
    to.flow(1, interval);
    return to;
}

TEST(ReadPacing, LeavesNoStreamAloneThatHasJustBegun)
{
    stream to;
    EXPECT_EQ(to.rest(), 0U);
    to.pacing.note(1, to.now);
    to.pacing.note(1, to.now += us);
    EXPECT_EQ(to.rest(), 0U);
    EXPECT_EQ(to.expected(), 1U);
}

TEST(ReadPacing, RestsWhereAHandfulComesInTheLongestRest)
{
    stream to;
    to.flow(1, 260 * us);
    EXPECT_EQ(to.rest(), 0U);
    to.flow(1, 240 * us);
    EXPECT_EQ(to.rest(), read_pacing::alone.longest_rest);
    EXPECT_EQ(to.expected(), 7U) << "half as many again as the four that are likely";
}

TEST(ReadPacing, RestsForNoMoreThanTheSocketHasRoomFor)
{
    stream to;
    to.pacing = read_pacing{10};
    to.flow(20, 5 * us);
    EXPECT_EQ(to.rest(), 10 * 5 * us);
    EXPECT_EQ(to.expected(), 16U);
}

TEST(ReadPacing, NeverRestsWhereTheSocketHasNoRoomForAHandful)
{
    stream to;
    to.pacing = read_pacing{read_pacing::alone.handful - 1};
    to.flow(20, 5 * us);
    EXPECT_EQ(to.rest(), 0U);
    EXPECT_EQ(to.expected(), 1U);
}

TEST(ReadPacing, PassesOverStampsThatGoBackALittle)
{
    stream to = dense();
    to.pacing.note(20, to.now - 20 * us);
    EXPECT_GT(to.rest(), 0U);
}

TEST(ReadPacing, AsksForNoMoreThanPlentyHoweverDenseTheStream)
{
    stream to;
    to.flow(1, 0);
    EXPECT_EQ(to.expected(), read_pacing::plenty);
}

TEST(ReadPacing, RestsNoLongerThanForPlenty)
{
    stream to = dense();
    EXPECT_EQ(to.rest(), read_pacing::plenty * 5 * us);
}

TEST(ReadPacing, EndsWithTheStream)
{
    stream to = dense();
    to.pacing.note(1, to.now + 1000 * ms);
    EXPECT_EQ(to.rest(), 0U);
}

TEST(ReadPacing, EndsWhenTheClockIsSetBack)
{
    stream to = dense();
    to.pacing.note(20, to.now - 10 * ms);
    EXPECT_EQ(to.rest(), 0U);
}

TEST(ReadPacing, PassesOverReadsThatGaveNothing)
{
    stream to = dense();
    to.pacing.note(0, to.now);
    EXPECT_EQ(to.rest(), read_pacing::plenty * 5 * us);
}

TEST(ReadPacing, RestsInACrowdWhereASecondOneComesInEightMilliseconds)
{
    EXPECT_EQ(in_a_crowd(4100 * us).rest(), 0U);
    const stream to = in_a_crowd(3900 * us);
    EXPECT_EQ(to.rest(), 8 * ms);
    EXPECT_EQ(to.expected(), 4U) << "half as many again as the two that are likely, and one";
}

TEST(ReadPacing, RestsInACrowdForNoMoreThanThreeAndForEvenPartsOfEightMilliseconds)
{
    EXPECT_EQ(in_a_crowd(2700 * us).rest(), 8 * ms);
    EXPECT_EQ(in_a_crowd(2600 * us).rest(), 4 * ms) << "three come in 7.8 ms";
    EXPECT_EQ(in_a_crowd(1400 * us).rest(), 4 * ms);
    EXPECT_EQ(in_a_crowd(1300 * us).rest(), 2 * ms);
    EXPECT_EQ(in_a_crowd(700 * us).rest(), 2 * ms);
    EXPECT_EQ(in_a_crowd(600 * us).rest(), 1 * ms);
}

TEST(ReadPacing, RestsForADenseStreamInACrowdAsForOneAlone)
{
    for (const std::uint64_t interval : {300 * us, 240 * us, 20 * us, 5 * us}) {
        const stream to = in_a_crowd(interval);
        EXPECT_EQ(to.rest(), std::min(ms, read_pacing::plenty * interval));
    }
}

TEST(ReadPacing, RestsInACrowdForNoMoreThanTheSocketHasRoomFor)
{
    stream to = in_a_crowd(1400 * us);
    EXPECT_EQ(to.rest(), 4 * ms);
    to.pacing = read_pacing{2};
    to.flow(1, 1400 * us);
    EXPECT_EQ(to.rest(), 2 * ms);
    to.pacing = read_pacing{1};
    to.flow(1, ms);
    EXPECT_EQ(to.rest(), 0U);
}

TEST(ReadPacing, RestsInHasteForLessThanHalfAMillisecond)
{
    stream to;
    to.with = read_pacing::hasty;
    to.flow(1, 110 * us);
    EXPECT_EQ(to.rest(), 0U);
    to.flow(1, 90 * us);
    EXPECT_EQ(to.rest(), 400 * us);
    to.flow(1, 5 * us);
    EXPECT_EQ(to.rest(), 300 * us) << "for sixty";
}

TEST(ReadPacing, FillsNoMoreThanAQuarterOfABuffer)
{
    stream to;
    to.pacing = read_pacing::for_buffer(212992);
    to.flow(20, 5 * us);
    EXPECT_EQ(to.rest(), 46 * 5 * us);
    to.pacing = read_pacing::for_buffer(8 << 20);
    to.flow(20, 5 * us);
    EXPECT_EQ(to.rest(), read_pacing::plenty * 5 * us);
    to.pacing = read_pacing::for_buffer(2304);
    to.flow(20, 5 * us);
    EXPECT_EQ(to.rest(), 0U);
}
} // namespace read_pacing_test
