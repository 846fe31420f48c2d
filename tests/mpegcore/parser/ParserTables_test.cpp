// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/Multiplex.h"
#include "support/ParserJournal.h"
#include "support/RecordingParser.h"

#include <gmock/gmock.h>

namespace ParserTables_test
{
using testing::ElementsAre;
using testing::IsEmpty;
using zqtest::Bytes;
using zqtest::RecordingParser;
using zqtest::section_of;
using zqtest::Stream;
using zqtest::operator+;

class ParserTables : public zqtest::ParserTest
{};

template <class... Entries>
struct UnparsedSections
{
    /// One for each table that has a PID but no callback.
    static Stream stream()
    {
        Stream stream;
        (put<Entries>(stream), ...);
        return stream;
    }

private:
    template <class Entry>
    static void put(Stream& stream)
    {
        if constexpr (!Entry::is_parsed && Entry::source == mpegcore::TableSource::PID) {
            zqtest::Roomy<typename Entry::Table> table;
            fill(table);
            stream.section(Entry::place, zqtest::rendered(table));
        }
    }
};

TEST_F(ParserTables, ReportsAPatAndItsPmt)
{
    stream.section(0, PAT({{1, 0x100}})).section(0x100, PMT(7, 0x101, {0x101}));
    EXPECT_THAT(feed(), ElementsAre("PAT", "PMT 1 7"));
}

TEST_F(ParserTables, ReportsTablesWithoutACallbackAsPacketsOnly)
{
    program(0x101, {0x101});
    stream = mpegcore::tables<UnparsedSections>::stream();
    ASSERT_EQ(stream.packets(), 3U) << "RST, DIT and SIT";
    EXPECT_THAT(feed(), ElementsAre("other", "other", "other"));
}

TEST_F(ParserTables, ReportsAPatInTwoPacketsWithTheSecond)
{
    Bytes section = PAT({{1, 0x100}, {2, 0x200}});
    const Bytes first = Bytes{0} + Bytes(section.begin(), section.begin() + 10);
    const Bytes rest(section.begin() + 10, section.end());
    stream.packet(0, begins, first);
    EXPECT_THAT(feed(), IsEmpty());
    stream.packet(0, goes_on, rest);
    EXPECT_THAT(feed(), ElementsAre("PAT"));
}

TEST_F(ParserTables, ReportsAPatAgainForEveryFurtherPacketOfItsUnit)
{
    stream.section(0, PAT({{1, 0x100}})).packet(0, goes_on, payload);
    EXPECT_THAT(feed(), ElementsAre("PAT", "PAT"));
}

TEST_F(ParserTables, ReportsAPmtAgainForEveryFurtherPacketOfItsUnitAndEveryRepetition)
{
    program(0x101, {0x101});
    stream.packet(0x100, goes_on, payload).section(0x100, PMT(1, 0x101, {0x101}));
    EXPECT_THAT(feed(), ElementsAre("PMT 1 1", "PMT 1 1"));
}

TEST_F(ParserTables, ReadsTablesOfPacketsThatAreLostRepeatedFaultyOrScrambled)
{
    // A PAT of two packets, with a jump of continuity_counter from one to the other, an error in the first and a
    // scrambled second.
    Bytes body{0, 1, 0xC1, 0, 0};
    for (unsigned char at = 1; at <= 44; ++at)
        body = body + Bytes{0, at, 0xE1, at};
    stream.section(0, zqtest::section_of(0x00, body));
    ASSERT_EQ(stream.packets(), 2U);
    stream.data[1] |= 0x80;       // transport_error_indicator
    stream.data[188 + 3] ^= 0x85; // transport_scrambling_control 2, another continuity_counter
    const Bytes second(stream.data.begin() + 188, stream.data.end());
    stream.data.insert(stream.data.end(), second.begin(), second.end());
    EXPECT_THAT(feed(), ElementsAre("PAT", "PAT")) << "the packet that comes twice, too";
}

TEST_F(ParserTables, DoesNotLookAtThePointerField)
{
    Bytes unit = Bytes{5} + PAT({{1, 0x100}});
    stream.packet(0, begins, unit);
    EXPECT_THAT(feed(), ElementsAre("PAT"));
}

TEST_F(ParserTables, ReadsOneSectionOfAUnit)
{
    stream.packet(0, begins, Bytes{0} + PAT({{1, 0x100}}) + PAT({{1, 0x200}}));
    EXPECT_THAT(feed(), ElementsAre("PAT"));
    EXPECT_EQ(journal.m_PAT.current->programs.count(0x100), 1U);
}

TEST_F(ParserTables, IgnoresPmtPacketsBeforeAnyPat)
{
    stream.section(0x100, PMT(1, 0x101, {0x101})).packet(0x101, begins, payload);
    EXPECT_THAT(feed(), IsEmpty());
}

TEST_F(ParserTables, TakesANetworkPidForAPmtPid)
{
    stream.section(0, PAT({{0, 0x1F}, {1, 0x100}})).section(0x1F, PMT(9, 0x101, {0x101}));
    EXPECT_THAT(feed(), ElementsAre("PAT", "PMT 0 9"));
}

TEST_F(ParserTables, KeepsThePmtsThatANewPatNoLongerLists)
{
    program(0x1FFE, {0x101});
    stream.section(0, PAT({{2, 0x200}})).packet(0x101, begins, payload).packet(0x100, goes_on, payload);
    EXPECT_THAT(feed(), ElementsAre("PAT", "PES 256", "PES 256 program 1", "other", "other"));
    EXPECT_EQ(journal.m_PMTs.count(0x100), 1U);
}

TEST_F(ParserTables, FollowsAPmtThatChanges)
{
    program(0x1FFE, {0x101});
    stream.section(0x100, PMT(5, 0x1FFE, {0x102})).packet(0x101, begins, payload).packet(0x102, begins, payload);
    EXPECT_THAT(feed(), ElementsAre("PMT 1 5", "other", "PES 256", "PES 256 program 5", "other"));
}

TEST_F(ParserTables, KeepsTheTableItHasWhenABadOneComes)
{
    program(0x1FFE, {0x101});
    Bytes bad = PMT(5, 0x1FFE, {0x102});
    bad.back() ^= 1;
    stream.section(0x100, bad).packet(0x101, begins, payload);
    EXPECT_THAT(feed(), ElementsAre("PES 256", "PES 256 program 1", "other"));
}

TEST_F(ParserTables, InheritsNothingFromASectionThatFailedHalfWay)
{
    program(0x1FFE, {0x101});
    // A good CRC, a good stream, and then a stream whose descriptor runs past its loop.
    const Bytes body{0,    1,    0xC1, 0,    0,    0xFF, 0xFE, 0xF0, 0, 0x1B, 0xE1,
                     0x02, 0xF0, 0,    0x1B, 0xE1, 0x03, 0xF0, 3,    9, 9,    9};
    stream.section(0x100, section_of(0x02, body)).section(0x100, PMT(1, 0x1FFE, {0x104}));
    EXPECT_THAT(feed(), ElementsAre("PMT 1 1"));
    EXPECT_EQ(journal.m_PMTs[0x100]->current->streams.size(), 1U);
}

TEST_F(ParserTables, SortsTheTablesByTheirIdWithinAPid)
{
    zqtest::Multiplex mux(1);
    const auto with_id = [](Bytes section, std::uint8_t id) {
        section[0] = id;
        section.resize(section.size() - 4);
        return zqtest::with_crc(section);
    };
    const Bytes eit = mux.EIT(0, 0x4E, 0, 0, 1), sdt = mux.SDT()[0], nit = mux.NIT();
    stream.section(0x10, nit).section(0x10, with_id(nit, 0x41)).section(0x10, with_id(nit, 0x42));
    EXPECT_THAT(feed(), ElementsAre("NIT", "NIT"));
    EXPECT_EQ(journal.m_NITActual.valid, 1);
    EXPECT_EQ(journal.m_NITOther.valid, 1);
    stream.section(0x11, sdt).section(0x11, with_id(sdt, 0x46)).section(0x11, with_id(sdt, 0x40));
    EXPECT_THAT(feed(), ElementsAre("SDT", "SDT"));
    EXPECT_EQ(journal.m_SDTActual.valid, 1);
    EXPECT_EQ(journal.m_SDTOther.valid, 1);
    for (unsigned id = 0x4D; id <= 0x70; ++id)
        stream.section(0x12, with_id(eit, static_cast<std::uint8_t>(id)));
    EXPECT_EQ(feed().size(), 34U);
    EXPECT_EQ(journal.m_EITpfActual.current->table_id, 0x4E);
    EXPECT_EQ(journal.m_EITpfOther.current->table_id, 0x4F);
    EXPECT_EQ(journal.m_EITschActual.current->table_id, 0x5F);
    EXPECT_EQ(journal.m_EITschOther.current->table_id, 0x6F);
}

TEST_F(ParserTables, ReportsTimeTablesAndTheRest)
{
    mpegcore::CTOT tot(nullptr, 1024);
    mpegcore::CBAT bat(nullptr, 1024);
    mpegcore::CTSDT tsdt(nullptr, 1024);
    zqtest::fill(tot);
    zqtest::fill(bat);
    zqtest::fill(tsdt);
    stream.section(0x14, zqtest::Multiplex(1).TDT()).section(0x14, zqtest::rendered(tot));
    stream.section(0x11, zqtest::rendered(bat)).section(2, zqtest::rendered(tsdt));
    EXPECT_THAT(feed(), ElementsAre("TDT", "TOT", "BAT", "TSDT"));
}

TEST_F(ParserTables, ReadsATdtWhateverItsSectionLength)
{
    stream.section(0x14, {0x70, 0x7F, 0xFF, 0xC0, 0x79, 0x12, 0x45, 0x00});
    EXPECT_THAT(feed(), ElementsAre("TDT"));
}

TEST_F(ParserTables, SwapsTheTablesOfAWrapperWithEveryRead)
{
    stream.section(0, PAT({{1, 0x100}}));
    feed();
    const auto* first = journal.m_PAT.current;
    stream.section(0, PAT({{2, 0x200}}));
    feed();
    EXPECT_NE(journal.m_PAT.current, first);
    EXPECT_EQ(journal.m_PAT.work, first);
    EXPECT_TRUE(first->programs.empty());
}

TEST_F(ParserTables, SaysThatItSkipsAnEitPacketOfNoUnit)
{
    testing::internal::CaptureStdout();
    stream.packet(0x12, goes_on, payload).packet(0x11, goes_on, payload).packet(0x12, goes_on, payload);
    EXPECT_THAT(feed(), IsEmpty());
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "mpegcore: eit pkt skip\nmpegcore: eit pkt skip\n");
}
} // namespace ParserTables_test
