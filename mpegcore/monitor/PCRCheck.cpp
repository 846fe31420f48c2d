// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/monitor/PCRCheck.h"

#include <algorithm>

namespace mpegcore
{
namespace
{
constexpr std::uint64_t ticks_to_ns(std::uint64_t ticks) { return ticks * 1000 / 27; }

constexpr std::uint64_t ticks_between(std::uint64_t from, std::uint64_t to)
{
    return to >= from ? to - from : to + PCR_range - from;
}
} // namespace

std::optional<std::uint64_t> PCR_of(const unsigned char* packet)
{
    constexpr unsigned has_field = 0x20, PCR_flag = 0x10, field_size_with_PCR = 7;
    if ((packet[3] & has_field) == 0 || packet[4] < field_size_with_PCR || (packet[5] & PCR_flag) == 0)
        return std::nullopt;
    const std::uint64_t base = std::uint64_t{packet[6]} << 25 | std::uint64_t{packet[7]} << 17 |
                               std::uint64_t{packet[8]} << 9 | std::uint64_t{packet[9]} << 1 | packet[10] >> 7;
    const std::uint64_t extension = (packet[10] & 1U) << 8 | packet[11];
    return (base * 300 + extension) % PCR_range;
}

void PCRCheck::put(const unsigned char* packet, std::uint64_t packets, std::uint64_t now, std::uint64_t since,
                   const MonitorLimits& limits, TR101290& checks)
{
    constexpr unsigned discontinuity_indicator = 0x80;
    // It may stand in a packet in front of the one with the PCR.
    if (packet[4] > 0 && (packet[5] & discontinuity_indicator) != 0)
        m_is_new_base = true;
    const auto PCR = PCR_of(packet);
    if (!PCR)
        return;
    const std::uint64_t interval = m_timer.absent_for(now, since);
    if (m_timer.feed(now, since, limits.PCR_repetition) == AbsenceTimer::News::became_late)
        checks.raise(Check::PCR_repetition_error, now, Finding::PCR_interval, interval / MonitorLimits::ms, m_PID);
    if (m_figures.PCRs != 0)
        m_longest_interval = std::max(m_longest_interval, interval);
    follow(*PCR, now, limits, checks);
    measure(*PCR, packets, now);
    ++m_figures.PCRs;
    m_figures.last = *PCR;
    m_figures.last_arrival = now;
    m_has_last = true;
}

void PCRCheck::follow(std::uint64_t PCR, std::uint64_t now, const MonitorLimits& limits, TR101290& checks)
{
    if (m_is_new_base) {
        forget();
        return;
    }
    if (!m_has_last || limits.PCR_step == 0)
        return;
    const std::uint64_t passed = ticks_to_ns(ticks_between(m_figures.last, PCR));
    if (passed <= limits.PCR_step)
        return;
    checks.raise(Check::PCR_discontinuity_indicator_error, now, Finding::PCR_step, passed / MonitorLimits::ms, m_PID);
    forget();
}

void PCRCheck::measure(std::uint64_t PCR, std::uint64_t packets, std::uint64_t now)
{
    if (!m_has_begin) {
        m_has_begin = true;
        m_begin_PCR = PCR;
        m_begin_packets = packets;
        m_begin_arrival = now;
        m_passed = 0;
        m_earliest = m_latest = 0;
        return;
    }
    m_passed = ticks_between(m_begin_PCR, PCR);
    m_last_packets = packets;
    const auto apart =
        static_cast<std::int64_t>(now - m_begin_arrival) - static_cast<std::int64_t>(ticks_to_ns(m_passed));
    m_earliest = std::min(m_earliest, apart);
    m_latest = std::max(m_latest, apart);
}

void PCRCheck::tick(std::uint64_t now, std::uint64_t since, const MonitorLimits& limits, TR101290& checks)
{
    const auto news = m_timer.look(now, since, limits.PCR_repetition);
    if (news == AbsenceTimer::News::became_late)
        checks.raise(Check::PCR_repetition_error, now, Finding::PCR_interval,
                     m_timer.absent_for(now, since) / MonitorLimits::ms, m_PID);
    else if (news == AbsenceTimer::News::still_late)
        checks.lasts(Check::PCR_repetition_error, now);
}

void PCRCheck::finish_second()
{
    m_figures.longest_interval = m_longest_interval;
    m_longest_interval = 0;
    if (m_has_begin && m_passed > 0) {
        constexpr std::uint64_t packet_bits = ts_packet_size * 8;
        m_figures.bit_rate = (m_last_packets - m_begin_packets) * packet_bits * PCR_ticks_per_second / m_passed;
        m_figures.arrival_jitter = static_cast<std::uint64_t>(m_latest - m_earliest);
    }
    m_has_begin = false;
}

void PCRCheck::forget()
{
    m_has_last = false;
    m_is_new_base = false;
    m_has_begin = false;
}
} // namespace mpegcore
