// SPDX-License-Identifier: LGPL-2.1-or-later
// The part of the parser that reads sections.
#include "mpegcore/parser/PacketParser.h"

#include "mpegcore/parser/StandardSections.h"
#include "mpegcore/sections/TablePID.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <iterator>

namespace mpegcore
{
namespace
{
using section_reader = ZQSDK::ZQBSReaderT<unsigned char*>;

constexpr unsigned char PMT_table_id = 0x02;
constexpr std::size_t pointer_field_size = 1;
constexpr std::size_t shortest_section_unit = 3;

/// Bytes that the section announces, its header included.
std::size_t section_size(const unsigned char* section)
{
    return SectionHeader(section, section_header_size).announced_size();
}

// Saves reading a section over and over while its packets come in; read would find the same.
bool holds_announced_section(const unsigned char* section, std::size_t size)
{
    return size >= section_header_size && size >= section_size(section);
}

template <class Table>
void clear_wrapper(CPacketWrapper<Table>& wrapper)
{
    wrapper.work->Clear();
    wrapper.current->Clear();
    wrapper.valid = 0;
}
} // namespace

struct PacketParser::TableRow
{
    bool is_for(unsigned char table_id) const { return table_id >= first_table_id && table_id <= last_table_id; }

    unsigned short PID;
    unsigned char first_table_id;
    unsigned char last_table_id;
    bool is_any_table_id_read;
    bool needs_announced_length;
    void (PacketParser::*parse)(unsigned char* section, std::size_t size);
    void (PacketParser::*take)(unsigned char* section, std::size_t size);
};

template <class... Entries>
struct PacketParser::TableRows
{
    static constexpr TableRow all[] = {{Entries::PID, Entries::first_table_id, Entries::last_table_id,
                                        Entries::is_any_table_id_read, Entries::needs_announced_length,
                                        &PacketParser::parse_table<Entries>, &PacketParser::take_table<Entries>}...};

    static void clear(CBaseMpegParser& parser, KnownTableSet<Entries...>& known)
    {
        (known.template of<Entries>().forget(), ...);
        (clear_wrapper(parser.*Entries::wrapper), ...);
    }

    static void set_up(KnownTableSet<Entries...>& known, ZQDescriptorType dictionary, unsigned repetitions)
    {
        (known.template of<Entries>().set_up(dictionary, repetitions), ...);
    }

