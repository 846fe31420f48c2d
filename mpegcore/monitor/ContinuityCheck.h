// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/TransportPacket.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace mpegcore
{
/// Holds the packets of one PID against ISO/IEC 13818-1, 2.4.3.3: their counters, and that what comes twice is the
/// same.
class ContinuityCheck
{
public:
    enum class Verdict
    {
        good,
        repeated, ///< the packet before, legally sent a second time
        packets_missing,
        repeated_again,     ///< it came more than twice
        repeated_otherwise, ///< the same counter with other bytes
        counted_without_payload,
    };

    /// The next packet, 188 bytes with transport_error_indicator 0.
    Verdict follow(const unsigned char* packet)
    {
        // The usual packet: payload, and the counter goes on.
        Verdict verdict = Verdict::good;
        if ((packet[3] & 0x1F) == m_expected)
            m_was_repeated = false;
        else
            verdict = look_closer(packet);
        m_expected = static_cast<std::uint8_t>(has_payload | ((packet[3] + 1) & 0x0F));
        std::memcpy(m_last.data(), packet, ts_packet_size);
        return verdict;
    }
    /// Behind packets_missing: how many, modulo 16.
    unsigned missing() const { return m_missing; }
    /// What comes next need not follow.
    void forget() { m_expected = 0; }

private:
    static constexpr std::uint8_t has_payload = 0x10;

    Verdict look_closer(const unsigned char* packet);
    [[nodiscard]] bool is_last(const unsigned char* packet) const;

    std::uint8_t m_expected = 0; ///< has_payload and the counter of the next packet that has one; 0: not known
    bool m_was_repeated = false;
    std::uint8_t m_missing = 0;
    std::array<unsigned char, ts_packet_size> m_last{};
};
} // namespace mpegcore
