// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <chrono>
#include <cstdint>

namespace t2mi
{
/// Times the packets of one transport stream by its PCR, looking at one packet after the other. The first PID that
/// carries a PCR is the clock; between two of its PCRs the packets are spaced as between the two before, so that
/// nothing has to be read ahead. A PCR that jumps (back, more than a second, or announced by
/// discontinuity_indicator) begins a new time base that goes on from where the time stands.
class input_clock
{
public:
    /// `bitrate`, not 0, spaces the packets as long as fewer than two PCRs were seen.
    explicit input_clock(std::uint64_t bitrate);

    /// Time of the next packet, 188 bytes, since the first one. Never goes back.
    std::chrono::nanoseconds stamp(unsigned char* ts_packet);

private:
    void take_PCR(std::uint64_t pcr, bool discontinuity);

    std::chrono::duration<double, std::nano> m_spacing; // of two packets
    std::chrono::nanoseconds m_time{0};                 // of the last packet
    std::chrono::duration<double, std::nano> m_next{0}; // expected time of the next packet
    std::uint64_t m_last_PCR = 0;
    std::uint64_t m_packets_since_PCR = 0;
    std::chrono::duration<double, std::nano> m_PCR_time{0}; // time of the packet with the last PCR
    int m_PCR_PID = -1;
};
} // namespace t2mi
