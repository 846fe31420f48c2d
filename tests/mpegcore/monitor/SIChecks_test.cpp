// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/MonitoredStream.h"

#include <gmock/gmock.h>

namespace SIChecks_test
{
using mpegcore::Check;
using mpegcore::CheckState;
using mpegcore::MonitorLimits;
using zqtest::Bytes;
using zqtest::good_section;
using zqtest::MonitoredStream;
using zqtest::Stream;

/// A table that has to come again, and what says so when it does not.
struct Repeated
{
    const char* part;
    unsigned limit; ///< ms
    const char* errors;
};

TEST(SITables, MayComeAsRarelyAsTheirLimitsAndNoMoreRarely)
{
    const std::vector<Repeated> tables{{"NIT", 10'000, "3.1.a: 1, 3.2: 1"},
                                       {"SDT", 2000, "3.2: 1, 3.5.a: 1"},
                                       {"EIT 1", 2000, "3.6.a: 1, 3.6.c: 1"},
                                       {"TDT", 30'000, "3.2: 1, 3.8: 1"}};
    for (const Repeated& table : tables) {
        MonitoredStream watched;
        watched.parts[table.part].interval = table.limit;
        watched.run(2 * table.limit + 20);
        EXPECT_EQ(watched.errors(), "") << table.part;
        watched.stop(table.part);
        watched.run(table.limit - 20);
        EXPECT_EQ(watched.errors(), "") << table.part;
        watched.run(200);
        EXPECT_EQ(watched.errors(), table.errors) << table.part;
    }
}

TEST(SITables, AreMissedWhenTheyNeverCame)
{
    MonitoredStream watched;
    for (const char* const part : {"NIT", "SDT", "EIT 0", "EIT 1", "TDT"})
        watched.stop(part);
    watched.run(2000);
    EXPECT_EQ(watched.errors(), "");
    watched.run(100);
    EXPECT_EQ(watched.errors(), "3.5.a: 1, 3.6.a: 2");
    watched.run(8000);
    EXPECT_EQ(watched.errors(), "3.1.a: 1, 3.5.a: 1, 3.6.a: 2");
    watched.run(20'000);
    EXPECT_EQ(watched.errors(), "3.1.a: 1, 3.5.a: 1, 3.6.a: 2, 3.8: 1");
}

TEST(SITables, AreWaitedForFromTheFirstOneOnWhereNoneHasToBe)
{
    MonitorLimits limits;
    limits.SI_is_expected = false;
    MonitoredStream watched(limits);
    for (const char* const part : {"NIT", "SDT", "EIT 0", "EIT 1", "TDT"})
        watched.stop(part);
    watched.run(60'000);
    EXPECT_EQ(watched.errors(), "");
    EXPECT_EQ(watched.state(Check::SDT_actual_error), CheckState::not_applicable);
    watched.stream.section(0x11, good_section(0x42, 3));
    watched.flush();
    watched.run(2200);
    EXPECT_EQ(watched.errors(), "3.2: 1, 3.5.a: 1");
}

TEST(SITables, AreForeignOnAnotherPID)
{
    struct Foreign
    {
        unsigned PID;
        std::vector<unsigned> allowed;
        Check check;
    };
    const std::vector<Foreign> PIDs{{0x10, {0x40, 0x41, 0x72}, Check::NIT_actual_error},
                                    {0x11, {0x42, 0x46, 0x4A, 0x72}, Check::SDT_actual_error},
                                    {0x12, {0x4E, 0x4F, 0x50, 0x6F, 0x72}, Check::EIT_actual_error},
                                    {0x13, {0x71, 0x72}, Check::RST_error},
                                    {0x14, {0x70, 0x72, 0x73}, Check::TDT_error}};
    for (const Foreign& foreign : PIDs) {
        MonitoredStream watched;
        watched.run(400);
        std::uint64_t wrong = 0;
        for (unsigned table_id = 0; table_id < 0xFF; ++table_id) {
            const bool is_allowed = std::count(foreign.allowed.begin(), foreign.allowed.end(), table_id) != 0 ||
                                    (foreign.PID == 0x12 && table_id >= 0x4E && table_id <= 0x6F);
            wrong += is_allowed ? 0 : 1;
            // An extension of its own, so that nothing is too close to another one.
            watched.stream.section(foreign.PID, good_section(table_id, 6, 0x7777));
            watched.flush();
            EXPECT_EQ(watched.count(foreign.check), wrong) << foreign.PID << " " << table_id;
        }
    }
}

TEST(SectionGap, IsAtLeast25MillisecondsForSectionsWithTheSameNumbers)
{
    const std::vector<std::pair<Check, std::pair<unsigned, Bytes>>> sections{
        {Check::NIT_actual_error, {0x10, good_section(0x40, 4, 9)}},
        {Check::SDT_actual_error, {0x11, good_section(0x42, 3, 9)}},
        {Check::EIT_actual_error, {0x12, good_section(0x4E, 6, 9)}},
        {Check::RST_error, {0x13, {0x71, 0x30, 0}}},
        {Check::TDT_error, {0x14, {0x70, 0x70, 0x05, 0xC0, 0x79, 0x12, 0x45, 0x00}}}};
    for (const auto& [check, section] : sections) {
        MonitoredStream watched;
        watched.stop("EIT 0"); // else its p/f tables are not whole
        watched.run(100);
        watched.stream.section(section.first, section.second);
        watched.flush();
        watched.run(25);
        watched.stream.section(section.first, section.second);
        watched.flush();
        EXPECT_EQ(watched.count(check), 0U) << section.first;
        watched.run(24);
        watched.stream.section(section.first, section.second);
        watched.flush();
        EXPECT_EQ(watched.count(check), 1U) << section.first;
        EXPECT_EQ(watched.monitor.checks()[check].detail(), "24000 us behind the section before");
    }
}

TEST(SectionGap, DoesNotCountBetweenOtherSections)
{
    MonitoredStream watched;
    watched.run(100);
    watched.stream.section(0x12, good_section(0x4E, 6, 9, 0, 0, 1))
        .section(0x12, good_section(0x4E, 6, 9, 0, 1, 1))
        .section(0x12, good_section(0x4E, 6, 10, 0, 0, 1))
        .section(0x12, good_section(0x4E, 6, 10, 0, 1, 1))
        .section(0x12, good_section(0x50, 6, 10))
        .section(0x12, good_section(0x50, 6, 10));
    watched.flush();
    EXPECT_EQ(watched.errors(), "");
}

TEST(SectionGap, IsNotHeldAgainstSectionsOfAVersionToCome)
{
    MonitoredStream watched;
    watched.run(100);
    watched.stream.section(0x11, good_section(0x42, 3, 9)).section(0x11, good_section(0x42, 3, 9, 1, 0, 0, false));
    watched.flush();
    EXPECT_EQ(watched.errors(), "");
}

TEST(OtherTables, AreMissedSectionBySectionOnceTheyCame)
{
    for (const unsigned table_id : {0x41U, 0x46U}) {
        const Check check = table_id == 0x41 ? Check::NIT_other_error : Check::SDT_other_error;
        const unsigned PID = table_id == 0x41 ? 0x10 : 0x11;
        MonitoredStream watched;
        watched.run(200);
        EXPECT_EQ(watched.state(check), CheckState::not_applicable);
        for (const unsigned number : {0U, 1U})
            watched.parts["section " + std::to_string(number)] = {
                [=](Stream& s) { s.section(PID, good_section(table_id, 4, 77, 0, number, 1)); }, 10'000, 200};
        watched.run(20'050);
        EXPECT_EQ(watched.errors(), "");
        watched.stop("section 1");
        watched.run(10'100);
        EXPECT_EQ(watched.count(check), 1U);
        char expected[80];
        std::snprintf(expected, sizeof expected, "section 1 of table_id 0x%02X absent for", table_id);
        EXPECT_THAT(watched.monitor.checks()[check].detail(), testing::StartsWith(expected));
        EXPECT_EQ(watched.state(check), CheckState::failing);
        // In the end it is taken to be gone for good.
        watched.run(60'000);
        EXPECT_EQ(watched.count(check), 1U);
        EXPECT_EQ(watched.state(check), CheckState::ok);
    }
}

TEST(EITOther, IsMissedBySectionNumberOnceItCame)
{
    MonitoredStream watched;
    for (const unsigned number : {0U, 1U})
        watched.parts["other " + std::to_string(number)] = {
            [=](Stream& s) { s.section(0x12, good_section(0x4F, 6, 77, 0, number, 1)); }, 10'000, 200};
    watched.run(30'250);
    EXPECT_EQ(watched.errors(), "");
    for (const unsigned number : {0U, 1U})
        watched.stop("other " + std::to_string(number));
    watched.run(10'100);
    EXPECT_EQ(watched.errors(), "3.2: 1, 3.6.b: 2");
}

TEST(EITPresentFollowing, IsIncompleteWhenOneSectionDoesNotCome)
{
    MonitoredStream watched;
    watched.parts["one"] = {[](Stream& s) { s.section(0x12, good_section(0x4E, 6, 55, 0, 0, 1)); }, 1000, 1000};
    watched.run(3000);
    EXPECT_EQ(watched.errors(), "");
    watched.run(100);
    EXPECT_EQ(watched.errors(), "3.6.c: 1");
    EXPECT_EQ(watched.monitor.checks()[Check::EIT_PF_error].detail(), "section 1 missing for service 55");
    watched.run(5000);
    EXPECT_EQ(watched.errors(), "3.6.c: 1");
    EXPECT_EQ(watched.state(Check::EIT_PF_error), CheckState::failing);
    watched.stop("one");
    watched.run(5000);
    EXPECT_EQ(watched.state(Check::EIT_PF_error), CheckState::ok);
}

TEST(EITPresentFollowing, OfAnotherStreamHas10Seconds)
{
    MonitoredStream watched;
    watched.parts["one"] = {[](Stream& s) { s.section(0x12, good_section(0x4F, 6, 55, 0, 1, 1)); }, 2000, 0};
    watched.run(10'000);
    EXPECT_EQ(watched.errors(), "");
    watched.run(100);
    EXPECT_EQ(watched.errors(), "3.6.c: 1");
}

TEST(SIRepetition, HoldsEachTableAgainstItsLimitOnceItCame)
{
    const std::vector<std::tuple<unsigned, unsigned, unsigned>> tables{
        {0x11, 0x4A, 10'000}, {0x12, 0x50, 10'000}, {0x12, 0x51, 10'000}, {0x12, 0x52, 30'000},
        {0x12, 0x5F, 30'000}, {0x12, 0x60, 10'000}, {0x12, 0x62, 30'000}, {0x14, 0x73, 30'000}};
    for (const auto& [PID, table_id, limit] : tables) {
        MonitoredStream watched;
        const Bytes section = good_section(table_id, 6);
        watched.parts["table"] = {[&, PID = PID](Stream& s) { s.section(PID, section); }, limit, 0};
        watched.run(limit + 10);
        watched.stop("table");
        watched.run(limit - 10);
        EXPECT_EQ(watched.errors(), "") << table_id;
        watched.run(100);
        EXPECT_EQ(watched.errors(), "3.2: 1") << table_id;
        EXPECT_EQ(watched.monitor.checks()[Check::SI_repetition_error].PID, PID);
    }
}

TEST(SILimits, OfZeroTurnTheirChecksOff)
{
    MonitorLimits limits;
    for (const auto& limit : mpegcore::MonitorTimeLimits)
        limits.*limit.time = 0;
    MonitoredStream watched(limits);
    watched.run(3000);
    for (auto& [name, part] : watched.parts)
        if (name != "null")
            part.interval = 0;
    watched.run(60'000).pause(60'000).run(100);
    EXPECT_EQ(watched.errors(), "");
}

TEST(SILimits, CanBeChangedWhileTheStreamIsWatched)
{
    MonitoredStream watched;
    watched.run(3000);
    MonitorLimits limits;
    limits.SDT_actual = 400 * MonitoredStream::ms;
    watched.monitor.set_limits(limits);
    watched.run(300);
    EXPECT_EQ(watched.errors(), "3.2: 1, 3.5.a: 1");
}

TEST(CheckNames, AreThoseOfTheStandardAndEachStandsOnce)
{
    std::map<std::string_view, int> numbers, names;
    for (const auto& name : mpegcore::TR101290_checks) {
        ++numbers[name.number];
        ++names[name.name];
    }
    EXPECT_EQ(numbers.size(), mpegcore::TR101290_checks.size());
    EXPECT_EQ(names.size(), mpegcore::TR101290_checks.size());
}
TEST(EITPresentFollowing, IsNotIncompleteWhenItIsSlowAsAWhole)
{
    MonitoredStream watched;
    for (const unsigned number : {0U, 1U})
        watched.parts["slow " + std::to_string(number)] = {
            [=](Stream& s) { s.section(0x12, good_section(0x4E, 6, 55, 0, number, 1)); }, 2500, 200 + 300 * number};
    watched.run(20'000);
    EXPECT_EQ(watched.count(Check::EIT_PF_error), 0U);
}

TEST(SITables, ThatNobodyHasToSendAreForgottenBehindSixLimits)
{
    MonitoredStream watched;
    watched.parts["BAT"] = {[](Stream& s) { s.section(0x11, good_section(0x4A, 4)); }, 5000, 200};
    watched.parts["other"] = {[](Stream& s) { s.section(0x12, good_section(0x4F, 6, 77, 0, 0, 1)); }, 5000, 300};
    watched.run(10'000);
    watched.stop("BAT");
    watched.stop("other");
    watched.run(50'000);
    EXPECT_EQ(watched.state(Check::SI_repetition_error), CheckState::failing);
    EXPECT_EQ(watched.state(Check::EIT_other_error), CheckState::failing);
    watched.run(10'000);
    EXPECT_EQ(watched.state(Check::SI_repetition_error), CheckState::ok);
    EXPECT_EQ(watched.state(Check::EIT_other_error), CheckState::ok);
}

TEST(SITables, ThatHaveToBeSentAreMissedForGood)
{
    MonitoredStream watched;
    watched.run(3000);
    watched.stop("SDT");
    watched.run(60'000);
    EXPECT_EQ(watched.state(Check::SDT_actual_error), CheckState::failing);
    EXPECT_EQ(watched.state(Check::SI_repetition_error), CheckState::failing);
}
} // namespace SIChecks_test
