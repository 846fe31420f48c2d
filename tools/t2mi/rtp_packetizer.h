// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <chrono>
#include <cstdint>
#include <functional>
#include <vector>

namespace t2mi
{
/// Puts transport packets into RTP datagrams, seven in each (RFC 2250; ETSI TS 102 034, 7.1.1).
class rtp_packetizer
{
public:
    using datagram_sink = std::function<void(const std::vector<unsigned char>& datagram)>;

    rtp_packetizer(std::uint32_t SSRC, std::uint16_t first_sequence_number, datagram_sink sink);

    /// Takes a packet of 188 bytes, which is due at `time` since the start.
    void put(const unsigned char* packet, std::chrono::nanoseconds time);
    /// Sends a datagram that is not full.
    void flush();

private:
    std::uint32_t m_SSRC;
    std::uint16_t m_sequence_number;
    datagram_sink m_sink;
    std::vector<unsigned char> m_datagram; // empty while there is none
};
} // namespace t2mi
