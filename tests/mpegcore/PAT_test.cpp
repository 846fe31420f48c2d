// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/Tables.h"

#include <gmock/gmock.h>

namespace PAT_test
{
using mpegcore::CBaseMpegProgram;
using mpegcore::CPAT;
using zqtest::Bytes;
using zqtest::Roomy;
using zqtest::operator+;
using zqtest::section_of;

// transport_stream_id 0x1234, reserved 3, version 10, current, section 1 of 2.
const Bytes fields{0x12, 0x34, 0xD5, 0x01, 0x02};

TEST(PAT, ReadsItsFieldsAndPrograms)
{
    Roomy<CPAT> pat;
    ASSERT_TRUE(zqtest::read(pat, section_of(0x00, fields + Bytes{0x00, 0x01, 0xE1, 0x00, 0x00, 0x02, 0xBF, 0xFE})));
    EXPECT_EQ(pat.transport_stream_id, 0x1234);
    EXPECT_EQ(pat.reserved, 3);
    EXPECT_EQ(pat.version_number, 10);
    EXPECT_EQ(pat.current_next_indicator, 1);
    EXPECT_EQ(pat.section_number, 1);
    EXPECT_EQ(pat.last_section_number, 2);
    ASSERT_EQ(pat.programs.size(), 2U);
    EXPECT_EQ(pat.programs[0x0100].program_number, 1);
    EXPECT_EQ(pat.programs[0x0100].reserved, 7);
    EXPECT_EQ(pat.programs[0x0100].PID, 0x0100);
    EXPECT_EQ(pat.programs[0x1FFE].program_number, 2);
    EXPECT_EQ(pat.programs[0x1FFE].reserved, 5);
}

TEST(PAT, WithoutProgramsReadsAndLeavesItsCrcAtZero)
{
    Roomy<CPAT> pat;
    pat.CRC_32 = 1;
    ASSERT_TRUE(zqtest::read(pat, section_of(0x00, fields)));
    EXPECT_EQ(pat.section_length, 9);
    EXPECT_TRUE(pat.programs.empty());
    EXPECT_EQ(pat.CRC_32, 0U);
    EXPECT_EQ(pat.transport_stream_id, 0x1234);
}

TEST(PAT, KeepsTheCrcOfASectionWithPrograms)
{
    Roomy<CPAT> pat;
    const Bytes section = section_of(0x00, fields + Bytes{0x00, 0x01, 0xE1, 0x00});
    ASSERT_TRUE(zqtest::read(pat, section));
    EXPECT_EQ(pat.CRC_32, mpegcore::crc32_mpeg2(section.data(), section.size() - 4));
}

TEST(PAT, TooShortForItsFieldsHasThemAllZero)
{
    Roomy<CPAT> pat;
    fill(pat);
    pat.Clear();
    ASSERT_TRUE(zqtest::read(pat, section_of(0x00, {})));
    EXPECT_EQ(pat.transport_stream_id, 0);
    EXPECT_EQ(pat.version_number, 0);
    EXPECT_TRUE(pat.programs.empty());
}

TEST(PAT, KeepsTheSecondOfTwoEntriesWithOnePid)
{
    Roomy<CPAT> pat;
    ASSERT_TRUE(zqtest::read(pat, section_of(0x00, fields + Bytes{0x00, 0x01, 0xE1, 0x00, 0x00, 0x02, 0x01, 0x00})));
    ASSERT_EQ(pat.programs.size(), 1U);
    EXPECT_EQ(pat.programs[0x0100].program_number, 2);
    EXPECT_EQ(pat.programs[0x0100].reserved, 0);
}

TEST(PAT, StoresTheNetworkPidLikeAnyOther)
{
    Roomy<CPAT> pat;
    ASSERT_TRUE(zqtest::read(pat, section_of(0x00, fields + Bytes{0x00, 0x00, 0xE0, 0x1F})));
    ASSERT_EQ(pat.programs.count(0x001F), 1U);
    EXPECT_EQ(pat.programs[0x001F].program_number, 0);
}

TEST(PAT, IgnoresAPieceOfAnEntryAtItsEnd)
{
    Roomy<CPAT> pat;
    ASSERT_TRUE(zqtest::read(pat, section_of(0x00, fields + Bytes{0x00, 0x01, 0xE1, 0x00, 0x00, 0x02, 0xE2})));
    EXPECT_EQ(pat.programs.size(), 1U);
}

TEST(PAT, DoesNotCheckItsTableId)
{
    Roomy<CPAT> pat;
    EXPECT_TRUE(zqtest::read(pat, section_of(0x42, fields)));
}

TEST(PAT, AddsToTheProgramsItHas)
{
    Roomy<CPAT> pat;
    ASSERT_TRUE(zqtest::read(pat, section_of(0x00, fields + Bytes{0x00, 0x01, 0xE1, 0x00})));
    pat.programs[0x0100].SetValid(0);
    ASSERT_TRUE(zqtest::read(pat, section_of(0x00, fields + Bytes{0x00, 0x02, 0xE1, 0x00, 0x00, 0x03, 0xE2, 0x00})));
    EXPECT_EQ(pat.programs.size(), 2U);
    EXPECT_EQ(pat.programs[0x0100].program_number, 2);
    EXPECT_EQ(pat.programs[0x0100].IsValid(), 0) << "reading leaves the mark alone";
    EXPECT_EQ(pat.programs[0x0200].IsValid(), 1);
}

TEST(PAT, OfTwoProgramsRendersTwentyBytesWithACrcOfZero)
{
    Roomy<CPAT> pat;
    for (const std::uint16_t PID : {std::uint16_t{0x0200}, std::uint16_t{0x0100}}) {
        pat.programs[PID].PID = PID;
        pat.programs[PID].program_number = PID;
    }
    const Bytes bytes = zqtest::rendered(pat);
    ASSERT_EQ(bytes.size(), 20U);
    EXPECT_EQ(mpegcore::crc32_mpeg2_bytewise(bytes.data(), bytes.size()), 0U);
    EXPECT_EQ(Bytes(bytes.begin() + 8, bytes.begin() + 16), (Bytes{0x01, 0x00, 0x01, 0x00, 0x02, 0x00, 0x02, 0x00}));
}

TEST(PAT, CutsItsFieldsToTheirWidth)
{
    Roomy<CPAT> pat;
    pat.reserved = 0xFC;
    pat.version_number = 0xE0;
    pat.current_next_indicator = 0xFE;
    EXPECT_EQ(zqtest::rendered(pat)[5], 0);
}

TEST(PAT, DoesNotRenderMoreThanALengthFieldHolds)
{
    Roomy<CPAT> pat;
    for (unsigned PID = 0; PID < 1022; ++PID)
        pat.programs[static_cast<std::uint16_t>(PID)].PID = static_cast<std::uint16_t>(PID);
    EXPECT_FALSE(pat.RenderTable());
    EXPECT_EQ(pat.used, 0U);
    pat.programs.erase(pat.programs.begin());
    EXPECT_TRUE(pat.RenderTable());
}

TEST(PAT, KeepsTheProgramsOfTheTargetWhenCopied)
{
    Roomy<CPAT> source, target;
    fill(source);
    target.programs[0x0100].program_number = 0x7777;
    target.programs[0x0300].program_number = 0x3333;
    source.copyTo(&target);
    EXPECT_EQ(target.programs.size(), 4U);
    EXPECT_EQ(target.programs[0x0100].program_number, 0x7777);
    EXPECT_EQ(target.section_length, 9 + 4 * 4);
}

TEST(PAT, IsDifferentByItsFieldsAndTheNumberOfPrograms)
{
    Roomy<CPAT> a, b;
    fill(a);
    fill(b);
    b.reserved = 3;
    b.CBaseMpegTable::reserved = 3;
    b.CRC_32 = 7;
    b.programs[0x0100].program_number = 9;
    EXPECT_FALSE(a != b) << "reserved bits, CRC and entries are not compared";
    b.programs.erase(0x0100);
    EXPECT_TRUE(a != b);
}

TEST(PAT, IsDifferentByEachComparedField)
{
    const auto differs = [](auto change) {
        Roomy<CPAT> a, b;
        fill(a);
        fill(b);
        change(b);
        return a != b;
    };
    EXPECT_TRUE(differs([](CPAT& t) { t.table_id ^= 1; }));
    EXPECT_TRUE(differs([](CPAT& t) { t.section_syntax_indicator ^= 1; }));
    EXPECT_TRUE(differs([](CPAT& t) { t.private_indicator ^= 1; }));
    EXPECT_TRUE(differs([](CPAT& t) { t.section_length ^= 1; }));
    EXPECT_TRUE(differs([](CPAT& t) { t.transport_stream_id ^= 1; }));
    EXPECT_TRUE(differs([](CPAT& t) { t.version_number ^= 1; }));
    EXPECT_TRUE(differs([](CPAT& t) { t.current_next_indicator ^= 1; }));
    EXPECT_TRUE(differs([](CPAT& t) { t.section_number ^= 1; }));
    EXPECT_TRUE(differs([](CPAT& t) { t.last_section_number ^= 1; }));
}

TEST(Program, CopiesItsFieldsButNotItsMark)
{
    CBaseMpegProgram source, target;
    source.program_number = 1;
    source.reserved = 2;
    source.PID = 3;
    source.SetValid(0);
    source.copyTo(&target);
    EXPECT_EQ(target.program_number, 1);
    EXPECT_EQ(target.reserved, 2);
    EXPECT_EQ(target.PID, 3);
    EXPECT_EQ(target.IsValid(), 1);
}
} // namespace PAT_test
