// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/BaseMpegParser.h"

#include <algorithm>
#include <array>
#include <cstddef>
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
constexpr unsigned short last_table_PID = 0x0014;
/// What is looked at once to tell whether it needs fetching.
constexpr unsigned long fetch_block = 64 * ts_packet_size;
/// Packets ahead of which a thing is fetched: where a PID's state is, what that leads to, where the payload will go.
constexpr unsigned long state_ahead = 8, links_ahead = 5, payload_ahead = 3;
constexpr std::size_t section_header_size = 3;
constexpr std::size_t pointer_field_size = 1;
constexpr std::size_t shortest_section_unit = 3;

/// The header of a packet without its continuity_counter, for comparison only.
std::uint32_t header_at(const unsigned char* packet)
{
    constexpr unsigned char counted[4] = {0xFF, 0xFF, 0xFF, 0xF0};
    std::uint32_t header = 0, mask = 0;
    std::memcpy(&header, packet, sizeof(header));
    std::memcpy(&mask, counted, sizeof(mask));
    return header & mask;
}

unsigned short PID_at(const unsigned char* packet)
{
    return static_cast<unsigned short>((packet[1] & 0x1FU) << 8 | packet[2]);
}

/// The header fields that lie side by side in a record, for every value of the bits they come from.
struct header_fields
{
    std::array<std::uint8_t, 4> first[8];   // sync_byte to transport_priority, by the top 3 bits of byte 1
    std::array<std::uint8_t, 2> second[16]; // transport_scrambling_control and adaptation_field_control, by byte 3
};
static_assert(offsetof(transport_packet, sync_byte) == 0 && offsetof(transport_packet, transport_priority) == 3);
static_assert(offsetof(transport_packet, adaptation_field_control) ==
              offsetof(transport_packet, transport_scrambling_control) + 1);

constexpr header_fields make_header_fields()
{
    header_fields fields{};
    for (unsigned bits = 0; bits < 8; ++bits) {
        fields.first[bits] = {ts_sync_byte, static_cast<std::uint8_t>(bits >> 2),
                              static_cast<std::uint8_t>(bits >> 1 & 1U), static_cast<std::uint8_t>(bits & 1U)};
    }
    for (unsigned bits = 0; bits < 16; ++bits)
        fields.second[bits] = {static_cast<std::uint8_t>(bits >> 2), static_cast<std::uint8_t>(bits & 3U)};
    return fields;
}

constexpr header_fields known_fields = make_header_fields();

/// The fields that differ from packet to packet, or that handling a packet changes.
void fill_rest(transport_packet& packet, unsigned char* data)
{
    packet.continuity_counter = data[3] & 0x0FU;
    packet.packet = data;
    packet.packet_size = ts_packet_size;
    packet.payload = data + ts_header_size;
    packet.payload_size = ts_payload_size;
}

/// Makes `packet` the record of the one at `data`, but for the adaptation field. There is a sync byte.
void fill(transport_packet& packet, unsigned char* data)
{
    auto* const record = reinterpret_cast<unsigned char*>(&packet);
    std::memcpy(record, &known_fields.first[data[1] >> 5], 4);
    packet.PID = PID_at(data);
    std::memcpy(record + offsetof(transport_packet, transport_scrambling_control), &known_fields.second[data[3] >> 4],
                2);
    fill_rest(packet, data);
}

/// The same behind a packet with the same header, from whose record `fields` were taken.
void fill_same(transport_packet& packet, unsigned char* data, const std::array<unsigned char, 8>& fields)
{
    static_assert(offsetof(transport_packet, adaptation_field_control) == 7);
    std::memcpy(reinterpret_cast<unsigned char*>(&packet), fields.data(), fields.size());
    fill_rest(packet, data);
}

/// Makes a field all zero again. Nothing behind the PCR is set without its flag.
void clear_field(adaptation_field_record& field)
{
    constexpr std::size_t PCR_end = offsetof(adaptation_field_record, original_program_clock_reference_base);
    if ((field.OPCR_flag | field.splicing_point_flag | field.transport_private_data_flag |
         field.adaptation_field_extension_flag) != 0)
        field = adaptation_field_record{};
    else
        std::memset(&field, 0, PCR_end);
}

