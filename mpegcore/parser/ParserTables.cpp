// SPDX-License-Identifier: LGPL-2.1-or-later
// The part of the parser that reads sections.
#include "mpegcore/BaseMpegParser.h"
#include "mpegcore/parser/StandardSections.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstring>

namespace mpegcore
{
namespace
{
using section_reader = ZQSDK::ZQBSReaderT<unsigned char*>;

constexpr unsigned short PAT_PID = 0x0000, CAT_PID = 0x0001, EIT_PID = 0x0012;
constexpr unsigned char PMT_table_id = 0x02;
constexpr std::size_t pointer_field_size = 1;
constexpr std::size_t shortest_section_unit = 3;

/// For the rows of tables.
using self = CBaseMpegParser;

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

template <class Table>
void clear_wrapper(CPacketWrapper<Table>& wrapper, KnownTables<Table>& known)
{
    known.forget();
    clear_wrapper(wrapper);
}
} // namespace

struct CBaseMpegParser::TableRow
{
    unsigned short PID;
    unsigned char first_table_id;
    unsigned char last_table_id;
    bool needs_announced_length; ///< the table is never read before section_length bytes are there
    void (CBaseMpegParser::*parse)(unsigned char* section, std::size_t size);
};

// Ascending by PID.
const CBaseMpegParser::TableRow CBaseMpegParser::table_rows[] = {
    {0x0000, 0x00, 0xFF, true, &self::parse_table<&self::m_PAT, &self::m_knownPAT, &self::OnPAT>},
    {0x0001, 0x00, 0xFF, true, &self::parse_table<&self::m_CAT, &self::m_knownCAT, &self::OnCAT>},
    {0x0002, 0x00, 0xFF, true, &self::parse_table<&self::m_TSDT, &self::m_knownTSDT, &self::OnTSDT>},
    {0x0010, 0x40, 0x40, true, &self::parse_table<&self::m_NITActual, &self::m_knownNITActual, &self::OnNIT>},
    {0x0010, 0x41, 0x41, true, &self::parse_table<&self::m_NITOther, &self::m_knownNITOther, &self::OnNIT>},
    {0x0011, 0x42, 0x42, true, &self::parse_table<&self::m_SDTActual, &self::m_knownSDTActual, &self::OnSDT>},
    {0x0011, 0x46, 0x46, true, &self::parse_table<&self::m_SDTOther, &self::m_knownSDTOther, &self::OnSDT>},
    {0x0011, 0x4A, 0x4A, true, &self::parse_table<&self::m_BAT, &self::m_knownBAT, &self::OnBAT>},
    {0x0012, 0x4E, 0x4E, true, &self::parse_table<&self::m_EITpfActual, &self::m_knownEITpfActual, &self::OnEIT>},
    {0x0012, 0x4F, 0x4F, true, &self::parse_table<&self::m_EITpfOther, &self::m_knownEITpfOther, &self::OnEIT>},
    {0x0012, 0x50, 0x5F, true, &self::parse_table<&self::m_EITschActual, &self::m_knownEITschActual, &self::OnEIT>},
    {0x0012, 0x60, 0x6F, true, &self::parse_table<&self::m_EITschOther, &self::m_knownEITschOther, &self::OnEIT>},
    {0x0014, 0x70, 0x70, false, &self::parse_anew<&self::m_TDT, &self::OnTDT>},
    {0x0014, 0x73, 0x73, true, &self::parse_anew<&self::m_TOT, &self::OnTOT>},
};

/// The first row of a PID up to last_table_PID, or null for one that carries no table.
const CBaseMpegParser::TableRow* CBaseMpegParser::first_row(unsigned short PID)
{
    static const auto rows = [] {
        std::array<const TableRow*, last_table_PID + 1> first{};
        for (std::size_t at = std::size(table_rows); at-- > 0;)
            first[table_rows[at].PID] = &table_rows[at];
        return first;
    }();
    return rows[PID];
}

void CBaseMpegParser::clear_tables()
{
    clear_wrapper(m_PAT, m_knownPAT);
    clear_wrapper(m_CAT, m_knownCAT);
    clear_wrapper(m_TSDT, m_knownTSDT);
    clear_wrapper(m_EITpfActual, m_knownEITpfActual);
    clear_wrapper(m_EITpfOther, m_knownEITpfOther);
    clear_wrapper(m_EITschActual, m_knownEITschActual);
    clear_wrapper(m_EITschOther, m_knownEITschOther);
    clear_wrapper(m_SDTActual, m_knownSDTActual);
    clear_wrapper(m_SDTOther, m_knownSDTOther);
    clear_wrapper(m_BAT, m_knownBAT);
    clear_wrapper(m_NITActual, m_knownNITActual);
    clear_wrapper(m_NITOther, m_knownNITOther);
    clear_wrapper(m_TDT);
    clear_wrapper(m_TOT);
    m_routes.clear(); // first, so that it need not follow each PMT that goes
    m_PMTs.clear();
    if (m_standard)
        m_standard->clear();
    m_carryBuffer = {};
    m_carry = 0;
}

void CBaseMpegParser::follow(const CPAT& pat)
{
    if (!m_by_the_standard) // there all sections of a table count
        m_routes.set_PAT(pat);
}

void CBaseMpegParser::follow(const CCAT& cat)
{
    if (!m_by_the_standard)
        m_routes.set_CAT(cat);
}

void CBaseMpegParser::parse_section(unsigned short PID, const TableRow* row)
{
    const CDataAccumulator* unit = m_PIDs[PID].collecting;
    if (unit == nullptr || unit->size < shortest_section_unit) {
        if (PID == EIT_PID)
            std::puts("mpegcore: eit pkt skip");
        return;
    }
    parse_table_of(PID, row, unit->data + pointer_field_size, unit->size - pointer_field_size);
}

/// Of the PID's first row and those behind. False when none is for the section's table_id.
bool CBaseMpegParser::parse_table_of(unsigned short PID, const TableRow* row, unsigned char* section, std::size_t size)
{
    const unsigned char table_id = section[0];
    for (; row != std::end(table_rows) && row->PID == PID; ++row) {
        if (table_id < row->first_table_id || table_id > row->last_table_id)
            continue;
        if (!row->needs_announced_length || holds_announced_section(section, size))
            (this->*row->parse)(section, size);
        return true;
    }
    return false;
}

template <auto Wrapper, auto Callback>
void CBaseMpegParser::parse_anew(unsigned char* section, std::size_t size)
{
    auto& wrapper = this->*Wrapper;
    section_reader reader(section, size);
    if (wrapper.Parser(reader) == 0)
        return;
    follow(*wrapper.current);
    (this->*Callback)(wrapper.current);
}

template <auto Wrapper, auto Known, auto Callback>
void CBaseMpegParser::parse_table(unsigned char* section, std::size_t size)
{
    if (m_editableTables) // read past it, Known notices
        return parse_anew<Wrapper, Callback>(section, size);
    auto& wrapper = this->*Wrapper;
    const SectionReading result = (this->*Known).read(section, section_size(section));
    if (result == SectionReading::fresh)
        follow(*wrapper.current);
    if (result != SectionReading::failed)
        (this->*Callback)(wrapper.current);
}

void CBaseMpegParser::parse_PMT(unsigned short PID, CBaseMpegProgram& program)
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
    OnPMT(&program, carried.wrapper()->current);
}

