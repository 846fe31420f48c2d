// SPDX-License-Identifier: LGPL-2.1-or-later
// The part of the parser that gathers sections by the standard.
#include "mpegcore/parser/PacketParser.h"

#include "mpegcore/parser/StandardSections.h"

namespace mpegcore
{
namespace
{
constexpr bool can_carry_sections(unsigned short PID) { return PID < null_packet_PID; }

TransportPayload payload_of(const transport_packet& packet)
{
    TransportPayload payload;
    payload.transport_error_indicator = packet.transport_error_indicator != 0;
    payload.transport_scrambling_control = packet.transport_scrambling_control;
    payload.continuity_counter = packet.continuity_counter;
    payload.payload_unit_start_indicator = packet.payload_unit_start_indicator != 0;
    payload.discontinuity_indicator =
        (packet.adaptation_field_control & 2U) != 0 && packet.adaptation_field.discontinuity_indicator != 0;
    payload.data = packet.payload;
    payload.size = packet.payload_size;
    return payload;
}
} // namespace

StandardSections& PacketParser::standard_sections()
{
    if (!m_standard)
        m_standard = std::make_unique<StandardSections>(m_routes);
    return *m_standard;
}

bool PacketParser::add_section_PID(unsigned short PID)
{
    if (!can_carry_sections(PID))
        return false;
    standard_sections().PIDs.add(PID, SectionPIDs::caller);
    m_routes.forget_plain();
    return true;
}

void PacketParser::remove_section_PID(unsigned short PID)
{
    if (m_standard && can_carry_sections(PID))
        m_standard->PIDs.remove(PID, SectionPIDs::caller);
}

void PacketParser::gather_sections(const transport_packet& packet)
{
    const unsigned short PID = packet.PID;
    if ((packet.adaptation_field_control & 1U) == 0 || !m_standard->PIDs.gathers(PID))
        return;
    m_standard->PIDs.put(PID, payload_of(packet), [this, PID](const unsigned char* section, std::size_t size) {
        // The readers of tables take pointers to bytes that may be written, and write none.
        take_section(PID, const_cast<unsigned char*>(section), size);
    });
}

bool PacketParser::report_section(unsigned short PID, const unsigned char* section, std::size_t size, bool is_known)
{
    if (!is_known && !section_CRC_is_good(section, size)) {
        m_parser.OnSectionCRCFailed(PID, section, size);
        return false;
    }
    m_parser.OnSection(PID, section, size);
    const SectionHeader header(section, size);
    return !header.has_extension() || header.current_next_indicator();
}
} // namespace mpegcore
