// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/TransportPacket.h"

#include <array>
#include <cstdint>
#include <optional>

namespace tables
{
/// Counts the packets of each PID, and tells time by the PCRs of the first PID that has any (ISO/IEC 13818-1, 2.4.2.2).
class rate_meter
{
public:
    void put(const unsigned char* packet);

    /// Bit/s of the whole stream; nothing before two PCRs.
    [[nodiscard]] std::optional<double> bitrate() const;
    /// Bit/s of what a PID has of the stream.
    [[nodiscard]] std::optional<double> bitrate(std::uint16_t PID) const;

private:
    void put_PCR(std::uint64_t PCR);

    std::array<std::uint64_t, mpegcore::pid_count> m_packets{};
    std::uint64_t m_total = 0;
    std::uint16_t m_PCR_PID = mpegcore::null_packet_PID; ///< this: none yet
    std::optional<std::uint64_t> m_last_PCR;             ///< in 27 MHz
    std::uint64_t m_last_total = 0;                      ///< at that PCR
    std::uint64_t m_ticks = 0;                           ///< of 27 MHz, between PCRs that follow each other
    std::uint64_t m_packets_in_ticks = 0;
};
} // namespace tables
