// SPDX-License-Identifier: LGPL-2.1-or-later
// The parser with sections by the standard: every table that it reads holds its descriptors whole.
#include "support/StandardJournal.h"
#include "support/empty_descriptors.h"

namespace StandardDictionary_test
{
using mpegcore::ZQDescriptorType;
using testing::ElementsAre;
using testing::IsEmpty;
using zqtest::Bytes;
using zqtest::Roomy;
using zqtest::Stream;
using zqtest::operator+;
using namespace zqtest::standard;

/// Takes down every table as it is rendered again.
class RenderedTables : public mpegcore::CBaseMpegParser
{
public:
    explicit RenderedTables(bool by_the_standard) : CBaseMpegParser(true)
    {
        set_sections_by_the_standard(by_the_standard);
    }

    void OnPAT(mpegcore::CPAT* t) override { note(*t); }
    void OnPMT(mpegcore::CBaseMpegProgram*, mpegcore::CPMT* t) override { note(*t); }
    void OnCAT(mpegcore::CCAT* t) override { note(*t); }
    void OnTSDT(mpegcore::CTSDT* t) override { note(*t); }
    void OnSDT(mpegcore::CSDT* t) override { note(*t); }
    void OnEIT(mpegcore::CEIT* t) override { note(*t); }
    void OnNIT(mpegcore::CNIT* t) override { note(*t); }
    void OnTOT(mpegcore::CTOT* t) override { note(*t); }
    void OnBAT(mpegcore::CBAT* t) override { note(*t); }

    std::vector<Bytes> feed(Stream& stream)
    {
        m_tables.clear();
        Process(stream.data.data(), stream.data.size());
        stream.data.clear();
        return m_tables;
    }

private:
    template <class Table>
    void note(Table& table)
    {
        m_tables.push_back(zqtest::rendered(table));
    }

