// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/BasePID.h"
#include "mpegcore/parser/PIDMemory.h"
#include "support/Stream.h"

#include <gtest/gtest.h>

#include <array>

namespace PayloadUnitBudget_test
{
using mpegcore::CBasePID;
using mpegcore::PayloadUnitBudget;
using mpegcore::PIDMemory;
using zqtest::Bytes;

class Budget : public testing::Test
{
protected:
    static constexpr std::size_t first = CBasePID::first_capacity;

    /// Packets of 184 bytes, the first of which starts a unit unless the unit just goes on.
    void collect(std::size_t PID, unsigned packets, bool starts = true)
    {
        mpegcore::transport_packet packet{};
        packet.PID = static_cast<std::uint16_t>(PID);
        packet.adaptation_field_control = 1;
        packet.payload = payload.data();
        packet.payload_size = payload.size();
        for (unsigned count = 0; count < packets; ++count) {
            packet.payload_unit_start_indicator = starts && count == 0 ? 1 : 0;
            PIDs[PID].putPacket(packet);
        }
    }

    /// Asks in vain as often as it takes for silent PIDs to be looked for.
    void ask_in_vain()
    {
        for (std::size_t count = 0; count < PayloadUnitBudget::refusals_until_silent; ++count)
            EXPECT_FALSE(budget.make_room(1U << 20, PIDs[0]));
    }

    Bytes payload = Bytes(184, 5);
    std::array<CBasePID, 3> PIDs;
    PIDMemory memory{PIDs.data(), PIDs.size(), 2 * 3 * first + 4 * first};
    PayloadUnitBudget& budget = memory.budget();
};

TEST_F(Budget, IsTakenAndGivenBack)
{
    EXPECT_TRUE(budget.take(4 * first));
    EXPECT_EQ(budget.left(), 0U);
    EXPECT_FALSE(budget.take(1));
    budget.give_back(10);
    EXPECT_EQ(budget.left(), 10U);
}

TEST_F(Budget, TakesTheCompletedUnitsOfOthersWhenItRunsShort)
{
    collect(1, 40);
    collect(1, 1);
    EXPECT_EQ(PIDs[1].completed->capacity, 2 * first);
    EXPECT_EQ(budget.left(), 3 * first);
    EXPECT_TRUE(budget.make_room(4 * first, PIDs[0]));
    EXPECT_EQ(PIDs[1].completed->capacity, first);
    EXPECT_EQ(PIDs[1].completed->size, 0U);
    EXPECT_EQ(PIDs[1].collecting->size, 184U) << "what is being collected stays";
}

TEST_F(Budget, TakesTheBuffersOfClearedPidsWhenItRunsShort)
{
    collect(1, 40);
    PIDs[1].clear();
    EXPECT_EQ(PIDs[1].collecting->capacity, 2 * first) << "clearing keeps the buffers";
    EXPECT_TRUE(budget.make_room(4 * first, PIDs[0]));
    EXPECT_EQ(PIDs[1].collecting->capacity, first);
}

TEST_F(Budget, LeavesTheUnitsOfThePidThatAsks)
{
    collect(0, 40);
    collect(0, 1);
    EXPECT_FALSE(budget.make_room(4 * first, PIDs[0]));
    EXPECT_EQ(PIDs[0].completed->size, 40 * 184U);
}

TEST_F(Budget, TakesTheUnitOfAPidThatStaysSilent)
{
    collect(1, 40);
    collect(2, 40);
    ask_in_vain();
    EXPECT_EQ(PIDs[1].collecting->size, 40 * 184U) << "it had packets before";
    collect(2, 1, false);
    ask_in_vain();
    EXPECT_EQ(PIDs[1].collecting->size, 0U);
    EXPECT_EQ(PIDs[1].collecting->capacity, first);
    EXPECT_EQ(PIDs[1].started, 0);
    EXPECT_EQ(PIDs[2].collecting->size, 41 * 184U) << "it had a packet meanwhile";
}

TEST_F(Budget, GoesFromOneUnitToTheNext)
{
    PIDMemory larger(PIDs.data(), PIDs.size(), 2 * 3 * first + 6 * first);
    for (unsigned unit = 0; unit < 100; ++unit)
        collect(unit % 3, 40);
    for (const auto& PID : PIDs)
        EXPECT_EQ(PID.collecting->size, 40 * 184U);
}

TEST_F(Budget, GetsBackTheBuffersOfPidsThatWereSilentSinceTheSweepBefore)
{
    collect(1, 40);
    collect(2, 1);
    memory.sweep([](unsigned short) { return false; });
    EXPECT_EQ(PIDs[1].collecting->size, 40 * 184U) << "it had packets before";
    collect(2, 1, false);
    memory.sweep([](unsigned short) { return false; });
    EXPECT_EQ(PIDs[1].collecting, nullptr);
    EXPECT_EQ(PIDs[1].completed, nullptr);
    EXPECT_EQ(PIDs[1].started, 0);
    EXPECT_EQ(PIDs[2].collecting->size, 2 * 184U) << "it had a packet meanwhile";
    EXPECT_EQ(budget.left(), 4 * first);
    collect(1, 2, false);
    EXPECT_EQ(PIDs[1].collecting->size, 0U) << "collecting begins with the next unit";
    collect(1, 2);
    EXPECT_EQ(PIDs[1].collecting->size, 2 * 184U);
}

TEST_F(Budget, GetsBackOnlyTheCompletedUnitsOfSilentPidsThatATableNames)
{
    collect(1, 40);
    collect(1, 30);
    for (int count = 0; count < 2; ++count)
        memory.sweep([](unsigned short PID) { return PID == 1; });
    EXPECT_EQ(PIDs[1].collecting->size, 30 * 184U);
    EXPECT_EQ(PIDs[1].completed->capacity, first);
    collect(1, 10, false);
    EXPECT_EQ(PIDs[1].collecting->size, 40 * 184U);
}

TEST_F(Budget, TellsSilenceBetweenSweepsFromSilenceBetweenRefusals)
{
    collect(1, 40);
    memory.sweep([](unsigned short) { return false; });
    ask_in_vain();
    EXPECT_EQ(PIDs[1].collecting->size, 40 * 184U) << "no refusals before the packets";
    collect(1, 1, false);
    ask_in_vain();
    memory.sweep([](unsigned short) { return false; });
    EXPECT_EQ(PIDs[1].collecting->size, 41 * 184U) << "no sweep before the last packet";
    memory.sweep([](unsigned short) { return false; });
    EXPECT_EQ(PIDs[1].collecting, nullptr);
}

TEST_F(Budget, LeavesTheUnitsOfSilentPidsThatHoldNothingOfIt)
{
    collect(1, 5);
    ask_in_vain();
    ask_in_vain();
    EXPECT_EQ(PIDs[1].collecting->size, 5 * 184U);
    EXPECT_EQ(PIDs[1].started, 1);
}
} // namespace PayloadUnitBudget_test
