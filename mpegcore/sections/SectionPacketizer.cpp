// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/sections/SectionPacketizer.h"

#include "mpegcore/sections/SectionHeader.h"

#include <algorithm>

namespace mpegcore
{
bool SectionPacketizer::is_section(const unsigned char* section, std::size_t size)
{
    return size >= section_header_size && section[0] != section_stuffing_byte &&
           SectionHeader(section, size).announced_size() == size;
}

void SectionPacketizer::start_section()
{
    if (!m_starts)
        m_waiting[0] = static_cast<unsigned char>(m_waiting_size);
    m_starts = true;
}

std::size_t SectionPacketizer::append(const unsigned char* bytes, std::size_t size)
{
    const std::size_t part = std::min(size, capacity() - m_waiting_size);
    std::copy_n(bytes, part, m_waiting.data() + 1 + m_waiting_size);
    m_waiting_size += part;
    return part;
}

void SectionPacketizer::finish_packet()
{
    m_packet[0] = ts_sync_byte;
    m_packet[1] = static_cast<unsigned char>((m_starts ? 0x40 : 0) | m_PID >> 8);
    m_packet[2] = static_cast<unsigned char>(m_PID);
    m_packet[3] = static_cast<unsigned char>(0x10 | m_continuity_counter);
    const auto first = m_waiting.begin() + (m_starts ? 0 : 1);
    const auto behind = std::copy(first, m_waiting.begin() + 1 + static_cast<std::ptrdiff_t>(m_waiting_size),
                                  m_packet.begin() + ts_header_size);
    std::fill(behind, m_packet.end(), section_stuffing_byte);
    m_continuity_counter = (m_continuity_counter + 1) & 0x0F;
    m_starts = false;
    m_waiting_size = 0;
}
} // namespace mpegcore
