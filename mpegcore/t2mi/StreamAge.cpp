// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/t2mi/StreamAge.h"

namespace mpegcore
{
namespace
{
constexpr std::uint64_t ticks_a_second = 90'000;
constexpr std::uint64_t tick_range = std::uint64_t{1} << 33;

bool carries_PCR(const unsigned char* packet)
{
    constexpr unsigned char adaptation_field = 0x20, PCR_flag = 0x10, error = 0x80, shortest = 7;
    return (packet[1] & error) == 0 && (packet[3] & adaptation_field) != 0 && packet[4] >= shortest &&
           (packet[5] & PCR_flag) != 0;
}
} // namespace

void StreamAge::put(const unsigned char* packet)
{
    if (++m_packets == packets_a_second) {
        ++m_seconds;
        m_packets = 0;
    }
    if (!carries_PCR(packet))
        return;
    const int PID = (packet[1] & 0x1F) << 8 | packet[2];
    if (m_PID != none && m_PID != PID)
        return;
    const std::uint64_t base = std::uint64_t{packet[6]} << 25 | std::uint64_t{packet[7]} << 17 |
                               std::uint64_t{packet[8]} << 9 | std::uint64_t{packet[9]} << 1 | packet[10] >> 7;
    const std::uint64_t since = (base + tick_range - m_last) % tick_range;
    // More, or back, is another time base.
    if (m_PID != none && since <= ticks_a_second)
        m_ticks += since;
    m_PID = PID;
    m_last = base;
    m_packets = 0;
}

std::chrono::milliseconds StreamAge::passed() const
{
    return std::chrono::milliseconds(m_seconds * 1000 + m_ticks * 1000 / ticks_a_second);
}
} // namespace mpegcore
