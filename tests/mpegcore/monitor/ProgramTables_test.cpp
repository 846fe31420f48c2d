// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/monitor/ProgramTables.h"

#include "support/MonitoredStream.h"

#include <gmock/gmock.h>

namespace ProgramTables_test
{
using mpegcore::MonitorLimits;
using zqtest::Bytes;
using zqtest::good_section;
using zqtest::PMT_PID;

constexpr std::uint64_t ms = MonitorLimits::ms, now = 1000 * MonitorLimits::second;

/// Tables that are handed in one by one.
struct Tables
{
    void put(unsigned PID, const Bytes& section)
    {
        programs.put(static_cast<std::uint16_t>(PID), section.data(), section.size(), now);
    }

    mpegcore::StreamContents contents;
    MonitorLimits limits;
    mpegcore::ProgramTables programs{contents, limits, nullptr};
};

TEST(ProgramTables, AreLookedAtAgainAtOnceWhileTheyAreShort)
{
    Tables tables;
    tables.put(0, zqtest::PAT_of({PMT_PID}));
    EXPECT_TRUE(tables.programs.needs_update(1000, now));
    tables.programs.update(1000, now);
    EXPECT_FALSE(tables.programs.needs_update(1000, now));
    tables.put(PMT_PID, zqtest::PMT_section_of(1, 0x101, {{0x1B, 0x101}}));
    EXPECT_TRUE(tables.programs.needs_update(1001, now));
}

TEST(ProgramTables, AreLookedAtTheMoreRarelyTheLongerTheyAre)
{
    Tables tables;
    tables.put(0, zqtest::PAT_of({PMT_PID}));
    constexpr unsigned sections = 80; // 327 360 bytes, all of which an update reads
    for (unsigned number = 0; number < sections; ++number)
        tables.put(0x11, good_section(0x42, 4080, 1, 0, number, sections - 1));
    tables.programs.update(1000, now);
    tables.put(PMT_PID, zqtest::PMT_section_of(1, 0x101, {{0x1B, 0x101}}));
    EXPECT_FALSE(tables.programs.needs_update(6000, now + 1000 * ms));
    EXPECT_TRUE(tables.programs.needs_update(6200, now));
    EXPECT_TRUE(tables.programs.needs_update(1000, now + 1100 * ms));
}

TEST(ProgramTables, HoldSoManyStreamsInAll)
{
    Tables tables;
    Bytes programs{0, 1, 0xC1, 0, 0};
    for (unsigned number = 1; number <= 6; ++number)
        programs.insert(programs.end(),
                        {0, static_cast<unsigned char>(number), 0xE1, static_cast<unsigned char>(number)});
    tables.put(0, zqtest::section_of(0x00, programs));
    for (unsigned number = 1; number <= 6; ++number) {
        std::vector<zqtest::ListedPID> streams;
        for (unsigned PID = 0; PID < 800; ++PID)
            streams.push_back({0x1B, 0x200 + PID});
        tables.put(0x100 + number, zqtest::PMT_section_of(number, 0x1FFF, streams));
    }
    EXPECT_FALSE(tables.programs.is_at_a_bound());
    tables.programs.update(1000, now);
    std::size_t streams = 0;
    for (const auto& service : tables.contents.services)
        streams += service.streams.size();
    EXPECT_EQ(streams, std::size_t{mpegcore::ProgramTables::most_streams});
    EXPECT_TRUE(tables.programs.is_at_a_bound());
}

TEST(ProgramTables, OfManyOtherStreamsStayKnownAndAreNoReasonToLookAgain)
{
    Tables tables;
    tables.put(0, zqtest::PAT_of({PMT_PID}));
    tables.programs.update(1000, now);
    for (unsigned round = 0; round < 3; ++round)
        for (unsigned stream = 100; stream < 200; ++stream) // 400 KB
            tables.put(0x11, good_section(0x46, 4080, stream));
    EXPECT_FALSE(tables.programs.needs_update(1'000'000, now));
    EXPECT_EQ(tables.contents.tables.size(), 101U);
    tables.put(0x11, good_section(0x46, 4079, 150));
    mpegcore::TableIdentity identity;
    identity.PID = 0x11;
    identity.table_id = 0x46;
    identity.table_id_extension = 150;
    EXPECT_EQ(tables.contents.tables.at(identity).changes, 1U);
}
} // namespace ProgramTables_test