/// Reads a whole section into m_PMTs.
SectionReading CBaseMpegParser::read_PMT(unsigned short PID, unsigned char* section, std::size_t size)
{
    auto& entry = m_PMTs[PID];
    if (!entry)
        entry = std::make_unique<CPacketWrapper<CPMT>>();
    auto& wrapper = *entry;
    CarriedPMT& carried = m_routes.carried_PMT(PID);
    if (carried.wrapper() != &wrapper)
        carried.attach(wrapper);
    // PMTs come again and again; reading the same bytes would give the same table.
    const auto& known = carried.section();
    auto result = SectionReading::repeated;
    if (!carried.may_be_edited && !known.empty() && known.size() <= size &&
        std::memcmp(known.data(), section, known.size()) == 0)
    {
        carried.as_read.restore(*wrapper.current);
    } else {
        const std::size_t announced = section_size(section);
        section_reader reader(section, size);
        if (m_routes.PMT_bytes() - known.size() + announced > PMT_limit || wrapper.Parser(reader) == 0)
            return SectionReading::failed;
        carried.set_section(section, announced);
        carried.as_read.note(*wrapper.current);
        result = SectionReading::fresh;
    }
    carried.may_be_edited = m_editableTables;
    return result;
}

void CBaseMpegParser::take_PMT(unsigned short PID, unsigned char* section, std::size_t size)
{
    auto& programs = m_standard->programs;
    CBaseMpegProgram* const program = programs.find(PID, SectionHeader(section, size).table_id_extension());
    if (program == nullptr)
        return;
    programs.take_PMT(PID, section, size);
    if (read_PMT(PID, section, size) != SectionReading::failed)
        OnPMT(program, m_PMTs[PID]->current);
}

void CBaseMpegParser::take_section(unsigned short PID, const unsigned char* section, std::size_t size)
{
    OnSection(PID, section, size);
    const SectionHeader header(section, size);
    const bool is_long = header.has_extension();
    if (is_long && !header.current_next_indicator())
        return;
    // The readers of tables take pointers to bytes that may be written, and write none.
    auto* const bytes = const_cast<unsigned char*>(section);
    if (const TableRow* const row = PID <= last_table_PID ? first_row(PID) : nullptr) {
        constexpr unsigned char first_table_id[] = {0x00, 0x01, 0x03}; // PAT, CAT, TSDT
        if (PID < std::size(first_table_id) && (header.table_id() != first_table_id[PID] || !is_long))
            return;
        if (PID == PAT_PID)
            m_standard->programs.take_PAT(section, size);
        else if (PID == CAT_PID)
            m_standard->programs.take_CAT(section, size);
        parse_table_of(PID, row, bytes, size);
    } else if (header.table_id() == PMT_table_id && is_long) {
        take_PMT(PID, bytes, size);
    }
}
} // namespace mpegcore
