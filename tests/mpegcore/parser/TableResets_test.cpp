// SPDX-License-Identifier: LGPL-2.1-or-later
// Nothing of a section that failed half-way, or of one before Clear, is in the tables that come afterwards.
#include "support/ParserJournal.h"
#include "support/RecordingParser.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

using mpegcore::CBaseMpegParser;
using zqtest::Bytes;
using zqtest::RecordingParser;
using zqtest::Stream;
using zqtest::operator+;

namespace
{
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

/// One section for every wrapper of a parser, that of the PMT last.
std::vector<section_on_PID> all_sections()
{
    using namespace mpegcore;
    return {filled<CPAT>(0x0000, 0x00), filled<CCAT>(0x0001, 0x01), filled<CTSDT>(0x0002, 0x03),
            filled<CNIT>(0x0010, 0x40), filled<CNIT>(0x0010, 0x41), filled<CSDT>(0x0011, 0x42),
            filled<CSDT>(0x0011, 0x46), filled<CBAT>(0x0011, 0x4A), filled<CEIT>(0x0012, 0x4E),
            filled<CEIT>(0x0012, 0x4F), filled<CEIT>(0x0012, 0x50), filled<CEIT>(0x0012, 0x6F),
            filled<CTDT>(0x0014, 0x70), filled<CTOT>(0x0014, 0x73), filled<CPMT>(0x0100, 0x02)};
}

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
void expect_cleared(const Wrapper& wrapper, const char* name)
{
    using table = std::remove_pointer_t<decltype(wrapper.current)>;
    zqtest::Roomy<table> fresh;
    EXPECT_EQ(wrapper.valid, 0) << name;
    for (const table* one : {wrapper.current, wrapper.work}) {
        table copy(nullptr, zqtest::largest_section);
        one->copyTo(&copy);
        EXPECT_EQ(copy.calc_section_length(), fresh.calc_section_length()) << name;
    }
}
} // namespace

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
    const auto each = [&parser](auto visit) {
        visit(parser.m_PAT, "PAT");
        visit(parser.m_CAT, "CAT");
        visit(parser.m_TSDT, "TSDT");
        visit(parser.m_EITpfActual, "EIT p/f actual");
        visit(parser.m_EITpfOther, "EIT p/f other");
        visit(parser.m_EITschActual, "EIT schedule actual");
        visit(parser.m_EITschOther, "EIT schedule other");
        visit(parser.m_SDTActual, "SDT actual");
        visit(parser.m_SDTOther, "SDT other");
        visit(parser.m_BAT, "BAT");
        visit(parser.m_NITActual, "NIT actual");
        visit(parser.m_NITOther, "NIT other");
        visit(parser.m_TDT, "TDT");
        visit(parser.m_TOT, "TOT");
    };
    each([](const auto& wrapper, const char* name) { EXPECT_EQ(wrapper.valid, 1) << name; });
    parser.Clear();
    each([](const auto& wrapper, const char* name) { expect_cleared(wrapper, name); });
    EXPECT_TRUE(parser.m_PMTs.empty());
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
