// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/t2mi/T2MIPacketGatherer.h"

#include "mpegcore/CRC.h"
#include "mpegcore/t2mi/T2MIHeader.h"

#include <cstring>
#include <utility>

namespace mpegcore
{
namespace
{
constexpr std::size_t header_size = 6;
constexpr std::size_t payload_len_at = 4;
} // namespace

void T2MIPacketGatherer::reset()
{
    lose_step();
    m_continuity.reset();
}

void T2MIPacketGatherer::take_over(T2MIPacketGatherer& other)
{
    std::swap(m_buffer, other.m_buffer);
    m_begin = other.m_begin;
    m_end = other.m_end;
    m_in_step = other.m_in_step;
    m_continuity = other.m_continuity;
    const auto& more = other.m_counters;
    m_counters.transport_packets += more.transport_packets;
    m_counters.repeated += more.repeated;
    m_counters.transport_errors += more.transport_errors;
    m_counters.scrambled += more.scrambled;
    m_counters.continuity_errors += more.continuity_errors;
    m_counters.packets += more.packets;
    m_counters.CRC_32_errors += more.CRC_32_errors;
    m_counters.pointer_errors += more.pointer_errors;
    other.m_counters = {};
    other.reset();
}

bool T2MIPacketGatherer::follow(const TransportPayload& payload, bool& is_gap)
{
    ++m_counters.transport_packets;
    if (!payload.is_usable()) {
        ++(payload.transport_error_indicator ? m_counters.transport_errors : m_counters.scrambled);
        lose_step();
        is_gap = true;
        return false;
    }
    switch (m_continuity.follow(payload)) {
    case Continuity::goes_on:
        return true;
    case Continuity::repeated:
        ++m_counters.repeated;
        return false;
    case Continuity::jumped:
        break;
    }
    ++m_counters.continuity_errors;
    lose_step();
    is_gap = true;
    return true;
}

void T2MIPacketGatherer::append(const unsigned char* data, std::size_t size)
{
    if (buffer_size - m_end < ts_payload_size) {
        // What is begun is at most one packet and a payload.
        std::memmove(m_buffer.get(), m_buffer.get() + m_begin, m_end - m_begin);
        m_end -= m_begin;
        m_begin = 0;
    }
    unsigned char* const end = m_buffer.get() + m_end;
    // A copy of fixed size takes no call, and most payloads are whole.
    if (size == ts_payload_size)
        std::memcpy(end, data, ts_payload_size);
    else
        std::memcpy(end, data, size);
    m_end += size;
}

void T2MIPacketGatherer::lose_step()
{
    m_begin = m_end = 0;
    m_in_step = false;
}

std::size_t T2MIPacketGatherer::whole_packet() const
{
    const std::size_t left = m_end - m_begin;
    if (left < header_size)
        return 0;
    const unsigned char* const packet = m_buffer.get() + m_begin;
    const unsigned payload_len = static_cast<unsigned>(packet[payload_len_at] << 8 | packet[payload_len_at + 1]);
    const std::size_t size = header_size + (payload_len + 7) / 8 + T2MIHeader::crc_size;
    return size <= left ? size : 0;
}

bool T2MIPacketGatherer::CRC_32_holds(const unsigned char* packet, std::size_t size)
{
    if (crc32_mpeg2(packet, size) == 0)
        return true;
    ++m_counters.CRC_32_errors;
    return false;
}
} // namespace mpegcore