    static constexpr bool are_ascending()
    {
        for (std::size_t at = 1; at < std::size(all); ++at)
            if (all[at].PID < all[at - 1].PID)
                return false;
        return all[std::size(all) - 1].PID == last_table_PID;
    }
};

/// The first row of a PID up to last_table_PID, or null for one that carries no table.
const PacketParser::TableRow* PacketParser::first_row(unsigned short PID)
{
    static_assert(Rows::are_ascending());
    static const auto rows = [] {
        std::array<const TableRow*, last_table_PID + 1> first{};
        for (std::size_t at = std::size(Rows::all); at-- > 0;)
            first[Rows::all[at].PID] = &Rows::all[at];
        return first;
    }();
    return rows[PID];
}

void PacketParser::set_by_the_standard(bool on)
{
    standard_sections();
    m_by_the_standard = on;
    // What is kept saves the CRC_32 too there, and nothing is reported again while it comes in.
    Rows::set_up(m_known, on ? ZQDescriptorType::Standard : ZQDescriptorType::TS,
                 on ? 0 : KnownTables<CPAT>::usual_repetitions);
}

void PacketParser::clear()
{
    Rows::clear(m_parser, m_known);
    m_routes.clear(); // first, so that it need not follow each PMT that goes
    m_parser.m_PMTs.clear();
    if (m_standard)
        m_standard->clear();
}

void PacketParser::follow(const CPAT& pat)
{
    if (!m_by_the_standard) // there all sections of a table count
        m_routes.set_PAT(pat);
}

void PacketParser::follow(const CCAT& cat)
{
    if (!m_by_the_standard)
        m_routes.set_CAT(cat);
}

void PacketParser::parse_section(unsigned short PID, const TableRow* row)
{
    const CDataAccumulator* unit = m_PIDs[PID].collecting;
    if (unit == nullptr || unit->size < shortest_section_unit) {
        if (PID == TablePID::EIT)
            std::puts("mpegcore: eit pkt skip");
        return;
    }
    unsigned char* const section = unit->data + pointer_field_size;
    const std::size_t size = unit->size - pointer_field_size;
    for (; row != std::end(Rows::all) && row->PID == PID; ++row) {
        if (!row->is_any_table_id_read && !row->is_for(section[0]))
            continue;
        if (!row->needs_announced_length || holds_announced_section(section, size))
            (this->*row->parse)(section, size);
        return;
    }
}

template <class Entry>
void PacketParser::parse_table_anew(unsigned char* section, std::size_t size)
{
    auto& wrapper = m_parser.*Entry::wrapper;
    section_reader reader(section, size);
    if (wrapper.Parser(reader) == 0)
        return;
    follow(*wrapper.current);
    (m_parser.*Entry::callback)(wrapper.current);
}

template <class Entry>
void PacketParser::parse_table(unsigned char* section, std::size_t size)
{
    if constexpr (Entry::known_limit != 0)
        if (!m_parser.m_editableTables) {
            const std::size_t whole = section_size(section);
            return parse_table<Entry>(section, whole, m_known.of<Entry>().find(section, whole));
        }
    parse_table_anew<Entry>(section, size); // past m_known, which notices
}

template <class Entry>
void PacketParser::parse_table(unsigned char* section, std::size_t size,
                               const typename KnownTables<typename Entry::Table>::Place& place)
{
    auto& wrapper = m_parser.*Entry::wrapper;
    const SectionReading result = m_known.of<Entry>().read(section, size, place);
    if (result == SectionReading::fresh)
        follow(*wrapper.current);
    if (result != SectionReading::failed)
        (m_parser.*Entry::callback)(wrapper.current);
}

void PacketParser::parse_PMT(unsigned short PID, CBaseMpegProgram& program)
{
    const CDataAccumulator* unit = m_PIDs[PID].collecting;
    if (unit == nullptr || unit->size < shortest_section_unit)
        return;
    unsigned char* const section = unit->data + pointer_field_size;
    const std::size_t size = unit->size - pointer_field_size;
    if (!holds_announced_section(section, size))
        return;
    const SectionReading result = read_PMT(PID, section, size);
    if (result == SectionReading::failed)
        return;
    const CarriedPMT& carried = m_routes.carried_PMT(PID);
    if (result == SectionReading::fresh)
        m_routes.set_PMT(program_key(PID), carried);
    m_parser.OnPMT(&program, carried.wrapper()->current);
}

/// Reads a whole section into m_PMTs.
SectionReading PacketParser::read_PMT(unsigned short PID, unsigned char* section, std::size_t size)
{
    auto& entry = m_parser.m_PMTs[PID];
    if (!entry)
        entry = std::make_unique<CPacketWrapper<CPMT>>();
    auto& wrapper = *entry;
    CarriedPMT& carried = m_routes.carried_PMT(PID);
    if (carried.wrapper() != &wrapper) {
        carried.attach(wrapper);
        if (m_by_the_standard)
            wrapper.set_dictionary(ZQDescriptorType::Standard);
    }
    // PMTs come again and again; reading the same bytes would give the same table.
    auto result = SectionReading::repeated;
    if (!carried.may_be_edited && carried.was_read_from(section, size)) {
        carried.as_read.restore(*wrapper.current);
    } else {
        const std::size_t announced = section_size(section);
        section_reader reader(section, size);
        if (m_routes.PMT_bytes() - carried.section().size() + announced > CBaseMpegParser::PMT_limit ||
            wrapper.Parser(reader) == 0)
            return SectionReading::failed;
        carried.set_section(section, announced);
        carried.as_read.note(*wrapper.current);
        result = SectionReading::fresh;
    }
    carried.may_be_edited = m_parser.m_editableTables;
    return result;
}

void PacketParser::take_section(unsigned short PID, unsigned char* section, std::size_t size)
{
    if (PID > last_table_PID) {
        if (section[0] == PMT_table_id)
            return take_PMT(PID, section, size);
    } else {
        for (const TableRow* row = first_row(PID); row != nullptr && row != std::end(Rows::all) && row->PID == PID;
             ++row)
            if (row->is_for(section[0]))
                return (this->*row->take)(section, size);
    }
    static_cast<void>(report_section(PID, section, size, false));
}

template <class Entry>
void PacketParser::take_table(unsigned char* section, std::size_t size)
{
    const auto place = m_known.of<Entry>().find(section, size);
    if (!report_section(Entry::PID, section, size, place.is_same))
        return;
    if (Entry::is_any_table_id_read && !SectionHeader(section, size).has_extension())
        return;
    if constexpr (Entry::PID == TablePID::PAT)
        m_standard->programs.take_PAT(section, size);
    if constexpr (Entry::PID == TablePID::CAT)
        m_standard->programs.take_CAT(section, size);
    if constexpr (Entry::known_limit != 0)
        if (!m_parser.m_editableTables)
            return parse_table<Entry>(section, size, place);
    parse_table_anew<Entry>(section, size);
}

void PacketParser::take_PMT(unsigned short PID, unsigned char* section, std::size_t size)
{
    const CarriedPMT* const last = m_routes[PID].pmt.get();
    bool is_last = last != nullptr && last->was_read_from(section, size);
    if (!report_section(PID, section, size, is_last))
        return;
    const SectionHeader header(section, size);
    if (!header.has_extension())
        return;
    is_last = is_last && !last->section().empty(); // the caller may have taken it away
    CBaseMpegProgram* const program =
        m_standard->programs.take_PMT(PID, header.table_id_extension(), section, size, is_last);
    if (program == nullptr)
        return;
    if (read_PMT(PID, section, size) != SectionReading::failed)
        m_parser.OnPMT(program, m_parser.m_PMTs[PID]->current);
    else // what comes next is not behind the one that was read last
        m_routes.carried_PMT(PID).set_section(nullptr, 0);
}
} // namespace mpegcore
