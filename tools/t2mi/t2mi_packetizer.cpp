// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/t2mi/t2mi_packetizer.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace t2mi
{
using mpegcore::ts_payload_size;

t2mi_packetizer::t2mi_packetizer(std::uint16_t pid, ts_sink sink, bool continuous)
    : m_sink(std::move(sink)), m_PID(pid), m_continuous(continuous)
{}

void t2mi_packetizer::put(const unsigned char* packet, std::size_t size)
{
    if ((m_starts && !m_continuous) || m_fill + 1 >= ts_payload_size)
        flush();
    if (!m_starts)
        m_waiting[0] = static_cast<unsigned char>(m_fill);
    m_starts = true;
    while (size > 0) {
        const std::size_t capacity = ts_payload_size - (m_starts ? 1 : 0);
        const std::size_t part = std::min(size, capacity - m_fill);
        std::memcpy(&m_waiting[1 + m_fill], packet, part);
        m_fill += part;
        packet += part;
        size -= part;
        if (m_fill == capacity)
            send();
    }
}

void t2mi_packetizer::flush()
{
    if (m_fill > 0)
        send();
}

void t2mi_packetizer::send()
{
    ts_packet packet{};
    const std::size_t payload_size = m_fill + (m_starts ? 1 : 0);
    const std::size_t adaptation_size = ts_payload_size - payload_size;
    packet[0] = mpegcore::ts_sync_byte;
    packet[1] = static_cast<unsigned char>((m_starts ? 0x40 : 0) | (m_PID >> 8));
    packet[2] = static_cast<unsigned char>(m_PID);
    packet[3] = static_cast<unsigned char>((adaptation_size > 0 ? 0x30 : 0x10) | m_continuity_counter);
    if (adaptation_size > 0)
        packet[4] = static_cast<unsigned char>(adaptation_size - 1);
    if (adaptation_size > 2)
        std::memset(&packet[6], 0xFF, adaptation_size - 2);
    std::memcpy(&packet[4 + adaptation_size], &m_waiting[m_starts ? 0 : 1], payload_size);
    m_continuity_counter = (m_continuity_counter + 1) & 0x0F;
    m_starts = false;
    m_fill = 0;
    m_sink(packet.data());
}
} // namespace t2mi