    std::vector<Bytes> m_tables;
};

/// A section of every field filled whose last loop ends in an empty descriptor.
template <class Table>
Bytes ending_empty(unsigned table_id, unsigned variant)
{
    Roomy<Table> table;
    fill(table);
    zqtest::end_last_loop(table);
    table.table_id = static_cast<std::uint8_t>(table_id);
    if constexpr (std::is_same_v<Table, mpegcore::CTOT>)
        table.UTC_time += variant;
    else
        table.version_number = static_cast<std::uint8_t>(variant);
    return zqtest::rendered(table);
}

struct Carried
{
    unsigned PID;
    Bytes section;
};

/// One section for every table of a parser with loops, that of a PMT on PID 0x100 last.
std::vector<Carried> sections_ending_empty(unsigned variant)
{
    using namespace mpegcore;
    std::vector<Carried> all{{0x01, ending_empty<CCAT>(0x01, variant)}, {0x02, ending_empty<CTSDT>(0x03, variant)},
                             {0x10, ending_empty<CNIT>(0x40, variant)}, {0x10, ending_empty<CNIT>(0x41, variant)},
                             {0x11, ending_empty<CSDT>(0x42, variant)}, {0x11, ending_empty<CSDT>(0x46, variant)},
                             {0x12, ending_empty<CEIT>(0x4E, variant)}, {0x12, ending_empty<CEIT>(0x4F, variant)},
                             {0x12, ending_empty<CEIT>(0x50, variant)}, {0x12, ending_empty<CEIT>(0x6F, variant)},
                             {0x14, ending_empty<CTOT>(0x73, variant)}, {0x100, ending_empty<CPMT>(0x02, variant)}};
    return all;
}

unsigned program_number()
{
    mpegcore::CPMT pmt(nullptr, 1024);
    zqtest::fill(pmt);
    return pmt.program_number;
}

/// A network information section with the cells of a T2 system, behind which its last loop ends in 6F 00.
Bytes NIT_with_T2_cells()
{
    const Bytes cells = Bytes{0x7F, 0x0D, 0x04, 1, 0, 1, 0, 2} + Bytes{0x00, 0x63, 4, 0, 0, 0, 0} + Bytes{0x6F, 0x00};
    const Bytes stream = Bytes{0x00, 0x06, 0x56, 0x78} + zqtest::length_field(cells.size()) + cells;
    return zqtest::section_of(
        0x40, Bytes{0x12, 0x34, 0xD5, 0, 0} + zqtest::length_field(0) + zqtest::length_field(stream.size()) + stream,
        0xF);
}

TEST(StandardDictionary, ReadsANITWithT2CellsAndAnEmptyDescriptorAtTheEndWhole)
{
    RenderedTables parser(true);
    Stream stream;
    stream.section(0x10, NIT_with_T2_cells());
    EXPECT_THAT(parser.feed(stream), ElementsAre(NIT_with_T2_cells()));
    const auto& list = parser.m_NITActual.current->transport_streams.at(0)->descriptors;
    ASSERT_EQ(list.size(), 2U);
    const auto T2 = list.find<mpegcore::standard_T2_delivery_system_descriptor>();
    ASSERT_NE(T2, nullptr);
    EXPECT_EQ(T2->cells.at(0).cell_id, 0x63);
    EXPECT_EQ(list.find(0x6F)->descriptor_length, 0);
}

TEST(StandardDictionary, IsNotUsedUnlessSectionsAreByTheStandard)
{
    RenderedTables parser(false);
    Stream stream;
    stream.section(0x10, NIT_with_T2_cells());
    EXPECT_THAT(parser.feed(stream), IsEmpty());
}

TEST(StandardDictionary, IsThatOfEveryTableHoweverOftenItsSectionsChangeAndRepeat)
{
    for (const bool editable : {false, true}) {
        RenderedTables parser(true);
        parser.m_editableTables = editable;
        Stream stream;
        stream.section(0, PAT({{program_number(), 0x100}}));
        parser.feed(stream);
        // What is read, kept, given back, and read into a table that was made for that.
        for (const unsigned variant : {0, 1, 2, 3, 3, 3, 3, 3, 3, 4, 3, 4, 4, 4, 4, 4, 4, 5, 4, 5}) {
            for (const auto& one : sections_ending_empty(variant)) {
                stream.section(one.PID, one.section);
                ASSERT_THAT(parser.feed(stream), ElementsAre(one.section)) << one.PID << " " << variant;
            }
        }
    }
}

TEST(StandardDictionary, GivesTheStreamsOfABATTheirOwnDescriptors)
{
    Roomy<mpegcore::CBAT> bat;
    fill(bat);
    auto& stream_of_bat = *bat.transport_streams.back();
    bat.bouquet_descriptors.clear();
    auto empty = std::make_shared<mpegcore::base_descriptor>();
    empty->descriptor_tag = 0x6F;
    bat.descriptor_dictionary = ZQDescriptorType::Standard;
    stream_of_bat.transport_descriptors.append(empty);
    const Bytes section = zqtest::rendered(bat);
    RenderedTables parser(true);
    Stream stream;
    stream.section(0x11, section);
    EXPECT_THAT(parser.feed(stream), ElementsAre(section));
    EXPECT_EQ(parser.m_BAT.current->transport_streams.back()->transport_descriptors.size(), 1U);
}

TEST(StandardDictionary, IsThatOfPMTsThatTheCallerPutsInTheirPlace)
{
    RenderedTables parser(true);
    Stream stream;
    stream.section(0, PAT({{program_number(), 0x100}}));
    parser.feed(stream);
    for (unsigned variant = 0; variant < 8; ++variant) {
        parser.m_PMTs[0x100] = std::make_unique<mpegcore::CPacketWrapper<mpegcore::CPMT>>();
        for (unsigned count = 0; count < 3; ++count) {
            const Bytes section = ending_empty<mpegcore::CPMT>(0x02, variant + count);
            stream.section(0x100, section);
            ASSERT_THAT(parser.feed(stream), ElementsAre(section));
        }
    }
}

TEST(StandardDictionary, FindsTheProgramsStreamsBehindDescriptorsThatTheStatedOneFailsAt)
{
    // The second stream's CA_descriptor is too short for its syntax.
    const Bytes body{0x1F, 0xFF, 0xF0, 0x02, 0x7F, 0x00, 0x06, 0xE1, 0x01, 0xF0, 0x03,
                     0x09, 0x01, 0x77, 0x06, 0xE1, 0x02, 0xF0, 0x02, 0x6F, 0x00};
    StandardJournal parser;
    Stream stream;
    stream.section(0, PAT({{1, 0x100}})).section(0x100, versioned_section(0x02, 1, body, 0, 0, 0, true));
    parser.feed(stream);
    EXPECT_THAT(routes(parser, stream, {0x101, 0x102}),
                ElementsAre("257: PES 256 program 1", "258: PES 256 program 1"));
}

TEST(StandardDictionary, FindsEMMsBehindDescriptorsThatTheStatedOneFailsAt)
{
    const Bytes body{0x09, 0x01, 0x77, 0x09, 0x04, 0x01, 0x00, 0xE5, 0x00, 0x6F, 0x00};
    StandardJournal parser;
    Stream stream;
    stream.section(0, PAT({{1, 0x100}})).section(1, versioned_section(0x01, 0xFFFF, body, 0, 0, 0, true));
    EXPECT_THAT(parser.tables(stream), ElementsAre("PAT", "CAT"));
    EXPECT_THAT(routes(parser, stream, {0x500}), ElementsAre("1280: EMM"));
}

TEST(StandardDictionary, GoesWithTheSwitch)
{
    RenderedTables turned(true), stated(false);
    const auto feed_both = [&](Stream stream) {
        Stream same = stream;
        const auto tables = turned.feed(stream);
        EXPECT_EQ(tables, stated.feed(same));
        return tables.size();
    };
    Stream stream;
    for (unsigned variant : {0, 1, 1, 1, 1, 1, 1, 2}) // so that some are kept
        for (const auto& one : sections_ending_empty(variant))
            stream.section(one.PID, one.section);
    turned.feed(stream);
    turned.set_sections_by_the_standard(false);
    std::size_t tables = 0;
    for (const unsigned variant : {0, 0, 0, 0, 0, 0, 1, 0, 2, 3}) {
        stream.section(0, PAT({{program_number(), 0x100}})).section(0x10, NIT_with_T2_cells());
        for (const auto& one : sections_ending_empty(variant))
            stream.section(one.PID, one.section);
        tables += feed_both(std::move(stream));
        stream = {};
    }
    EXPECT_EQ(tables, 10 * 13U);
}

TEST(StandardDictionary, LeavesTheChoiceOfACallerAloneWhereTheSwitchWasNeverTurned)
{
    RenderedTables parser(false);
    parser.m_NITActual.set_dictionary(ZQDescriptorType::Standard);
    parser.set_sections_by_the_standard(false);
    Stream stream;
    stream.section(0x10, NIT_with_T2_cells());
    EXPECT_THAT(parser.feed(stream), ElementsAre(NIT_with_T2_cells()));
}
} // namespace StandardDictionary_test
