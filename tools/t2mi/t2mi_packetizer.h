// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/TransportPacket.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>

namespace t2mi
{
using ts_packet = std::array<unsigned char, mpegcore::ts_packet_size>;

/// Takes each finished transport packet, 188 bytes that are valid during the call.
using ts_sink = std::function<void(const unsigned char* packet)>;

/// Cuts T2-MI packets into the payloads of one PID (TS 102 773, 6.1). They follow one another without a gap, a
/// pointer_field tells where the next begins. Unless it is `continuous`, at most one begins in a payload, because a
/// receiver may take all bytes between two starts for one packet; the payload that would need a second start is filled
/// up by the stuffing of an adaptation field instead.
class t2mi_packetizer
{
public:
    t2mi_packetizer(std::uint16_t pid, ts_sink sink, bool continuous = false);

    /// Adds one whole T2-MI packet. Its last bytes, fewer than a payload, wait for the next put or flush.
    void put(const unsigned char* packet, std::size_t size);
    /// Sends the bytes that wait, stuffed to a whole transport packet.
    void flush();

private:
    void send();

    ts_sink m_sink;
    std::uint16_t m_PID;
    std::uint8_t m_continuity_counter = 0;
    bool m_continuous;
    bool m_starts = false;  // a T2-MI packet begins in the waiting payload
    std::size_t m_fill = 0; // bytes that wait, the pointer_field not counted
    std::array<unsigned char, 1 + mpegcore::ts_payload_size>
        m_waiting{}; // the first byte is kept free for the pointer_field
};
} // namespace t2mi
