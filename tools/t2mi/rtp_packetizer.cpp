// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/t2mi/rtp_packetizer.h"

#include "mpegcore/TransportPacket.h"

#include <utility>

namespace t2mi
{
namespace
{
constexpr std::size_t header_bytes = 12;
constexpr std::size_t packets_a_datagram = 7;

void append(std::vector<unsigned char>& bytes, std::uint32_t value, int count)
{
    for (int shift = 8 * (count - 1); shift >= 0; shift -= 8)
        bytes.push_back(static_cast<unsigned char>(value >> shift));
}
} // namespace

rtp_packetizer::rtp_packetizer(std::uint32_t SSRC, std::uint16_t first_sequence_number, datagram_sink sink)
    : m_SSRC(SSRC), m_sequence_number(first_sequence_number), m_sink(std::move(sink))
{}

void rtp_packetizer::put(const unsigned char* packet, std::chrono::nanoseconds time)
{
    constexpr unsigned char version_2 = 0x80, MP2T = 33;
    if (m_datagram.empty()) {
        m_datagram = {version_2, MP2T};
        append(m_datagram, m_sequence_number++, 2);
        append(m_datagram, static_cast<std::uint32_t>(time.count() * 9 / 100'000), 4); // 90 kHz
        append(m_datagram, m_SSRC, 4);
    }
    m_datagram.insert(m_datagram.end(), packet, packet + mpegcore::ts_packet_size);
    if (m_datagram.size() == header_bytes + packets_a_datagram * mpegcore::ts_packet_size)
        flush();
}

void rtp_packetizer::flush()
{
    if (m_datagram.empty())
        return;
    m_sink(m_datagram);
    m_datagram.clear();
}
} // namespace t2mi