bool has_PCR(const transport_packet& packet)
{
    const auto& field = packet.adaptation_field;
    return (packet.adaptation_field_control & 2U) != 0 && field.adaptation_field_length >= 7 && field.PCR_flag == 1;
}

/// For the rows of tables.
using self = CBaseMpegParser;

/// Bytes that the section announces, its header included.
std::size_t section_size(const unsigned char* section)
{
    return section_header_size + ((section[1] & 0x0FU) << 8 | section[2]);
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
void clear_wrapper(CPacketWrapper<Table>& wrapper, known_tables<Table>& known)
{
    known.forget();
    clear_wrapper(wrapper);
}
} // namespace

struct CBaseMpegParser::table_row
{
    unsigned short PID;
    unsigned char first_table_id;
    unsigned char last_table_id;
    bool needs_announced_length; ///< the table is never read before section_length bytes are there
    void (CBaseMpegParser::*parse)(unsigned char* section, std::size_t size);
};

// Ascending by PID.
const CBaseMpegParser::table_row CBaseMpegParser::table_rows[] = {
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
const CBaseMpegParser::table_row* CBaseMpegParser::first_row(unsigned short PID)
{
    static const auto rows = [] {
        std::array<const table_row*, last_table_PID + 1> first{};
        for (std::size_t at = std::size(table_rows); at-- > 0;)
            first[table_rows[at].PID] = &table_rows[at];
        return first;
    }();
    return rows[PID];
}

CBaseMpegParser::CBaseMpegParser(bool use_carry)
    : m_PIDs(new CBasePID[pid_count]),
      m_useCarry(use_carry),
      // The first two buffers of every PID are set aside.
      m_unit_budget(unit_memory_limit - std::size_t{2} * pid_count * CBasePID::first_capacity)
{
    m_carryBuffer.alloc(longest_partial_packet, carry_alignment);
    m_unit_budget.share_among(m_PIDs.get(), pid_count);
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
    m_routes.clear();
    m_PMTs.clear();
    m_PMTs_size = 0;
    m_carryBuffer = {};
    m_carry = 0;
}

void CBaseMpegParser::OnPES(unsigned short, const CBaseStreamTypeMap*, transport_packet*) {}
void CBaseMpegParser::OnPES(unsigned short, CBaseStreamTypeMap*, unsigned char*, unsigned long) {}
void CBaseMpegParser::OnPES(unsigned short, unsigned short, const CBaseStreamTypeMap*, transport_packet*) {}

unsigned long CBaseMpegParser::Process(unsigned char* data, unsigned long size)
{
    if (!m_useCarry || m_carry == 0) {
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

[[gnu::always_inline]] inline void CBaseMpegParser::route_packet(transport_packet& packet, CDataAccumulator* unit)
{
    const PID_route& route = m_routes[packet.PID];
    if (route.carries_PMT) {
        auto& programs = m_PAT.current->programs;
        const auto program = programs.find(packet.PID);
        if (program != programs.end())
            return parse_PMT(packet.PID, program->second);
    }
    report(route, packet, unit);
}

inline void CBaseMpegParser::report(const PID_route& route, transport_packet& packet, CDataAccumulator* unit)
{
    for (const program_route& program : route.programs) {
        CBaseStreamTypeMap* const stream = program.stream.get();
        if (stream == nullptr) {
            report_without_stream(program, packet);
            continue;
        }
        if (unit != nullptr && unit->size != 0)
            OnPES(program.pmt_PID, stream, unit->data, unit->size);
        OnPES(program.pmt_PID, stream, &packet);
        OnPES(program.pmt_PID, program.program_number, stream, &packet);
    }
    for (std::uint32_t count = route.EMM_count; count != 0; --count)
        OnEMM(&packet);
    onOtherPid(&packet);
}

[[gnu::always_inline]] inline void CBaseMpegParser::handle_payload(transport_packet& packet)
{
    CDataAccumulator* unit = m_PIDs[packet.PID].CBasePID::putPacket(packet);
    if (packet.PID == null_packet_PID)
        OnNULL(&packet);
    else if (const table_row* const rows = packet.PID <= last_table_PID ? first_row(packet.PID) : nullptr)
        parse_section(packet.PID, rows);
    else if (m_PAT.valid != 0)
        route_packet(packet, unit);
}

inline void CBaseMpegParser::collect_plain(const PID_route& route, CBasePID& state, const unsigned char* data)
{
    if (!route.collects)
        state.drop_unit();
    state.putPlainPacket(data);
}

/// Handles a packet that has its route's plain_header.
[[gnu::always_inline]] inline void CBaseMpegParser::process_plain(const PID_route& route, CBasePID& state,
                                                                  unsigned char* data)
{
    transport_packet& packet = m_record;
    fill_same(packet, data, route.plain_fields);
    OnPreProcess(0, packet);
    if (CBaseStreamTypeMap* const stream = route.stream; stream != nullptr) {
        const auto pmt_PID = route.pmt_PID;
        const auto program_number = route.program_number;
        collect_plain(route, state, data);
        OnPES(pmt_PID, stream, &packet);
        OnPES(pmt_PID, program_number, stream, &packet);
        onOtherPid(&packet);
    } else if (packet.PID == null_packet_PID) {
        state.bytes += ts_payload_size;
        OnNULL(&packet);
    } else {
        collect_plain(route, state, data);
        report(route, packet, nullptr);
    }
    OnProcess(0, packet);
}

/// Handles any packet.
inline void CBaseMpegParser::process_packet(unsigned char* data)
{
    transport_packet& packet = m_record;
    fill(packet, data);
    const bool has_field = (packet.adaptation_field_control & 2U) != 0;
    note_if_plain(packet, header_at(data));
    OnPreProcess(0, packet);
    if (!has_field || take_adaptation_field())
        handle_payload(packet);
    OnProcess(0, packet);
    if (has_field)
        clear_field(packet.adaptation_field);
}

/// Packets of a multiplex come in no order of PIDs: what the next ones need is seldom at hand, and each step of the way
/// to it takes as long as a packet. Inlined by force: a function that only prefetches has no effect, thinks GCC, and
/// leaves out the call.
[[gnu::always_inline]] inline void CBaseMpegParser::fetch_ahead(const unsigned char* data) const
{
    const unsigned short state_PID = PID_at(data + state_ahead * ts_packet_size);
    __builtin_prefetch(&m_PIDs[state_PID], 1);
    __builtin_prefetch(&m_routes[state_PID]);
    __builtin_prefetch(m_PIDs[PID_at(data + links_ahead * ts_packet_size)].collecting, 1);
    const CDataAccumulator* const unit = m_PIDs[PID_at(data + payload_ahead * ts_packet_size)].collecting;
    if (unit != nullptr && unit->capacity - unit->size >= ts_payload_size)
        for (std::size_t at = 0; at < ts_payload_size; at += 64)
            __builtin_prefetch(unit->data + unit->size + at, 1);
}

/// Whether the packets from here on change their PID more often than not; in a row of one PID everything is at hand.
bool CBaseMpegParser::needs_fetching(const unsigned char* data)
{
    unsigned changes = 0;
    for (unsigned at = 0; at < state_ahead; ++at)
        changes += PID_at(data + at * ts_packet_size) != PID_at(data + (at + 1) * ts_packet_size);
    return changes > state_ahead / 2;
}

/// Handles the packets that begin in front of `end`; returns where the first byte not consumed is.
unsigned long CBaseMpegParser::process_packets(unsigned char* data, unsigned long size, unsigned long end)
{
    if (size < ts_packet_size)
        return 0;
    end = std::min(end, size - longest_partial_packet);
    unsigned long position = 0;
    while (position < end) {
        const unsigned long block_end = std::min(end, position + fetch_block);
        unsigned long fetch_end = 0;
        if (end - position > 2 * state_ahead * ts_packet_size && needs_fetching(data + position))
            fetch_end = std::min(block_end, end - state_ahead * ts_packet_size);
        while (position < block_end) {
            unsigned char* const packet = data + position;
            if (position < fetch_end)
                fetch_ahead(packet);
            const unsigned short PID = PID_at(packet);
            const PID_route& route = m_routes[PID];
            if (route.plain_header == header_at(packet)) {
                process_plain(route, m_PIDs[PID], packet);
                position += ts_packet_size;
            } else if (*packet == ts_sync_byte) {
                process_packet(packet);
                position += ts_packet_size;
            } else {
                const void* sync = std::memchr(packet, ts_sync_byte, end - position);
                if (sync == nullptr)
                    return end;
                position = static_cast<unsigned long>(static_cast<const unsigned char*>(sync) - data);
            }
        }
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
    if ((packet.adaptation_field_control & 2U) != 0 &&
        !(ParserAdaptationField(packet) && pass_adaptation_field(packet)))
        return false;
    handle_payload(packet);
    return true;
}

/// With a plain packet there is nothing to do but to collect and to report it: no field, unit start or table.
inline void CBaseMpegParser::note_if_plain(const transport_packet& packet, std::uint32_t header)
{
    if (packet.adaptation_field_control != 1 || packet.payload_unit_start_indicator != 0)
        return;
    const PID_route& route = m_routes[packet.PID];
    if (packet.PID == null_packet_PID || (m_PAT.valid != 0 && packet.PID > last_table_PID && !route.carries_PMT))
        m_routes.set_plain(packet.PID, header, m_units_are_seen || route.programs.empty() || reports_units(), packet);
}

/// That of m_record, which is still clear.
bool CBaseMpegParser::take_adaptation_field()
{
    if (read_adaptation_field(m_record, m_record.adaptation_field))
        return pass_adaptation_field(m_record);
    m_record.adaptation_field = adaptation_field_record{};
    return false;
}

/// What comes behind reading it.
bool CBaseMpegParser::pass_adaptation_field(transport_packet& packet)
{
    const unsigned long field_size = packet.adaptation_field.adaptation_field_length + 1UL;
    if (packet.adaptation_field_control == 3) {
        if (field_size > packet.payload_size) // not of a packet that Process found
            return false;
        packet.payload += field_size;
        packet.payload_size -= field_size;
    }
    if (field_size > 1 && packet.adaptation_field.PCR_flag == 1)
        OnPCR(&packet);
    return true;
}

void CBaseMpegParser::follow(const CPAT& pat) { m_routes.set_PAT(pat); }

void CBaseMpegParser::follow(const CCAT& cat) { m_routes.set_CAT(cat); }

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
        (this->*row->parse)(section, size);
        return;
    }
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
    const section_reading result = (this->*Known).read(section, section_size(section));
    if (result == section_reading::fresh)
        follow(*wrapper.current);
    if (result != section_reading::failed)
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
    if (!route.pmt) {
        auto& wrapper = m_PMTs[PID];
        wrapper = std::make_unique<CPacketWrapper<CPMT>>();
        route.pmt = std::make_unique<carried_PMT>();
        route.pmt->wrapper = wrapper.get();
    }
    carried_PMT& carried = *route.pmt;
    auto& wrapper = *carried.wrapper;
    // PMTs come again and again; reading the same bytes would give the same table.
    auto& known = carried.section;
    if (!carried.may_be_edited && !known.empty() && known.size() <= size &&
        std::memcmp(known.data(), section, known.size()) == 0)
    {
        carried.as_read.restore(*wrapper.current);
    } else {
        const std::size_t PMTs_size = m_PMTs_size - known.size() + section_size(section);
        section_reader reader(section, size);
        if (PMTs_size > PMT_limit || wrapper.Parser(reader) == 0)
            return;
        known.assign(section, section + section_size(section));
        carried.as_read.note(*wrapper.current);
        m_PMTs_size = PMTs_size;
        m_routes.set_PMT(PID, *wrapper.current);
    }
    carried.may_be_edited = m_editableTables;
    OnPMT(&program, wrapper.current);
}

void CBaseMpegParser::report_without_stream(const program_route& route, transport_packet& packet)
{
    // Deliberately, a PCR on a PID that is itself a stream of the program does not come this far.
    if (route.is_PCR_PID && has_PCR(packet)) {
        for (const auto& stream : route.pmt->streams)
            if (stream.first < pid_count) // an edited PMT may name others
                m_PIDs[stream.first].putPCR(packet);
        OnPES(route.pmt_PID, nullptr, &packet);
        return;
    }
    for (std::uint32_t count = route.CA_count; count != 0; --count)
        OnECM(&packet);
}
} // namespace mpegcore
