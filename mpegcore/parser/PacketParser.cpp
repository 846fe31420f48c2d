// SPDX-License-Identifier: LGPL-2.1-or-later
// The part of the parser that looks at every packet; in one file, so that its loop becomes one function.
#include "mpegcore/parser/PacketParser.h"

#include "mpegcore/parser/AdaptationField.h"
#include "mpegcore/parser/StandardSections.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace mpegcore
{
namespace
{
/// What is looked at once to tell whether it needs fetching.
constexpr unsigned long fetch_block = 64 * ts_packet_size;
/// Packets ahead of which a thing is fetched: where a PID's state is, what that leads to, where the payload will go.
constexpr unsigned long state_ahead = 8, links_ahead = 5, payload_ahead = 3;

bool has_PCR(const transport_packet& packet)
{
    const auto& field = packet.adaptation_field;
    return (packet.adaptation_field_control & 2U) != 0 && field.adaptation_field_length >= 7 && field.PCR_flag == 1;
}
} // namespace

PacketParser::PacketParser(CBaseMpegParser& parser)
    : m_parser(parser),
      m_PIDs(parser.m_PIDs.get()),
      m_known(parser),
      m_PID_memory(m_PIDs, pid_count, CBaseMpegParser::unit_memory_limit)
{}

PacketParser::~PacketParser() = default;

[[gnu::always_inline]] inline void PacketParser::route_packet(transport_packet& packet, CDataAccumulator* unit)
{
    const PIDRoute& route = m_routes[packet.PID];
    if (route.carries_PMT) {
        auto& programs = m_parser.m_PAT.current->programs;
        const auto program = programs.find(packet.PID);
        if (program != programs.end())
            return parse_PMT(packet.PID, program->second);
    }
    report(route, packet, unit);
}

inline void PacketParser::report_programs(const ProgramRoutes& programs, transport_packet& packet,
                                          CDataAccumulator* unit)
{
    for (const auto& [key, program] : programs) {
        const unsigned short pmt_PID = pmt_PID_of(key);
        CBaseStreamTypeMap* const stream = program.stream.get();
        if (stream == nullptr) {
            report_without_stream(pmt_PID, program, packet);
            continue;
        }
        if (unit != nullptr && unit->size != 0 && m_parser.m_collects_units)
            m_parser.OnPES(pmt_PID, stream, unit->data, unit->size);
        m_parser.OnPES(pmt_PID, stream, &packet);
        m_parser.OnPES(pmt_PID, program.program_number, stream, &packet);
    }
}

inline void PacketParser::report(const PIDRoute& route, transport_packet& packet, CDataAccumulator* unit)
{
    if (route.programs)
        report_programs(*route.programs, packet, unit);
    for (std::uint32_t count = route.EMM_count; count != 0; --count)
        m_parser.OnEMM(&packet);
    m_parser.onOtherPid(&packet);
}

[[gnu::always_inline]] inline void PacketParser::handle_payload(transport_packet& packet)
{
    if (m_by_the_standard)
        return handle_by_the_standard(packet);
    CDataAccumulator* unit = m_PIDs[packet.PID].CBasePID::putPacket(packet);
    if (packet.PID == null_packet_PID)
        m_parser.OnNULL(&packet);
    else if (const TableRow* const rows = packet.PID <= last_table_PID ? first_row(packet.PID) : nullptr)
        parse_section(packet.PID, rows);
    else if (m_parser.m_PAT.valid != 0)
        route_packet(packet, unit);
}

void PacketParser::handle_by_the_standard(transport_packet& packet)
{
    CBasePID& state = m_PIDs[packet.PID];
    if (packet.PID == null_packet_PID) {
        state.bytes += packet.payload_size;
        return m_parser.OnNULL(&packet);
    }
    const PIDRoute& route = m_routes[packet.PID];
    if (route.carries_PMT || (packet.PID <= last_table_PID && first_row(packet.PID) != nullptr)) {
        state.bytes += packet.payload_size;
        state.counter(packet);
        gather_sections(packet);
        return;
    }
    CDataAccumulator* const unit = state.CBasePID::putPacket(packet);
    gather_sections(packet);
    if (m_parser.m_PAT.valid != 0)
        report(route, packet, unit);
}

inline void PacketParser::collect_plain(const PIDRoute& route, CBasePID& state, const unsigned char* data)
{
    if (!route.collects)
        state.drop_unit();
    state.putPlainPacket(data);
}

/// Handles a packet that has its route's plain_header.
[[gnu::always_inline]] inline void PacketParser::process_plain(const PIDRoute& route, CBasePID& state,
                                                               unsigned char* data)
{
    CBaseMpegParser& parser = m_parser; // once: no call makes the compiler load it again
    transport_packet& packet = m_record.packet;
    fill_same(packet, data, route.plain_fields);
    parser.OnPreProcess(0, packet);
    if (CBaseStreamTypeMap* const stream = route.stream; stream != nullptr) {
        const auto pmt_PID = route.pmt_PID;
        const auto program_number = route.program_number;
        collect_plain(route, state, data);
        parser.OnPES(pmt_PID, stream, &packet);
        parser.OnPES(pmt_PID, program_number, stream, &packet);
        parser.onOtherPid(&packet);
    } else if (packet.PID == null_packet_PID) {
        state.bytes += ts_payload_size;
        parser.OnNULL(&packet);
    } else {
        collect_plain(route, state, data);
        report(route, packet, nullptr);
    }
    parser.OnProcess(0, packet);
    if (parser.m_adaptation_fields_are_written)
        clear_field(packet.adaptation_field, m_stores);
}

/// Handles any packet.
inline void PacketParser::process_packet(unsigned char* data)
{
    transport_packet& packet = m_record.packet;
    fill(packet, data);
    const bool has_field = (packet.adaptation_field_control & 2U) != 0;
    if (m_routes.has_lost_PMTs())
        m_routes.drop_lost_PMTs();
    note_if_plain(packet, header_at(data));
    m_parser.OnPreProcess(0, packet);
    if (!has_field || take_adaptation_field())
        handle_payload(packet);
    m_parser.OnProcess(0, packet);
    if (m_parser.m_adaptation_fields_are_written)
        clear_field(packet.adaptation_field, m_stores);
    else if (has_field)
        clear_field_as_read(packet.adaptation_field);
}

/// Packets of a multiplex come in no order of PIDs: what the next ones need is seldom at hand, and each step of the way
/// to it takes as long as a packet. Inlined by force: a function that only prefetches has no effect, thinks GCC, and
/// leaves out the call.
[[gnu::always_inline]] inline void PacketParser::fetch_ahead(const unsigned char* data) const
{
    const unsigned short state_PID = PID_at(data + state_ahead * ts_packet_size);
    __builtin_prefetch(&m_PIDs[state_PID], 1);
    __builtin_prefetch(&m_routes[state_PID]);
    __builtin_prefetch(m_PIDs[PID_at(data + links_ahead * ts_packet_size)].collecting, 1);
    const unsigned char* const next = data + payload_ahead * ts_packet_size;
    const CBasePID& state = m_PIDs[PID_at(next)];
    const bool begins = (next[1] & 0x40U) != 0;
    const CDataAccumulator* const unit = begins ? state.completed : state.collecting;
    if (unit == nullptr)
        return;
    const std::size_t at = begins ? 0 : unit->size;
    if (unit->capacity - at < ts_payload_size)
        return;
    const unsigned char* const room = unit->data + at;
    __builtin_prefetch(room, 1);
    __builtin_prefetch(room + 64, 1);
    __builtin_prefetch(room + 128, 1);
    __builtin_prefetch(room + ts_payload_size - 1, 1);
}

/// Whether the packets from here on change their PID more often than not; in a row of one PID everything is at hand.
bool PacketParser::needs_fetching(const unsigned char* data)
{
    unsigned changes = 0;
    for (unsigned at = 0; at < state_ahead; ++at)
        changes += PID_at(data + at * ts_packet_size) != PID_at(data + (at + 1) * ts_packet_size);
    return changes > state_ahead / 2;
}

unsigned long PacketParser::process(unsigned char* data, unsigned long size, unsigned long end)
{
    if (size < ts_packet_size)
        return 0;
    unsigned char* packet = data;
    unsigned char* const last = data + std::min(end, size - (ts_packet_size - 1));
    while (packet < last) {
        const unsigned long left = static_cast<unsigned long>(last - packet);
        unsigned char* const block_end = packet + std::min(left, fetch_block);
        unsigned char* fetch_end = packet;
        if (left > 2 * state_ahead * ts_packet_size && needs_fetching(packet))
            fetch_end = std::min(block_end, last - state_ahead * ts_packet_size);
        while (packet < block_end) {
            if (packet < fetch_end)
                fetch_ahead(packet);
            const unsigned short PID = PID_at(packet);
            const PIDRoute& route = m_routes[PID];
            if (route.plain_header == header_at(packet)) {
                process_plain(route, m_PIDs[PID], packet);
                packet += ts_packet_size;
            } else if (*packet == ts_sync_byte) {
                process_packet(packet);
                packet += ts_packet_size;
            } else {
                void* const sync = std::memchr(packet, ts_sync_byte, static_cast<unsigned long>(last - packet));
                packet = sync != nullptr ? static_cast<unsigned char*>(sync) : last;
            }
        }
    }
    const auto position = static_cast<unsigned long>(packet - data);
    if (m_PID_memory.passed(position))
        sweep_PIDs();
    return position;
}

void PacketParser::sweep_PIDs()
{
    m_PID_memory.sweep([this](unsigned short PID) {
        const PIDRoute& route = m_routes[PID];
        return route.programs != nullptr || route.carries_PMT || (PID <= last_table_PID && first_row(PID) != nullptr);
    });
}

bool PacketParser::process(transport_packet& packet)
{
    if (packet.PID >= pid_count)
        return false;
    if ((packet.adaptation_field_control & 2U) != 0 &&
        !(CBaseMpegParser::ParserAdaptationField(packet) && pass_adaptation_field(packet)))
        return false;
    m_routes.drop_lost_PMTs();
    handle_payload(packet);
    return true;
}

/// With a plain packet there is nothing to do but to collect and to report it: no field, unit start or table.
inline void PacketParser::note_if_plain(const transport_packet& packet, std::uint32_t header)
{
    if (packet.adaptation_field_control != 1 || packet.payload_unit_start_indicator != 0)
        return;
    if (m_by_the_standard && m_standard->PIDs.gathers(packet.PID))
        return;
    const PIDRoute& route = m_routes[packet.PID];
    if (packet.PID == null_packet_PID ||
        (m_parser.m_PAT.valid != 0 && packet.PID > last_table_PID && !route.carries_PMT))
        m_routes.set_plain(packet.PID, header, m_parser.m_collects_units || !route.programs, packet);
}

/// That of m_record, which is still clear.
bool PacketParser::take_adaptation_field()
{
    if (read_adaptation_field(m_record.packet, m_record.packet.adaptation_field))
        return pass_adaptation_field(m_record.packet);
    clear_field(m_record.packet.adaptation_field);
    return false;
}

/// What comes behind reading it.
bool PacketParser::pass_adaptation_field(transport_packet& packet)
{
    const unsigned long field_size = packet.adaptation_field.adaptation_field_length + 1UL;
    if (packet.adaptation_field_control == 3) {
        if (field_size > packet.payload_size) // not of a packet that Process found
            return false;
        packet.payload += field_size;
        packet.payload_size -= field_size;
    }
    if (field_size > 1 && packet.adaptation_field.PCR_flag == 1)
        m_parser.OnPCR(&packet);
    return true;
}

void PacketParser::report_without_stream(unsigned short pmt_PID, const ProgramRoute& route, transport_packet& packet)
{
    if (route.pmt == nullptr) // gone since the packet came
        return;
    // Deliberately, a PCR on a PID that is itself a stream of the program does not come this far.
    if (route.is_PCR_PID && has_PCR(packet)) {
        for (const auto& stream : route.pmt->wrapper()->current->streams)
            if (stream.first < pid_count) // an edited PMT may name others
                m_PIDs[stream.first].putPCR(packet);
        m_parser.OnPES(pmt_PID, nullptr, &packet);
        return;
    }
    for (std::uint32_t count = route.CA_count; count != 0; --count)
        m_parser.OnECM(&packet);
}
} // namespace mpegcore
