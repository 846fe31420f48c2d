// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/EventInfo.h"
#include "mpegcore/text/DVBTime.h"

#include <gtest/gtest.h>

#include <array>
#include <ctime>

namespace DVBTime_test
{
using namespace mpegcore;
using namespace std::chrono_literals;

/// The ISO 8601 form, "-" when there is none.
std::string utc(std::uint64_t MJD_and_BCD)
{
    const auto time = utc_of(MJD_and_BCD);
    return time ? to_iso_8601(*time) : "-";
}

std::string duration(std::uint32_t BCD)
{
    const auto found = duration_of(BCD);
    return found ? to_iso_8601(*found) : "-";
}

void add_region(local_time_offset_descriptor& descriptor, unsigned region, bool polarity, std::uint16_t offset,
                std::uint16_t next)
{
    const auto entry = std::make_shared<local_time_offset_descriptor::local_time_offset_entry>();
    entry->country_code = {'P', 'R', 'T'};
    entry->country_region_id = static_cast<std::uint8_t>(region);
    entry->local_time_offset_polarity = polarity ? 1 : 0;
    entry->local_time_offset = offset;
    entry->time_of_change = 0xE911010000; // 2022-03-27T01:00:00Z
    entry->next_time_offset = next;
    descriptor.entries.push_back(entry);
}

TEST(DVBTime, IsADateAndATimeOfDay)
{
    EXPECT_EQ(utc(0xC079124500), "1993-10-13T12:45:00Z") << "the example of EN 300 468, Annex C";
    EXPECT_EQ(utc(0x9E8B000000), "1970-01-01T00:00:00Z");
    EXPECT_EQ(utc(0xB0A2235959), "1982-09-06T23:59:59Z");
    EXPECT_EQ(utc(0xF49D000000), "2030-04-30T00:00:00Z");
    EXPECT_EQ(utc(0x3AE7000000), "1900-03-01T00:00:00Z");
    EXPECT_EQ(utc(0x0000000000), "1858-11-17T00:00:00Z");
    EXPECT_EQ(utc(0xFFFF235959), "2038-04-22T23:59:59Z");
}

TEST(DVBTime, OfAllOnesIsUndefined)
{
    EXPECT_EQ(utc(0xFFFFFFFFFF), "-");
    EXPECT_EQ(duration(0xFFFFFF), "-");
}

TEST(DVBTime, WhoseDigitsAreNoTimeOfDayIsNone)
{
    for (const std::uint64_t time : {0x240000U, 0x006000U, 0x000060U, 0x0A0000U, 0x00A000U, 0x00000AU, 0xA00000U})
        EXPECT_EQ(utc(0xC079000000 | time), "-") << std::hex << time;
    EXPECT_EQ(utc(std::uint64_t{1} << 40), "-") << "more than 40 bits";
}

TEST(DVBTime, GoesTheWayThatTheEncoderCame)
{
    for (std::int64_t time = -2147000000; time < 2147000000; time += 86400 * 7 + 3601) {
        const auto found = utc_of(CEventInfo::time_t_to_start_time(time));
        ASSERT_TRUE(found) << time;
        ASSERT_EQ(found->time_since_epoch().count(), time);
    }
}

TEST(DVBTime, IsTheCalendarsOnEveryDay)
{
    for (std::int64_t MJD = 0; MJD <= 0xFFFF; ++MJD) {
        const std::int64_t time = (MJD - 40587) * 86400 + 43200;
        const auto instant = static_cast<std::time_t>(time);
        if (instant != time)
            continue; // beyond this system's time_t
        std::array<char, 32> expected{};
        std::tm utc{};
        ASSERT_NE(gmtime_r(&instant, &utc), nullptr);
        std::strftime(expected.data(), expected.size(), "%Y-%m-%dT12:00:00Z", &utc);
        ASSERT_EQ(to_iso_8601(UTCSeconds(std::chrono::seconds(time))), expected.data()) << MJD;
    }
}

TEST(DVBTime, OfADurationGoesToNinetyNineHours)
{
    EXPECT_EQ(duration(0x014500), "PT1H45M");
    EXPECT_EQ(duration(0x000000), "PT0S");
    EXPECT_EQ(duration(0x000007), "PT7S");
    EXPECT_EQ(duration(0x240000), "PT24H");
    EXPECT_EQ(duration(0x995959), "PT99H59M59S");
    for (const std::uint32_t BCD : {0x006000U, 0x000060U, 0x0A0000U, 0x00000FU, 0x1000000U})
        EXPECT_EQ(duration(BCD), "-") << std::hex << BCD;
    EXPECT_EQ(duration_of(CEventInfo::sec_to_duration(5400)), 90min);
}

TEST(DVBTime, IsShownInLocalTimeWhenAnOffsetIsGiven)
{
    const UTCSeconds time = *utc_of(0xC079224500);
    EXPECT_EQ(to_iso_8601(time, 2h), "1993-10-14T00:45:00+02:00");
    EXPECT_EQ(to_iso_8601(time, -(3h + 30min)), "1993-10-13T19:15:00-03:30");
    EXPECT_EQ(to_iso_8601(time, 0min), "1993-10-13T22:45:00+00:00");
}

TEST(DVBTime, OffsetIsNegativeWithItsPolarity)
{
    EXPECT_EQ(time_offset_of(0x0530, false), 330min);
    EXPECT_EQ(time_offset_of(0x0530, true), -330min);
    EXPECT_EQ(time_offset_of(0x0060, false), std::nullopt);
    EXPECT_EQ(time_offset_of(0x2400, false), std::nullopt);
    EXPECT_EQ(time_offset_of(0x0A00, false), std::nullopt);
}

TEST(DVBTime, OffsetIsThatOfTheRegionBeforeAndBehindTheChange)
{
    local_time_offset_descriptor descriptor;
    add_region(descriptor, 1, false, 0x0000, 0x0100);
    add_region(descriptor, 2, true, 0x0100, 0x0000);
    const UTCSeconds change = *utc_of(0xE911010000);
    EXPECT_EQ(local_time_offset(descriptor, "PRT", 1, change - 1s), 0min);
    EXPECT_EQ(local_time_offset(descriptor, "prt", 1, change), 60min);
    EXPECT_EQ(local_time_offset(descriptor, "PRT", 2, change - 1s), -60min);
    EXPECT_EQ(local_time_offset(descriptor, "PRT", 2, change), 0min);
    EXPECT_EQ(local_time_offset(descriptor, "PRT", 0, change), std::nullopt);
    EXPECT_EQ(local_time_offset(descriptor, "ESP", 1, change), std::nullopt);
    EXPECT_EQ(local_time_offset(descriptor, "PRTX", 1, change), std::nullopt);
}

TEST(DVBTime, OffsetStaysWhereTheChangeIsUndefined)
{
    local_time_offset_descriptor descriptor;
    add_region(descriptor, 0, false, 0x0200, 0x0300);
    descriptor.entries[0]->time_of_change = 0xFFFFFFFFFF;
    EXPECT_EQ(local_time_offset(descriptor, "PRT", 0, *utc_of(0xFFFF235959)), 120min);
    descriptor.entries.insert(descriptor.entries.begin(), nullptr);
    EXPECT_EQ(local_time_offset(descriptor, "PRT", 0, *utc_of(0)), 120min);
}
} // namespace DVBTime_test
