// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/sections/SectionGatherer.h"

#include <algorithm>
#include <cstring>

namespace mpegcore
{
bool SectionPacket::read(const unsigned char* packet)
{
    constexpr unsigned has_payload = 0x10, has_field = 0x20;
    if ((packet[3] & has_payload) == 0)
        return false;
    std::size_t payload_at = ts_header_size;
    discontinuity_indicator = false;
    if ((packet[3] & has_field) != 0) {
        const std::size_t adaptation_field_length = packet[4];
        payload_at += 1 + adaptation_field_length;
        if (payload_at > ts_packet_size)
            return false;
        discontinuity_indicator = adaptation_field_length > 0 && (packet[5] & 0x80U) != 0;
    }
    is_unusable = (packet[1] & 0x80U) != 0 || (packet[3] & 0xC0U) != 0;
    payload_unit_start_indicator = (packet[1] & 0x40U) != 0;
    continuity_counter = packet[3] & 0x0FU;
    payload = packet + payload_at;
    payload_size = ts_packet_size - payload_at;
    return true;
}

void SectionGatherer::reset()
{
    drop();
    m_has_last = false;
}

bool SectionGatherer::follow(const SectionPacket& packet)
{
    // What stands in such a packet, its counter included, is not to be relied on.
    if (packet.is_unusable) {
        drop();
        return false;
    }
    if (m_has_last) {
        if (packet.continuity_counter == m_last_counter && packet.payload_unit_start_indicator == m_last_start &&
            packet.payload_size == m_last_size && std::memcmp(packet.payload, m_last_payload.data(), m_last_size) == 0)
            return false;
        const bool goes_on = packet.continuity_counter == ((m_last_counter + 1) & 0x0F);
        if (!goes_on && !packet.discontinuity_indicator)
            drop();
    }
    m_has_last = true;
    m_last_counter = packet.continuity_counter;
    m_last_start = packet.payload_unit_start_indicator;
    m_last_size = packet.payload_size;
    std::memcpy(m_last_payload.data(), packet.payload, m_last_size);
    return true;
}

void SectionGatherer::begin(const unsigned char* at, const unsigned char* end)
{
    // Not whole within the packet, so it does not become whole here.
    static_cast<void>(append(at, end));
}

bool SectionGatherer::append(const unsigned char* at, const unsigned char* end)
{
    if (m_gathered < section_header_size) {
        const auto part = std::min<std::size_t>(section_header_size - m_gathered, static_cast<std::size_t>(end - at));
        std::copy_n(at, part, m_header.begin() + static_cast<std::ptrdiff_t>(m_gathered));
        at += part;
        m_gathered += part;
        if (m_gathered < section_header_size)
            return false;
        m_size = SectionHeader(m_header.data(), m_header.size()).announced_size();
        m_section.reset(new unsigned char[m_size]);
        std::copy(m_header.begin(), m_header.end(), m_section.get());
    }
    const auto part = std::min<std::size_t>(m_size - m_gathered, static_cast<std::size_t>(end - at));
    std::copy_n(at, part, m_section.get() + m_gathered);
    m_gathered += part;
    return m_gathered == m_size;
}
} // namespace mpegcore
