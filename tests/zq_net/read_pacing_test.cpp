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

    read_pacing pacing;
    std::uint64_t now = 1000 * ms;
};

TEST(ReadPacing, LeavesNoStreamAloneThatHasJustBegun)
{
    stream to;
    EXPECT_EQ(to.pacing.rest(), 0U);
    to.pacing.note(1, to.now);
    to.pacing.note(1, to.now += us);
    EXPECT_EQ(to.pacing.rest(), 0U);
    EXPECT_EQ(to.pacing.expected(), 1U);
}

TEST(ReadPacing, RestsWhereAHandfulComesInTheLongestRest)
{
    stream to;
    to.flow(1, 260 * us);
    EXPECT_EQ(to.pacing.rest(), 0U);
    to.flow(1, 240 * us);
    EXPECT_EQ(to.pacing.rest(), read_pacing::longest_rest);
    EXPECT_EQ(to.pacing.expected(), 9U) << "twice the four that are likely";
}

TEST(ReadPacing, RestsForNoMoreThanTheSocketHasRoomFor)
{
    stream to;
    to.pacing = read_pacing{10};
    to.flow(20, 5 * us);
    EXPECT_EQ(to.pacing.rest(), 10 * 5 * us);
    EXPECT_EQ(to.pacing.expected(), 21U);
}

TEST(ReadPacing, NeverRestsWhereTheSocketHasNoRoomForAHandful)
{
    stream to;
    to.pacing = read_pacing{read_pacing::handful - 1};
    to.flow(20, 5 * us);
    EXPECT_EQ(to.pacing.rest(), 0U);
    EXPECT_EQ(to.pacing.expected(), 1U);
}

TEST(ReadPacing, PassesOverStampsThatGoBackALittle)
{
    stream to;
    to.flow(20, 5 * us);
    to.pacing.note(20, to.now - 20 * us);
    EXPECT_GT(to.pacing.rest(), 0U);
}

TEST(ReadPacing, AsksForNoMoreThanPlentyHoweverDenseTheStream)
{
    stream to;
    to.flow(1, 0);
    EXPECT_EQ(to.pacing.expected(), read_pacing::plenty);
}

TEST(ReadPacing, RestsNoLongerThanForPlenty)
{
    stream to;
    to.flow(20, 5 * us);
    EXPECT_EQ(to.pacing.rest(), read_pacing::plenty * 5 * us);
}

TEST(ReadPacing, EndsWithTheStream)
{
    stream to;
    to.flow(20, 5 * us);
    to.pacing.note(1, to.now + 1000 * ms);
    EXPECT_EQ(to.pacing.rest(), 0U);
}

TEST(ReadPacing, EndsWhenTheClockIsSetBack)
{
    stream to;
    to.flow(20, 5 * us);
    to.pacing.note(20, to.now - 10 * ms);
    EXPECT_EQ(to.pacing.rest(), 0U);
}

TEST(ReadPacing, PassesOverReadsThatGaveNothing)
{
    stream to;
    to.flow(20, 5 * us);
    to.pacing.note(0, to.now);
    EXPECT_EQ(to.pacing.rest(), read_pacing::plenty * 5 * us);
}
} // namespace read_pacing_test
