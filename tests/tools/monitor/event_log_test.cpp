// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/event_log.h"

#include <gmock/gmock.h>

namespace event_log_test
{
using monitor::alarm_book;
using monitor::event;

constexpr std::uint64_t second = 1'000'000'000;

event about(const std::string& check, unsigned priority = 1)
{
    event told;
    told.time = 1'769'860'800 * second;
    told.stream = "A";
    told.check = check;
    told.name = "Name_of_" + check;
    told.priority = priority;
    return told;
}

TEST(Alarm, BeginsWithTheFirstErrorAndEndsWhenThereWasNoneForTheHoldOff)
{
    alarm_book book(5 * second);
    EXPECT_FALSE(book.look(about("1.4"), 10 * second, false, 0));
    const auto begin = book.look(about("1.4"), 11 * second, false, 2);
    ASSERT_TRUE(begin);
    EXPECT_EQ(begin->what, event::kind::begin);
    EXPECT_FALSE(book.look(about("1.4"), 12 * second, false, 0));
    EXPECT_FALSE(book.look(about("1.4"), 14 * second, false, 1));
    EXPECT_FALSE(book.look(about("1.4"), 19 * second - 1, false, 0));
    EXPECT_TRUE(book.is_active("1.4"));
    const auto end = book.look(about("1.4"), 19 * second, false, 0);
    ASSERT_TRUE(end);
    EXPECT_EQ(end->what, event::kind::end);
    EXPECT_EQ(end->duration, 8 * second);
    EXPECT_EQ(end->count, 3U);
    EXPECT_FALSE(book.is_active("1.4"));
}

TEST(Alarm, OneThatLastsEndsTheHoldOffAfterItIsOver)
{
    alarm_book book(5 * second);
    EXPECT_TRUE(book.look(about("input"), 1 * second, true, 0));
    for (std::uint64_t now = 2; now < 60; ++now)
        EXPECT_FALSE(book.look(about("input"), now * second, true, 0));
    EXPECT_FALSE(book.look(about("input"), 63 * second, false, 0));
    EXPECT_TRUE(book.look(about("input"), 64 * second, false, 0));
}

TEST(Alarm, WithoutAHoldOffEndsWithTheFirstLookWithoutError)
{
    alarm_book book(0);
    EXPECT_TRUE(book.look(about("1.4"), second, false, 1));
    EXPECT_TRUE(book.look(about("1.4"), second + 1, false, 0));
}

TEST(Alarm, TheGravestIsThatOfTheLowestPriority)
{
    alarm_book book(second);
    EXPECT_EQ(book.gravest(), 0U);
    (void)book.look(about("3.2", 3), 1, true, 1);
    EXPECT_EQ(book.gravest(), 3U);
    (void)book.look(about("2.2", 2), 1, true, 1);
    EXPECT_EQ(book.gravest(), 2U);
    EXPECT_THAT(book.active(), testing::ElementsAre("2.2", "3.2"));
}

TEST(Alarm, AllEndWithTheStream)
{
    alarm_book book(second);
    (void)book.look(about("1.4"), second, true, 1);
    (void)book.look(about("2.2"), second, true, 1);
    EXPECT_EQ(book.end_all(5, 3 * second).size(), 2U);
    EXPECT_TRUE(book.active().empty());
}

TEST(Event, IsALineOfJson)
{
    auto told = about("1.4");
    told.text = "PID 256: 3 packets missing";
    EXPECT_EQ(json_of(told), R"({"time":"2026-01-31T12:00:00.000Z","event":"begin","stream":"A","check":"1.4",)"
                             R"("name":"Name_of_1.4","priority":1,"text":"PID 256: 3 packets missing"})");
    told.what = event::kind::end;
    told.text.clear();
    told.duration = 1500 * second / 1000;
    told.count = 7;
    EXPECT_EQ(json_of(told), R"({"time":"2026-01-31T12:00:00.000Z","event":"end","stream":"A","check":"1.4",)"
                             R"("name":"Name_of_1.4","priority":1,"seconds":1.5,"errors":7})");
}

TEST(EventRing, KeepsTheLastOnesAndCountsAll)
{
    monitor::event_ring ring;
    for (std::size_t count = 0; count < monitor::event_ring::most + 5; ++count)
        ring.put(about(std::to_string(count)));
    EXPECT_EQ(ring.events().size(), monitor::event_ring::most);
    EXPECT_EQ(ring.events().front().check, "5");
    EXPECT_EQ(ring.total(), monitor::event_ring::most + 5);
}
TEST(EventRing, LeavesTheEventsOfQuietStreams)
{
    monitor::event_ring ring;
    const auto tell = [&](const std::string& stream, const std::string& check) {
        auto told = about(check);
        told.stream = stream;
        ring.put(told);
    };
    tell("Quiet", "1.1");
    for (std::size_t count = 0; count < 2 * monitor::event_ring::most; ++count)
        tell("Noisy", std::to_string(count));
    EXPECT_EQ(ring.events().size(), monitor::event_ring::most);
    EXPECT_EQ(ring.events().front().check, "1.1");
    EXPECT_EQ(ring.events().back().check, std::to_string(2 * monitor::event_ring::most - 1));
}
} // namespace event_log_test
