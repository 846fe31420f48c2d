// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/BasePID.h"
#include "mpegcore/parser/PayloadUnitBudget.h"
#include "support/Stream.h"

#include <gtest/gtest.h>

#include <array>

using mpegcore::CBasePID;
using mpegcore::PayloadUnitBudget;
using zqtest::Bytes;

namespace
{
class Budget : public testing::Test
{
protected:
    static constexpr std::size_t first = CBasePID::first_capacity;

    Budget() { budget.share_among(PIDs.data(), PIDs.size()); }

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
    void lose_patience()
    {
        for (std::size_t count = 0; count < PayloadUnitBudget::patience; ++count)
            EXPECT_FALSE(budget.make_room(1U << 20, PIDs[0]));
    }

    Bytes payload = Bytes(184, 5);
    PayloadUnitBudget budget{4 * first};
    std::array<CBasePID, 3> PIDs;
};
} // namespace

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
    lose_patience();
    EXPECT_EQ(PIDs[1].collecting->size, 40 * 184U) << "it had packets before";
    collect(2, 1, false);
    lose_patience();
    EXPECT_EQ(PIDs[1].collecting->size, 0U);
    EXPECT_EQ(PIDs[1].collecting->capacity, first);
    EXPECT_EQ(PIDs[1].started, 0);
    EXPECT_EQ(PIDs[2].collecting->size, 41 * 184U) << "it had a packet meanwhile";
}

TEST_F(Budget, GoesFromOneUnitToTheNext)
{
    PayloadUnitBudget larger(6 * first);
    larger.share_among(PIDs.data(), PIDs.size());
    for (unsigned unit = 0; unit < 100; ++unit)
        collect(unit % 3, 40);
    for (const auto& PID : PIDs)
        EXPECT_EQ(PID.collecting->size, 40 * 184U);
}
