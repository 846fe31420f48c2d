// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/sequence_tracker.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace sequence_tracker_test
{
using zq_net::extend_sequence;
using zq_net::sequence_tracker;
using step = sequence_tracker::step;
using testing::ElementsAre;

std::vector<step> steps(sequence_tracker& tracker, const std::vector<unsigned>& numbers)
{
    std::vector<step> all;
    for (const unsigned number : numbers)
        all.push_back(tracker.see(static_cast<std::uint16_t>(number)));
    return all;
}

TEST(ExtendSequence, TakesTheNearestNumberOverTheWrap)
{
    EXPECT_EQ(extend_sequence(0x1'0005, 0xFFFE), 0xFFFEU);
    EXPECT_EQ(extend_sequence(0x1'FFFE, 0x0003), 0x2'0003U);
    EXPECT_EQ(extend_sequence(0x1'1234, 0x1234), 0x1'1234U);
}

TEST(SequenceTracker, TakesTheFirstPacketWhateverItsNumber)
{
    sequence_tracker tracker;
    EXPECT_THAT(steps(tracker, {40000, 40001}), ElementsAre(step::next, step::next));
    EXPECT_EQ(tracker.received(), 2U);
    EXPECT_EQ(tracker.lost(), 0U);
}

TEST(SequenceTracker, GoesOnOverTheWrap)
{
    sequence_tracker tracker;
    EXPECT_THAT(steps(tracker, {65534, 65535, 0, 1}), ElementsAre(step::next, step::next, step::next, step::next));
    EXPECT_EQ(tracker.lost(), 0U);
}

TEST(SequenceTracker, CountsWhatIsLeftOutOverTheWrap)
{
    sequence_tracker tracker;
    EXPECT_THAT(steps(tracker, {65533, 2}), ElementsAre(step::next, step::ahead));
    EXPECT_EQ(tracker.lost(), 4U);
}

TEST(SequenceTracker, TakesBackTheLossOfAPacketThatComesBehind)
{
    sequence_tracker tracker;
    EXPECT_THAT(steps(tracker, {10, 12, 11, 13}), ElementsAre(step::next, step::ahead, step::behind, step::next));
    EXPECT_EQ(tracker.lost(), 0U);
    EXPECT_EQ(tracker.received(), 4U);
}

TEST(SequenceTracker, KnowsARepeatedPacketAtTheHeadAndBehindIt)
{
    sequence_tracker tracker;
    EXPECT_THAT(steps(tracker, {10, 10, 11, 12, 10}),
                ElementsAre(step::next, step::repeated, step::next, step::next, step::repeated));
    EXPECT_EQ(tracker.received(), 3U);
}

TEST(SequenceTracker, TakesAPacketFromBeforeTheFirstForARepeatedOne)
{
    sequence_tracker tracker;
    EXPECT_THAT(steps(tracker, {10, 9}), ElementsAre(step::next, step::repeated));
    EXPECT_EQ(tracker.lost(), 0U);
}

TEST(SequenceTracker, CountsAStepOf2999AsLossAndOneOf3000AsStrange)
{
    sequence_tracker tracker;
    EXPECT_THAT(steps(tracker, {0, 2999}), ElementsAre(step::next, step::ahead));
    EXPECT_EQ(tracker.lost(), 2998U);
    EXPECT_THAT(steps(tracker, {5999}), ElementsAre(step::strange));
    EXPECT_EQ(tracker.lost(), 2998U);
}

TEST(SequenceTracker, TakesAStepBackOf100ForReorderingAndOneOf101ForStrange)
{
    sequence_tracker tracker;
    EXPECT_THAT(steps(tracker, {0, 200, 100, 99}), ElementsAre(step::next, step::ahead, step::behind, step::strange));
}

TEST(SequenceTracker, BeginsAnewWhenTwoStrangePacketsFollowEachOther)
{
    sequence_tracker tracker;
    EXPECT_THAT(steps(tracker, {100, 30000, 30001, 30002}),
                ElementsAre(step::next, step::strange, step::restarted, step::next));
    EXPECT_EQ(tracker.received(), 4U);
    EXPECT_EQ(tracker.lost(), 0U);
}

TEST(SequenceTracker, StaysWithItsSenderWhenStrangePacketsComeOneByOne)
{
    sequence_tracker tracker;
    EXPECT_THAT(steps(tracker, {100, 30000, 101, 30001, 102}),
                ElementsAre(step::next, step::strange, step::next, step::strange, step::next));
}
} // namespace sequence_tracker_test
