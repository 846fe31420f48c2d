// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <chrono>
#include <cstdint>

namespace mpegcore
{
/// How much of a transport stream has gone by: what the PCRs say of the first PID that has some. Where none come, the
/// packets are counted at the highest rate that T2-MI has, 72 Mbit/s (ETSI TS 102 773, 6.1.1).
class StreamAge
{
public:
    /// Takes a transport packet of 188 bytes.
    void put(const unsigned char* packet);
    std::chrono::milliseconds passed() const;

private:
    static constexpr std::uint64_t packets_a_second = 72'000'000 / (188 * 8);
    static constexpr int none = -1;

    int m_PID = none;            ///< that has the PCRs
    std::uint64_t m_last = 0;    ///< PCR base, 90 kHz
    std::uint64_t m_ticks = 0;   ///< between PCRs that follow each other
    std::uint64_t m_packets = 0; ///< since the last PCR
    std::uint64_t m_seconds = 0; ///< without PCRs
};
} // namespace mpegcore
