// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/BaseMpegParser.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

namespace mpegcore
{
namespace
{
using section_reader = ZQSDK::ZQBSReaderT<unsigned char*>;

constexpr std::size_t longest_partial_packet = ts_packet_size - 1;
constexpr unsigned long carry_alignment = 8;
constexpr unsigned short EIT_PID = 0x0012;
constexpr std::size_t section_header_size = 3;
constexpr std::size_t pointer_field_size = 1;
constexpr std::size_t shortest_section_unit = 3;

unsigned short PID_at(const unsigned char* packet)
{
    return static_cast<unsigned short>((packet[1] & 0x1FU) << 8 | packet[2]);
}

/// Makes `packet`, which held another packet or is zero, the record of the one at `data`. Of the adaptation field, most
/// of the record and rarely there, only what was used is cleared.
void fill(transport_packet& packet, unsigned char* data)
{
    if ((packet.adaptation_field_control & 2U) != 0 || packet.adaptation_field.adaptation_field_length != 0)
        packet.adaptation_field = adaptation_field_record{};
    packet.sync_byte = data[0];
    packet.transport_error_indicator = data[1] >> 7;
    packet.payload_unit_start_indicator = (data[1] >> 6) & 1U;
    packet.transport_priority = (data[1] >> 5) & 1U;
    packet.PID = PID_at(data);
    packet.transport_scrambling_control = data[3] >> 6;
    packet.adaptation_field_control = (data[3] >> 4) & 3U;
    packet.continuity_counter = data[3] & 0x0FU;
    packet.packet = data;
    packet.packet_size = ts_packet_size;
    packet.payload = data + ts_header_size;
    packet.payload_size = ts_payload_size;
}

bool has_PCR(const transport_packet& packet)
{
    const auto& field = packet.adaptation_field;
    return (packet.adaptation_field_control & 2U) != 0 && field.adaptation_field_length >= 7 && field.PCR_flag == 1;
}

// Saves reading a section over and over while its packets come in; read would find the same.
bool holds_announced_section(const unsigned char* section, std::size_t size)
{
    return size >= section_header_size && size - section_header_size >= ((section[1] & 0x0FU) << 8 | section[2]);
}

template <class Table>
void clear_wrapper(CPacketWrapper<Table>& wrapper)
{
    wrapper.work->Clear();
    wrapper.current->Clear();
    wrapper.valid = 0;
}

void update_routes(PIDRoutes& routes, const CPAT& pat) { routes.set_PAT(pat); }
void update_routes(PIDRoutes& routes, const CCAT& cat) { routes.set_CAT(cat); }
void update_routes(PIDRoutes&, const CBaseMpegTable&) {}
} // namespace

struct CBaseMpegParser::table_row
{
    unsigned short PID;
    unsigned char first_table_id;
    unsigned char last_table_id;
    bool needs_announced_length; ///< the table is never read before section_length bytes are there
    void (CBaseMpegParser::*parse)(section_reader&);
};

// Ascending by PID.
const CBaseMpegParser::table_row CBaseMpegParser::table_rows[] = {
    {0x0000, 0x00, 0xFF, true, &CBaseMpegParser::parse_table<&CBaseMpegParser::m_PAT, &CBaseMpegParser::OnPAT>},
    {0x0001, 0x00, 0xFF, true, &CBaseMpegParser::parse_table<&CBaseMpegParser::m_CAT, &CBaseMpegParser::OnCAT>},
    {0x0002, 0x00, 0xFF, true, &CBaseMpegParser::parse_table<&CBaseMpegParser::m_TSDT, &CBaseMpegParser::OnTSDT>},
    {0x0010, 0x40, 0x40, true, &CBaseMpegParser::parse_table<&CBaseMpegParser::m_NITActual, &CBaseMpegParser::OnNIT>},
    {0x0010, 0x41, 0x41, true, &CBaseMpegParser::parse_table<&CBaseMpegParser::m_NITOther, &CBaseMpegParser::OnNIT>},
    {0x0011, 0x42, 0x42, true, &CBaseMpegParser::parse_table<&CBaseMpegParser::m_SDTActual, &CBaseMpegParser::OnSDT>},
    {0x0011, 0x46, 0x46, true, &CBaseMpegParser::parse_table<&CBaseMpegParser::m_SDTOther, &CBaseMpegParser::OnSDT>},
    {0x0011, 0x4A, 0x4A, true, &CBaseMpegParser::parse_table<&CBaseMpegParser::m_BAT, &CBaseMpegParser::OnBAT>},
    {0x0012, 0x4E, 0x4E, true, &CBaseMpegParser::parse_table<&CBaseMpegParser::m_EITpfActual, &CBaseMpegParser::OnEIT>},
    {0x0012, 0x4F, 0x4F, true, &CBaseMpegParser::parse_table<&CBaseMpegParser::m_EITpfOther, &CBaseMpegParser::OnEIT>},
    {0x0012, 0x50, 0x5F, true,
     &CBaseMpegParser::parse_table<&CBaseMpegParser::m_EITschActual, &CBaseMpegParser::OnEIT>},
    {0x0012, 0x60, 0x6F, true, &CBaseMpegParser::parse_table<&CBaseMpegParser::m_EITschOther, &CBaseMpegParser::OnEIT>},
    {0x0014, 0x70, 0x70, false, &CBaseMpegParser::parse_table<&CBaseMpegParser::m_TDT, &CBaseMpegParser::OnTDT>},
    {0x0014, 0x73, 0x73, true, &CBaseMpegParser::parse_table<&CBaseMpegParser::m_TOT, &CBaseMpegParser::OnTOT>},
};

/// The first row of a PID, or null for a PID that carries no table.
const CBaseMpegParser::table_row* CBaseMpegParser::first_row(unsigned short PID)
{
    constexpr std::size_t all = std::end(table_rows) - std::begin(table_rows);
    static const auto rows = [] {
        std::array<const table_row*, 64> first{};
        for (std::size_t at = all; at-- > 0;)
            first[table_rows[at].PID] = &table_rows[at];
        return first;
    }();
    return PID < rows.size() ? rows[PID] : nullptr;
}

CBaseMpegParser::CBaseMpegParser(bool use_carry)
    : m_PIDs(new CBasePID[pid_count]),
      m_useCarry(use_carry),
      // The first two buffers of every PID are set aside.
      m_unit_budget(unit_memory_limit - std::size_t{2} * pid_count * CBasePID::first_capacity)
{
    m_carryBuffer.alloc(longest_partial_packet, carry_alignment);
    for (unsigned PID = 0; PID < pid_count; ++PID)
        m_PIDs[PID].set_budget(&m_unit_budget);
}

CBaseMpegParser::~CBaseMpegParser() = default;

void CBaseMpegParser::Clear()
{
    clear_tables();
    for (unsigned PID = 0; PID < pid_count; ++PID)
        m_PIDs[PID].clear();
}

void CBaseMpegParser::clear_tables()
{
    clear_wrapper(m_PAT);
    clear_wrapper(m_CAT);
    clear_wrapper(m_TSDT);
    clear_wrapper(m_EITpfActual);
    clear_wrapper(m_EITpfOther);
    clear_wrapper(m_EITschActual);
    clear_wrapper(m_EITschOther);
    clear_wrapper(m_SDTActual);
    clear_wrapper(m_SDTOther);
    clear_wrapper(m_BAT);
    clear_wrapper(m_NITActual);
    clear_wrapper(m_NITOther);
    clear_wrapper(m_TDT);
    clear_wrapper(m_TOT);
    m_routes.clear();
    m_PMTs.clear();
    m_carryBuffer = {};
    m_carry = 0;
}

void CBaseMpegParser::OnPES(unsigned short, const CBaseStreamTypeMap*, transport_packet*) {}
void CBaseMpegParser::OnPES(unsigned short, CBaseStreamTypeMap*, unsigned char*, unsigned long) {}
void CBaseMpegParser::OnPES(unsigned short, unsigned short, const CBaseStreamTypeMap*, transport_packet*) {}

unsigned long CBaseMpegParser::Process(unsigned char* data, unsigned long size)
{
    if (m_carry == 0) {
        const unsigned long consumed = process_packets(data, size, size);
        carry_over(data + consumed, size - consumed);
        return consumed;
    }
    // Only what a packet that began in the carried bytes can reach is joined to them; the rest stays where it is.
    const unsigned long carried = m_carry;
    const unsigned long joined = std::min<unsigned long>(size, longest_partial_packet);
    append_to_carry(data, joined);
    m_carry = 0;
    const unsigned long position = process_packets(m_carryBuffer.data(), carried + joined, carried);
    if (position < carried) { // not even one packet: all of the data was joined
        carry_over(m_carryBuffer.data() + position, carried + joined - position);
        return position;
    }
    const unsigned long behind = position - carried;
    const unsigned long consumed = behind + process_packets(data + behind, size - behind, size - behind);
    carry_over(data + consumed, size - consumed);
    return carried + consumed;
}

/// Fetches what the packets behind the one at `data` will touch, in the steps in which one leads to the other. With
/// many programs it is rarely in the nearest cache.
void CBaseMpegParser::prefetch(const unsigned char* data)
{
    const unsigned short far = PID_at(data + 8 * ts_packet_size);
    __builtin_prefetch(&m_PIDs[far], 1);
    __builtin_prefetch(&m_routes[far]);
    const unsigned short middle = PID_at(data + 5 * ts_packet_size);
    m_PIDs[middle].prefetch_buffer();
    __builtin_prefetch(m_routes[middle].programs.data());
    m_PIDs[PID_at(data + 3 * ts_packet_size)].prefetch_end();
}

/// Handles the packets that begin in front of `end`; returns where the first byte not consumed is.
unsigned long CBaseMpegParser::process_packets(unsigned char* data, unsigned long size, unsigned long end)
{
    if (size < ts_packet_size)
        return 0;
    end = std::min(end, size - longest_partial_packet);
    transport_packet packet{};
    unsigned long position = 0;
    while (position < end) {
        if (data[position] == ts_sync_byte) {
            if (position + 9 * ts_packet_size <= size)
                prefetch(data + position);
            fill(packet, data + position);
            OnPreProcess(0, packet);
            ParserData(packet);
            OnProcess(0, packet);
            position += ts_packet_size;
            continue;
        }
        const void* sync = std::memchr(data + position, ts_sync_byte, end - position);
        position = sync == nullptr ? end : static_cast<unsigned long>(static_cast<const unsigned char*>(sync) - data);
    }
    return position;
}

void CBaseMpegParser::append_to_carry(const unsigned char* data, std::size_t size)
{
    if (m_carry + size > m_carryBuffer.capacity()) {
        ZQSDK::ZQAlignMemory<unsigned char> larger;
        larger.alloc(2 * longest_partial_packet, carry_alignment);
        std::copy_n(m_carryBuffer.data(), m_carry, larger.data());
        m_carryBuffer = larger;
    }
    std::copy_n(data, size, m_carryBuffer.data() + m_carry);
}

void CBaseMpegParser::carry_over(const unsigned char* data, std::size_t size)
{
    if (!m_useCarry || size == 0)
        return;
    m_carryBuffer.alloc(longest_partial_packet, carry_alignment);
    std::memmove(m_carryBuffer.data(), data, size);
    m_carry = size;
}

bool CBaseMpegParser::ParserData(transport_packet& packet)
{
    if (packet.PID >= pid_count)
        return false;
    if ((packet.adaptation_field_control & 2U) != 0) {
        if (!ParserAdaptationField(packet))
            return false;
        const unsigned long field_size = packet.adaptation_field.adaptation_field_length + 1UL;
        if (packet.adaptation_field_control == 3) {
            packet.payload += field_size;
            packet.payload_size -= field_size;
        }
        if (field_size > 1 && packet.adaptation_field.PCR_flag == 1)
            OnPCR(&packet);
    }
    CDataAccumulator* unit = m_PIDs[packet.PID].CBasePID::putPacket(packet);
    if (packet.PID == null_packet_PID)
        OnNULL(&packet);
    else if (const table_row* const rows = first_row(packet.PID))
        parse_section(packet.PID, rows);
    else if (m_PAT.valid != 0)
        route_packet(packet, unit);
    return true;
}

void CBaseMpegParser::parse_section(unsigned short PID, const table_row* row)
{
    const CDataAccumulator* unit = m_PIDs[PID].collecting;
    if (unit == nullptr || unit->size < shortest_section_unit) {
        if (PID == EIT_PID)
            std::puts("mpegcore: eit pkt skip");
        return;
    }
    unsigned char* const section = unit->data + pointer_field_size;
    const std::size_t size = unit->size - pointer_field_size;
    const unsigned char table_id = section[0];
    for (; row != std::end(table_rows) && row->PID == PID; ++row) {
        if (table_id < row->first_table_id || table_id > row->last_table_id)
            continue;
        if (row->needs_announced_length && !holds_announced_section(section, size))
            return;
        section_reader reader(section, size);
        (this->*row->parse)(reader);
        return;
    }
}

template <auto Wrapper, auto Callback>
void CBaseMpegParser::parse_table(section_reader& reader)
{
    auto& wrapper = this->*Wrapper;
    if (wrapper.Parser(reader) == 0)
        return;
    update_routes(m_routes, *wrapper.current);
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
    PID_route& route = m_routes[PID];
    if (route.pmt == nullptr) {
        auto& wrapper = m_PMTs[PID];
        wrapper = std::make_unique<CPacketWrapper<CPMT>>();
        route.pmt = wrapper.get();
    }
    // PMTs come again and again; reading the same bytes would give the same table.
    auto& known = route.PMT_section;
    if (known.empty() || known.size() > size || std::memcmp(known.data(), section, known.size()) != 0) {
        section_reader reader(section, size);
        if (route.pmt->Parser(reader) == 0)
            return;
        known.assign(section, section + section_header_size + route.pmt->current->section_length);
        m_routes.set_PMT(PID, *route.pmt->current);
    }
    OnPMT(&program, route.pmt->current);
}

void CBaseMpegParser::route_packet(transport_packet& packet, CDataAccumulator* unit)
{
    const PID_route& route = m_routes[packet.PID];
    if (route.carries_PMT) {
        auto& programs = m_PAT.current->programs;
        const auto program = programs.find(packet.PID);
        if (program != programs.end())
            return parse_PMT(packet.PID, program->second);
    }
    for (const program_route& program : route.programs)
        report_program(program, packet, unit);
    for (std::uint32_t count = route.EMM_count; count != 0; --count)
        OnEMM(&packet);
    onOtherPid(&packet);
}

void CBaseMpegParser::report_program(const program_route& route, transport_packet& packet, CDataAccumulator* unit)
{
    if (CBaseStreamTypeMap* const stream = route.stream.get()) {
        if (unit != nullptr && unit->size != 0)
            OnPES(route.pmt_PID, stream, unit->data, unit->size);
        OnPES(route.pmt_PID, stream, &packet);
        OnPES(route.pmt_PID, route.program_number, stream, &packet);
        return;
    }
    // Deliberately, a PCR on a PID that is itself a stream of the program does not come this far.
    if (route.is_PCR_PID && has_PCR(packet)) {
        for (const auto& stream : route.pmt->streams)
            m_PIDs[stream.first].putPCR(packet);
        OnPES(route.pmt_PID, nullptr, &packet);
        return;
    }
    for (std::uint32_t count = route.CA_count; count != 0; --count)
        OnECM(&packet);
}
} // namespace mpegcore
