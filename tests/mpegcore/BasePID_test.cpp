// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/BasePID.h"
#include "mpegcore/parser/PayloadUnitBudget.h"
#include "support/Stream.h"

#include <gmock/gmock.h>

#include <limits>
#include <numeric>

namespace BasePID_test
{
using mpegcore::CBasePID;
using mpegcore::transport_packet;
using zqtest::Bytes;

transport_packet packet(Bytes& payload, bool starts, unsigned adaptation_field_control = 1, std::uint16_t PID = 0x100)
{
    transport_packet p{};
    p.PID = PID;
    p.payload_unit_start_indicator = starts ? 1 : 0;
    p.adaptation_field_control = static_cast<std::uint8_t>(adaptation_field_control);
    p.continuity_counter = 7;
    p.payload = payload.data();
    p.payload_size = payload.size();
    return p;
}

transport_packet PCR(std::uint64_t base, std::uint16_t extension = 0)
{
    transport_packet p{};
    p.adaptation_field.program_clock_reference_base = base;
    p.adaptation_field.program_clock_reference_extension = extension;
    return p;
}

Bytes contents(const mpegcore::CDataAccumulator* unit) { return {unit->data, unit->data + unit->size}; }

class Pid : public testing::Test
{
protected:
    CBasePID pid;
    Bytes first = Bytes(184, 1), second = Bytes(100, 2), third = Bytes(184, 3);
};

TEST_F(Pid, BeginsWithNothing)
{
    EXPECT_EQ(pid.continuity_counter, 0xFF);
    EXPECT_EQ(pid.bytes, 0U);
    EXPECT_EQ(pid.last_pcr, 0U);
    EXPECT_EQ(pid.started, 0);
    EXPECT_EQ(pid.collecting, nullptr);
    EXPECT_EQ(pid.completed, nullptr);
}

TEST_F(Pid, HasTwoBuffersOf4095BytesFromItsFirstPacketOn)
{
    EXPECT_EQ(pid.putPacket(packet(first, false, 2)), nullptr);
    ASSERT_NE(pid.collecting, nullptr);
    ASSERT_NE(pid.completed, nullptr);
    EXPECT_EQ(pid.collecting->capacity, 4095U);
    EXPECT_EQ(pid.completed->capacity, 4095U);
}

TEST_F(Pid, CollectsNothingBeforeTheFirstStart)
{
    EXPECT_EQ(pid.putPacket(packet(first, false)), nullptr);
    EXPECT_EQ(pid.collecting->size, 0U);
    EXPECT_EQ(pid.started, 0);
    EXPECT_NE(pid.putPacket(packet(second, true)), nullptr);
    EXPECT_EQ(contents(pid.collecting), second);
}

TEST_F(Pid, GivesTheUnitWhenTheNextOneStarts)
{
    const auto* before = pid.putPacket(packet(first, true));
    ASSERT_NE(before, nullptr);
    EXPECT_EQ(before->size, 0U);
    EXPECT_EQ(pid.putPacket(packet(second, false, 3)), nullptr);
    const auto* unit = pid.putPacket(packet(third, true));
    ASSERT_NE(unit, nullptr);
    Bytes both = first;
    both.insert(both.end(), second.begin(), second.end());
    EXPECT_EQ(contents(unit), both);
    EXPECT_EQ(unit, pid.completed);
    EXPECT_EQ(contents(pid.collecting), third);
}

TEST_F(Pid, GivesAnEmptyUnitForAStartAfterAStartWithoutPayload)
{
    Bytes none;
    pid.putPacket(packet(none, true));
    const auto* unit = pid.putPacket(packet(first, true));
    ASSERT_NE(unit, nullptr);
    EXPECT_EQ(unit->size, 0U);
}

TEST_F(Pid, LeavesTheUnitAloneForPacketsWithoutPayloadButCountsThem)
{
    pid.putPacket(packet(first, true));
    EXPECT_EQ(pid.putPacket(packet(third, true, 2)), nullptr);
    EXPECT_EQ(pid.putPacket(packet(third, true, 0)), nullptr);
    EXPECT_EQ(contents(pid.collecting), first);
    EXPECT_EQ(pid.bytes, 3 * 184U);
}

TEST_F(Pid, OnlyCountsNullPackets)
{
    EXPECT_EQ(pid.putPacket(packet(first, true, 1, 0x1FFF)), nullptr);
    EXPECT_EQ(pid.bytes, 184U);
    EXPECT_EQ(pid.continuity_counter, 0xFF);
    EXPECT_EQ(pid.collecting, nullptr);
}

TEST_F(Pid, NotesTheContinuityCounterWithoutComparing)
{
    pid.putPacket(packet(first, true));
    EXPECT_EQ(pid.continuity_counter, 7);
    pid.putPacket(packet(second, false));
    EXPECT_EQ(pid.collecting->size, 284U);
}

TEST_F(Pid, ClearedKeepsItsBuffersAndItsBitRate)
{
    pid.putPacket(packet(first, true));
    pid.putPCR(PCR(90000));
    pid.bitrate = 5;
    const auto* buffer = pid.collecting;
    pid.clear();
    EXPECT_EQ(pid.continuity_counter, 0xFF);
    EXPECT_EQ(pid.bytes, 0U);
    EXPECT_EQ(pid.last_pcr, 0U);
    EXPECT_EQ(pid.started, 0);
    EXPECT_EQ(pid.collecting, buffer);
    EXPECT_EQ(pid.collecting->size, 0U);
    EXPECT_EQ(pid.bitrate, 5);
    EXPECT_EQ(pid.putPacket(packet(second, false)), nullptr);
    EXPECT_EQ(pid.collecting->size, 0U);
}

TEST_F(Pid, MeasuresTenMegabitsFromTwoPcrsASecondApart)
{
    pid.putPCR(PCR(90000));
    pid.bytes = 1250000;
    EXPECT_EQ(pid.putPCR(PCR(180000)), 10000000);
    EXPECT_EQ(pid.bitrate, 10000000);
    EXPECT_EQ(pid.bytes, 0U);
    EXPECT_EQ(pid.last_pcr, 20000000U);
}

TEST_F(Pid, TakesTheExtensionIntoAccountAndTruncates)
{
    pid.putPCR(PCR(0, 0));
    pid.bytes = 1;
    // 1 tick of 300 and 5 of 27 MHz are 305 ticks, 112 units of 100 ns.
    EXPECT_EQ(pid.putPCR(PCR(1, 5)), 8 * 10000000 / 112);
    EXPECT_EQ(pid.last_pcr, 112U);
}

TEST_F(Pid, TakesTheFirstPcrAsTheTimeSinceZero)
{
    pid.bytes = 100;
    EXPECT_EQ(pid.putPCR(PCR(90000)), 800);
}

TEST_F(Pid, HasTheLeastBitRateForARepeatedPcr)
{
    pid.putPCR(PCR(90000));
    pid.bytes = 100;
    EXPECT_EQ(pid.putPCR(PCR(90000)), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(pid.putPCR(PCR(90000)), std::numeric_limits<std::int64_t>::min()) << "without bytes, too";
}

TEST_F(Pid, HasABitRateOfZeroForAPcrThatGoesBack)
{
    pid.putPCR(PCR(90000));
    pid.bytes = 1000;
    EXPECT_EQ(pid.putPCR(PCR(89999)), 0);
}

TEST_F(Pid, SurvivesAByteCountBeyondAllBitRates)
{
    pid.bytes = std::numeric_limits<std::uint64_t>::max();
    EXPECT_EQ(pid.putPCR(PCR(0, 3)), std::numeric_limits<std::int64_t>::min());
}

TEST_F(Pid, CollectsALongUnitWithoutALossAndDoublesItsBuffer)
{
    Bytes sent;
    std::size_t growths = 0, capacity = 0;
    for (unsigned count = 0; count < 20000; ++count) {
        std::iota(first.begin(), first.end(), static_cast<unsigned char>(count));
        sent.insert(sent.end(), first.begin(), first.end());
        pid.putPacket(packet(first, count == 0));
        if (pid.collecting->capacity != capacity) {
            capacity = pid.collecting->capacity;
            ++growths;
        }
    }
    EXPECT_EQ(contents(pid.collecting), sent);
    EXPECT_LE(growths, 12U);
}

TEST_F(Pid, DiscardsAUnitBeyondTheLimitAndBeginsAfreshWithTheNextStart)
{
    const std::size_t whole = CBasePID::max_unit_size / 184;
    for (std::size_t count = 0; count < whole; ++count)
        pid.putPacket(packet(first, count == 0));
    EXPECT_EQ(pid.collecting->size, whole * 184);
    EXPECT_LE(pid.collecting->capacity, CBasePID::max_unit_size);
    pid.putPacket(packet(first, false));
    EXPECT_EQ(pid.collecting->size, 0U);
    EXPECT_EQ(pid.collecting->capacity, 4095U);
    pid.putPacket(packet(first, false));
    EXPECT_EQ(pid.collecting->size, 0U) << "the rest of the unit is dropped";
    const auto* unit = pid.putPacket(packet(second, true));
    ASSERT_NE(unit, nullptr);
    EXPECT_EQ(unit->size, 0U);
    EXPECT_EQ(contents(pid.collecting), second);
}

/// Packets of a unit that does not end, `sweeps` times.
void go_on(CBasePID& pid, Bytes& payload, unsigned sweeps)
{
    for (unsigned sweep = 0; sweep < sweeps; ++sweep) {
        pid.putPacket(packet(payload, false));
        pid.release_if_silent(false);
    }
}

TEST_F(Pid, DiscardsAUnitOfMoreThan64KilobytesThatDoesNotEndForLong)
{
    for (unsigned count = 0; count < 360; ++count)
        pid.putPacket(packet(first, count == 0));
    go_on(pid, first, CBasePID::most_sweeps - 1);
    EXPECT_EQ(pid.collecting->size, (360U + CBasePID::most_sweeps - 1) * 184);
    go_on(pid, first, 1);
    EXPECT_EQ(pid.collecting->size, 0U);
    EXPECT_EQ(pid.collecting->capacity, 4095U);
    go_on(pid, first, 100);
    EXPECT_EQ(pid.collecting->size, 0U) << "the rest of the unit is dropped";
    EXPECT_EQ(pid.putPacket(packet(first, true))->size, 0U);
    EXPECT_EQ(pid.collecting->size, 184U);
}

TEST_F(Pid, KeepsLongUnitsThatEndAndShortOnesThatDoNotForAsLongAsTheyLast)
{
    for (unsigned unit = 0; unit < 5; ++unit) {
        for (unsigned count = 0; count < 360; ++count)
            pid.putPacket(packet(first, count == 0));
        go_on(pid, first, CBasePID::most_sweeps - 1);
    }
    EXPECT_EQ(pid.collecting->size, (360U + CBasePID::most_sweeps - 1) * 184);
    pid.putPacket(packet(first, true));
    go_on(pid, first, 355);
    EXPECT_EQ(pid.collecting->size, 356U * 184);
}

/// Begins a unit of more than a megabyte.
void begin_long_unit(CBasePID& pid, Bytes& payload)
{
    for (unsigned count = 0; count < 5700; ++count)
        pid.putPacket(packet(payload, count == 0));
}

TEST_F(Pid, DiscardsAUnitOfMoreThanAMegabyteThatOutlastsTwoSweeps)
{
    begin_long_unit(pid, first);
    go_on(pid, first, 1);
    EXPECT_EQ(pid.collecting->size, 5701U * 184);
    go_on(pid, first, 1);
    EXPECT_EQ(pid.collecting->size, 0U);
    EXPECT_EQ(pid.collecting->capacity, 4095U);
}

TEST_F(Pid, KeepsUnitsOfMoreThanAMegabyteThatEndInBetween)
{
    for (unsigned unit = 0; unit < 3; ++unit) {
        begin_long_unit(pid, first);
        go_on(pid, first, 1);
        EXPECT_EQ(pid.collecting->size, 5701U * 184);
    }
}

TEST_F(Pid, GivesBackTheUnitInFrontOfOneThatItDiscards)
{
    begin_long_unit(pid, first);
    begin_long_unit(pid, first);
    EXPECT_GT(pid.completed->capacity, 4095U);
    go_on(pid, first, 2);
    EXPECT_EQ(pid.collecting->capacity, 4095U);
    EXPECT_EQ(pid.completed->capacity, 4095U);
}

TEST_F(Pid, TakesAPlainPacketAsItTakesAnyOther)
{
    Bytes plain = {0x47, 0x01, 0x00, 0x1D};
    plain.resize(188, 0x5A);
    Bytes payload(plain.begin() + 4, plain.end());
    CBasePID other;
    for (const bool begun : {false, true}) {
        pid.putPacket(packet(first, begun));
        other.putPacket(packet(first, begun));
        for (unsigned count = 0; count < 50; ++count) { // more than fit the first buffer
            pid.putPlainPacket(plain.data());
            auto record = packet(payload, false);
            record.continuity_counter = 13;
            EXPECT_EQ(other.putPacket(record), nullptr);
        }
        EXPECT_EQ(contents(pid.collecting), contents(other.collecting));
        EXPECT_EQ(pid.collecting->size, begun ? 51U * 184 : 0U);
        EXPECT_EQ(pid.bytes, other.bytes);
        EXPECT_EQ(pid.continuity_counter, 13);
        EXPECT_EQ(pid.had_packet, 1);
    }
}

TEST_F(Pid, DiscardsAUnitBeyondTheLimitAlsoWhereAPlainPacketIsTheOneTooMany)
{
    Bytes plain = {0x47, 0x01, 0x00, 0x10};
    plain.resize(188);
    pid.putPacket(packet(first, true));
    for (std::size_t count = 1; count < CBasePID::max_unit_size / 184; ++count)
        pid.putPlainPacket(plain.data());
    EXPECT_EQ(pid.collecting->size, CBasePID::max_unit_size / 184 * 184);
    pid.putPlainPacket(plain.data());
    EXPECT_EQ(pid.collecting->size, 0U);
    EXPECT_EQ(pid.started, 0);
    pid.putPlainPacket(plain.data());
    EXPECT_EQ(pid.collecting->size, 0U);
    EXPECT_EQ(pid.bytes, (CBasePID::max_unit_size / 184 + 2) * 184) << "and counts on";
}

TEST_F(Pid, DiscardsAUnitForWhichTheBudgetHasNothingLeft)
{
    mpegcore::PayloadUnitBudget budget(9000);
    pid.set_budget(&budget);
    for (unsigned count = 0; count < 44; ++count)
        pid.putPacket(packet(first, count == 0));
    EXPECT_EQ(pid.collecting->size, 44 * 184U) << "8190 bytes fit";
    EXPECT_EQ(budget.left(), 9000U - 4095);
    pid.putPacket(packet(first, false));
    EXPECT_EQ(pid.collecting->size, 0U);
    EXPECT_EQ(budget.left(), 9000U) << "and were given back";
    pid.putPacket(packet(second, true));
    EXPECT_EQ(contents(pid.collecting), second);
}
} // namespace BasePID_test
