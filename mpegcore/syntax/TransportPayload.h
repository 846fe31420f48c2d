// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/TransportPacket.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace mpegcore
{
/// The payload of a transport packet (ISO/IEC 13818-1, 2.4.3), and what those who put it together with others have to
/// know of the packet. The pointer leads into the packet.
struct TransportPayload
{
    /// Of the 188 bytes at `packet`. False when there is no payload to be found: none announced, or an adaptation field
    /// that goes beyond the packet.
    [[nodiscard]] bool read(const unsigned char* packet);
    /// Neither damaged nor scrambled.
    bool is_usable() const { return !transport_error_indicator && transport_scrambling_control == 0; }

    bool transport_error_indicator = false;
    std::uint8_t transport_scrambling_control = 0;
    std::uint8_t continuity_counter = 0;
    bool payload_unit_start_indicator = false;
    bool discontinuity_indicator = false;
    const unsigned char* data = nullptr;
    std::size_t size = 0; ///< 0 to 184
};

/// How a packet stands to the one before it on its PID.
enum class Continuity
{
    goes_on,  ///< also for the first one, and behind a discontinuity_indicator
    repeated, ///< the packet before it, sent a second time
    jumped,   ///< packets are missing between them
};

/// Follows the continuity_counter of one PID over the packets with a payload (ISO/IEC 13818-1, 2.4.3.3).
class ContinuityFollower
{
public:
    Continuity follow(const TransportPayload& payload)
    {
        Continuity result = Continuity::goes_on;
        if (m_has_last && payload.continuity_counter != ((m_last_counter + 1) & 0x0F)) {
            if (is_last(payload))
                return Continuity::repeated;
            if (!payload.discontinuity_indicator)
                result = Continuity::jumped;
        }
        keep(payload);
        return result;
    }
    /// As if there had been no packet.
    void reset() { m_has_last = false; }

private:
    [[nodiscard]] bool is_last(const TransportPayload& payload) const;
    void keep(const TransportPayload& payload)
    {
        m_has_last = true;
        m_last_counter = payload.continuity_counter;
        m_last_start = payload.payload_unit_start_indicator;
        m_last_size = payload.size;
        // A copy of fixed size takes no call, and most payloads are whole.
        if (payload.size == ts_payload_size)
            std::memcpy(m_last.data(), payload.data, ts_payload_size);
        else
            std::memcpy(m_last.data(), payload.data, payload.size);
    }

    std::array<unsigned char, ts_payload_size> m_last{}; ///< payload of the packet before
    std::size_t m_last_size = 0;
    bool m_last_start = false;
    bool m_has_last = false;
    std::uint8_t m_last_counter = 0;
};
} // namespace mpegcore
