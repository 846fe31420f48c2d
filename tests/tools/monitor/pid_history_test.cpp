// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/pid_history.h"

#include <gmock/gmock.h>

namespace pid_history_test
{
using monitor::pid_history;
using monitor::pid_state;
using testing::ElementsAre;
using testing::SizeIs;

pid_state with_rate(unsigned PID, std::uint64_t bit_rate, bool is_referenced = true)
{
    pid_state state;
    state.figures.PID = static_cast<std::uint16_t>(PID);
    state.figures.bit_rate = bit_rate;
    state.figures.is_referenced = is_referenced;
    return state;
}

void look(pid_history& history, unsigned seconds, const std::vector<pid_state>& PIDs)
{
    for (; seconds != 0; --seconds)
        history.look(PIDs);
}

TEST(PIDHistory, HasThePointOfEachTenSeconds)
{
    pid_history history;
    look(history, 9, {with_rate(0x100, 1000)});
    EXPECT_THAT(*history.rates(), SizeIs(0));
    look(history, 1, {with_rate(0x100, 2000), with_rate(0x101, 50)});
    look(history, 10, {with_rate(0x100, 3000), with_rate(0x101, 60)});
    ASSERT_THAT(*history.rates(), SizeIs(2));
    EXPECT_EQ(history.rates()->at(0).PID, 0x100U);
    EXPECT_THAT(history.rates()->at(0).rates, ElementsAre(1100U, 3000U));
    EXPECT_THAT(history.rates()->at(1).rates, ElementsAre(5U, 60U));
}

TEST(PIDHistory, KeepsPIDsThroughSecondsInWhichNothingWasReceived)
{
    pid_history history;
    look(history, 10, {with_rate(0x100, 1000)});
    for (unsigned seconds = 10; seconds != 0; --seconds)
        history.look({with_rate(0x100, 1000)}, seconds > 8);
    ASSERT_THAT(*history.rates(), SizeIs(1));
    EXPECT_THAT(history.rates()->at(0).rates, ElementsAre(1000U, 200U));
}

TEST(PIDHistory, GoesBackTenMinutes)
{
    pid_history history;
    for (unsigned point = 0; point < 70; ++point)
        look(history, 10, {with_rate(0x100, point)});
    const auto& rates = history.rates()->at(0).rates;
    ASSERT_THAT(rates, SizeIs(60));
    EXPECT_EQ(rates.front(), 10U);
    EXPECT_EQ(rates.back(), 69U);
}

TEST(PIDHistory, LeavesOutWhatNoTableNamesAndWhatIsGone)
{
    pid_history history;
    look(history, 10, {with_rate(0x100, 1), with_rate(0x101, 1, false)});
    EXPECT_THAT(*history.rates(), SizeIs(1));
    look(history, 10, {});
    EXPECT_THAT(*history.rates(), SizeIs(0));
}

TEST(PIDHistory, HasSoManyPIDsAndNoMore)
{
    pid_history history;
    std::vector<pid_state> PIDs;
    for (unsigned PID = 0x100; PID < 0x200; ++PID)
        PIDs.push_back(with_rate(PID, 1));
    look(history, 10, PIDs);
    EXPECT_THAT(*history.rates(), SizeIs(pid_history::most_PIDs));
    EXPECT_EQ(history.rates()->back().PID, 0x100U + pid_history::most_PIDs - 1);
}
} // namespace pid_history_test
