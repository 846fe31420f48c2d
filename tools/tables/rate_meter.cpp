// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/tables/rate_meter.h"

namespace tables
{
namespace
{
constexpr std::uint64_t ticks_a_second = 27'000'000;
constexpr std::uint64_t PCR_cycle = (std::uint64_t{1} << 33) * 300;
// The standard allows a tenth of this from one PCR to the next; more is a jump.
constexpr std::uint64_t longest_distance = ticks_a_second;

/// In 27 MHz; nothing in a packet without one.
std::optional<std::uint64_t> PCR_of(const unsigned char* packet)
{
    const bool has_field = (packet[3] & 0x20U) != 0 && packet[4] >= 7;
    if (!has_field || (packet[5] & 0x10U) == 0)
        return std::nullopt;
    std::uint64_t bits = 0;
    for (int at = 6; at < 12; ++at)
        bits = bits << 8 | packet[at];
    return (bits >> 15) * 300 + (bits & 0x1FFU);
}
} // namespace

void rate_meter::put(const unsigned char* packet)
{
    const auto PID = static_cast<std::uint16_t>((packet[1] & 0x1FU) << 8 | packet[2]);
    ++m_total;
    ++m_packets[PID];
    const bool is_damaged = (packet[1] & 0x80U) != 0;
    const bool may_count = PID == m_PCR_PID || m_PCR_PID == mpegcore::null_packet_PID;
    if (is_damaged || !may_count)
        return;
    if (const auto PCR = PCR_of(packet)) {
        m_PCR_PID = PID;
        put_PCR(*PCR);
    }
}

void rate_meter::put_PCR(std::uint64_t PCR)
{
    if (m_last_PCR) {
        const std::uint64_t distance = (PCR + PCR_cycle - *m_last_PCR) % PCR_cycle;
        if (distance > 0 && distance <= longest_distance) {
            m_ticks += distance;
            m_packets_in_ticks += m_total - m_last_total;
        }
    }
    m_last_PCR = PCR;
    m_last_total = m_total;
}

std::optional<double> rate_meter::bitrate() const
{
    if (m_ticks == 0)
        return std::nullopt;
    const auto bits = static_cast<double>(m_packets_in_ticks * mpegcore::ts_packet_size * 8);
    return bits * static_cast<double>(ticks_a_second) / static_cast<double>(m_ticks);
}

std::optional<double> rate_meter::bitrate(std::uint16_t PID) const
{
    const auto whole = bitrate();
    if (!whole)
        return std::nullopt;
    return *whole * static_cast<double>(m_packets[PID & 0x1FFFU]) / static_cast<double>(m_total);
}
} // namespace tables
