// SPDX-License-Identifier: LGPL-2.1-or-later
// Nothing of a section that failed half-way, or of one before Clear, is in the tables that come afterwards.
#include "support/ParserJournal.h"
#include "support/RecordingParser.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace TableResets_test
{
using mpegcore::CBaseMpegParser;
using zqtest::Bytes;
using zqtest::RecordingParser;
using zqtest::Stream;
using zqtest::operator+;

struct section_on_PID
{
    unsigned PID;
    Bytes bytes;
};

template <class Table>
section_on_PID filled(unsigned PID, std::uint8_t table_id)
{
    zqtest::Roomy<Table> table;
    fill(table);
    table.table_id = table_id;
    return {PID, zqtest::rendered(table)};
}

template <class... Entries>
struct ParsedSections
{
    /// A section with the last table_id of every table of a parser, that of a PMT behind them.
    static std::vector<section_on_PID> all()
    {
        return {filled<typename Entries::Table>(Entries::PID, Entries::last_table_id)...,
                filled<mpegcore::CPMT>(0x0100, 0x02)};
    }
};

std::vector<section_on_PID> all_sections() { return mpegcore::parsed_tables<ParsedSections>::all(); }

template <class... Entries>
struct ParsedMembers
{
    /// Calls `visit(wrapper, table_id)` for every table of a parser but the PMTs.
    template <class Visit>
    static void each(CBaseMpegParser& parser, Visit visit)
    {
        (visit(parser.*Entries::wrapper, unsigned{Entries::first_table_id}), ...);
    }
};

/// The tables that these sections gave, without the packets they came with.
std::vector<std::string> lines_of(RecordingParser& parser, Stream& stream)
{
    parser.lines.clear();
    parser.Process(stream.data.data(), stream.data.size());
    stream.data.clear();
    for (std::string& line : parser.lines)
        line.erase(0, line.find(' '));
    return parser.lines;
}

/// The first `size` bytes of a section as a whole one, with a CRC_32 of its own.
Bytes cut(const Bytes& section, std::size_t size)
{
    return zqtest::section_of(section[0], Bytes(section.begin() + 3, section.begin() + static_cast<long>(size)));
}

/// What is left in a cleared wrapper.
template <class Wrapper>
void expect_cleared(const Wrapper& wrapper, unsigned table_id)
{
    using table = std::remove_pointer_t<decltype(wrapper.current)>;
    zqtest::Roomy<table> fresh;
    EXPECT_EQ(wrapper.valid, 0) << table_id;
    for (const table* one : {wrapper.current, wrapper.work}) {
        table copy(nullptr, zqtest::largest_section);
        one->copyTo(&copy);
        EXPECT_EQ(copy.calc_section_length(), fresh.calc_section_length()) << table_id;
    }
}

TEST(TableResets, LeaveNothingOfSectionsThatFailedHalfWay)
{
    const auto sections = all_sections();
    for (const auto& [PID, bytes] : sections) {
        ASSERT_FALSE(bytes.empty());
        RecordingParser fresh(true), parser(true);
        Stream stream;
        for (auto* one : {&fresh, &parser}) {
            stream.section(0x0000, sections.front().bytes);
            one->Process(stream.data.data(), stream.data.size());
            stream.data.clear();
        }
        const auto expected = lines_of(fresh, stream.section(PID, bytes));
        ASSERT_EQ(expected.size(), (bytes.size() + 184) / 184 - bytes.size() / 184) << PID;
        for (std::size_t size = 9; size + 4 < bytes.size(); ++size) {
            for (int count = 0; count < 3; ++count)
                stream.section(PID, cut(bytes, size));
            lines_of(parser, stream);
            EXPECT_EQ(lines_of(parser, stream.section(PID, bytes)), expected) << PID << " after " << size;
        }
    }
}

TEST(TableResets, OfTheParserClearEveryTable)
{
    CBaseMpegParser parser(true);
    Stream stream;
    for (int count = 0; count < 2; ++count)
        for (const auto& [PID, bytes] : all_sections())
            stream.section(PID, bytes);
    parser.Process(stream.data.data(), stream.data.size());
    EXPECT_EQ(parser.m_PMTs.size(), 1U);
    using members = mpegcore::parsed_tables<ParsedMembers>;
    members::each(parser, [](const auto& wrapper, unsigned table_id) { EXPECT_EQ(wrapper.valid, 1) << table_id; });
    parser.Clear();
    members::each(parser, [](const auto& wrapper, unsigned table_id) { expect_cleared(wrapper, table_id); });
    EXPECT_TRUE(parser.m_PMTs.empty());
}

template <class Table>
class WrapperResets : public testing::Test
{
protected:
    static void put(mpegcore::CPacketWrapper<Table>& wrapper, const Bytes& section)
    {
        zqtest::ExactBlock block(section);
        auto reader = block.reader();
        wrapper.Parser(reader);
    }
};
TYPED_TEST_SUITE(WrapperResets, zqtest::all_tables);

TYPED_TEST(WrapperResets, LeaveNothingOfSectionsThatFailedHalfWay)
{
    zqtest::Roomy<TypeParam> table;
    fill(table);
    const Bytes section = zqtest::rendered(table);
    mpegcore::CPacketWrapper<TypeParam> fresh, wrapper;
    this->put(fresh, section);
    ASSERT_EQ(fresh.valid, 1);
    for (std::size_t size = 3; size + 4 < section.size(); ++size) {
        for (int count = 0; count < 3; ++count)
            this->put(wrapper, cut(section, size));
        this->put(wrapper, section);
        ASSERT_EQ(zqtest::fields_text(*wrapper.current), zqtest::fields_text(*fresh.current)) << size;
    }
}

using PmtLimit = zqtest::ParserTest;

TEST_F(PmtLimit, IsReachedToTheLastByte)
{
    const auto padding = [](std::size_t size) {
        return Bytes{0xFE, static_cast<unsigned char>(size - 2)} + Bytes(size - 2);
    };
    const Bytes loop = padding(257) + padding(257) + padding(257) + padding(237);
    ASSERT_EQ(PMT(1, 0x1FFE, {}, loop).size(), 1024U);
    ASSERT_EQ(CBaseMpegParser::PMT_limit, 1024U * 1024);
    std::size_t seen = 0;
    for (unsigned PID = 0x100; PID < 0x100 + 1025; ++PID) {
        stream.section(0x0000, PAT({{PID, PID}})).section(PID, PMT(PID, 0x1FFE, {}, loop));
        const auto lines = feed();
        seen += std::count(lines.begin(), lines.end(), "PMT " + std::to_string(PID) + " " + std::to_string(PID)) != 0;
    }
    EXPECT_EQ(seen, 1024U);
}

TEST_F(PmtLimit, OfPidsHoldsWhereACallbackAddedAStreamBeyondIt)
{
    class Editor : public Journal
    {
    public:
        Editor() : Journal(true) { m_editableTables = true; }
        void OnPMT(mpegcore::CBaseMpegProgram*, mpegcore::CPMT* pmt) override
        {
            pmt->streams[mpegcore::pid_count] = std::make_shared<mpegcore::CBaseStreamTypeMap>();
        }
    } editor;
    stream.section(0x0000, PAT({{1, 0x100}})).section(0x100, PMT(1, 0x103, {0x101}));
    stream.PCR(0x103, 90000, 0);
    editor.feed(stream); // AddressSanitizer would see a PID too many
    EXPECT_EQ(editor.m_PIDs[0x101].last_pcr, 10000000U);
}
} // namespace TableResets_test
