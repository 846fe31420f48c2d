// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/monitor/StreamAnalysis.h"

#include <algorithm>
#include <cmath>

// What StreamAnalysis finds when time passes.
namespace mpegcore
{
namespace
{
/// An unreferenced PID without packets for so long no longer fails, and is forgotten in the end.
constexpr std::uint64_t silence_to_pass = 5 * MonitorLimits::second, silence_to_forget = 60 * MonitorLimits::second;
} // namespace

std::uint64_t StreamAnalysis::since(const PIDState& state) const
{
    return std::max(m_sync.since(), state.referenced_at);
}

void StreamAnalysis::look(AbsenceTimer& timer, std::uint64_t from, std::uint64_t limit, Check check, std::uint16_t PID)
{
    const auto news = timer.look(m_last_packet, from, limit);
    if (news == AbsenceTimer::News::became_late)
        m_checks.raise(check, m_now, Finding::absent, timer.absent_for(m_last_packet, from) / MonitorLimits::ms, PID);
    else if (news == AbsenceTimer::News::still_late)
        m_checks.lasts(check, m_now);
}

void StreamAnalysis::tick(std::uint64_t now)
{
    advance(now);
    m_sync.tick(m_now);
    if (m_programs.needs_update(m_contents.packets, m_now))
        update_programs();
    if (m_sync.is_synchronised())
        tick_timers();
    if (m_second == 0)
        m_second = m_begin;
    if (m_now - m_second >= MonitorLimits::second)
        finish_second();
    m_checks.settle(m_now);
}

void StreamAnalysis::tick_timers()
{
    look(m_PAT, m_sync.since(), m_limits.PAT, Check::PAT_error_2, 0);
    if (m_last_scrambled != 0 && m_last_packet - m_last_scrambled <= m_limits.CAT) {
        m_checks.applies(Check::CAT_error);
        const std::uint64_t from = std::max(m_sync.since(), m_scrambled_since);
        const auto news = m_CAT.look(m_last_packet, from, m_limits.CAT);
        if (news == AbsenceTimer::News::became_late)
            m_checks.raise(Check::CAT_error, m_now, Finding::no_CAT,
                           m_CAT.absent_for(m_last_packet, from) / MonitorLimits::ms, 1);
        else if (news == AbsenceTimer::News::still_late)
            m_checks.lasts(Check::CAT_error, m_now);
    }
    m_SI.tick(m_last_packet, m_sync.since());
    for (const auto& state : m_contents.PIDs.states())
        tick_PID(*state);
}

void StreamAnalysis::tick_PID(PIDState& state)
{
    const std::uint16_t PID = state.figures.PID;
    if (state.figures.kind == PIDKind::PMT && state.has_sections)
        look(state.PMT, since(state), m_limits.PMT, Check::PMT_error_2, PID);
    if (state.PCR)
        state.PCR->tick(m_last_packet, since(state), m_limits, m_checks);
    if (state.PTS.has_come())
        look(state.PTS, since(state), m_limits.PTS_repetition, Check::PTS_error, PID);
    check_presence(state);
    check_reference(state);
}

void StreamAnalysis::check_presence(PIDState& state)
{
    const PIDKind kind = state.figures.kind;
    if (kind < PIDKind::video || kind > PIDKind::PCR)
        return;
    const bool is_steady = kind == PIDKind::video || kind == PIDKind::audio || state.PCR != nullptr;
    const std::uint64_t limit = is_steady ? m_limits.PID : m_limits.sparse_PID;
    const std::uint64_t absent = m_last_packet - std::max(state.figures.last_packet, since(state));
    if (limit == 0 || absent <= limit) {
        state.is_absent = false;
        return;
    }
    m_checks.applies(Check::PID_error);
    if (state.is_absent)
        m_checks.lasts(Check::PID_error, m_now);
    else
        m_checks.raise(Check::PID_error, m_now, Finding::absent, absent / MonitorLimits::ms, state.figures.PID);
    state.is_absent = true;
}

void StreamAnalysis::check_reference(PIDState& state)
{
    const std::uint64_t limit = m_limits.unreferenced_PID, last = state.figures.last_packet;
    const std::uint64_t from = std::max(state.unreferenced_at, m_no_strays_up_to);
    const bool came_unreferenced = last > from && last - from > limit;
    const bool is_stray = limit != 0 && m_knows_all_programs && !state.figures.is_referenced && came_unreferenced &&
                          m_last_packet - last <= silence_to_pass;
    if (is_stray && state.is_stray)
        m_checks.lasts(Check::Unreferenced_PID, m_now);
    else if (is_stray)
        m_checks.raise(Check::Unreferenced_PID, m_now, Finding::unreferenced, 0, state.figures.PID);
    state.is_stray = is_stray;
}

void StreamAnalysis::finish_second()
{
    constexpr std::uint64_t packet_bits = ts_packet_size * 8;
    const std::uint64_t passed = m_now - m_second;
    const auto rate = [passed](std::uint64_t packets) {
        // In double, for 2^64 is not far away.
        return static_cast<std::uint64_t>(
            std::llround(static_cast<double>(packets * packet_bits) * 1e9 / static_cast<double>(passed)));
    };
    m_second = m_now;
    m_contents.bit_rate = rate(m_contents.packets - m_packets_before);
    m_contents.null_bit_rate = rate(m_contents.null_packets - m_nulls_before);
    m_packets_before = m_contents.packets;
    m_nulls_before = m_contents.null_packets;
    for (const auto& state : m_contents.PIDs.states()) {
        state->figures.bit_rate = rate(state->figures.packets - state->packets_before);
        state->packets_before = state->figures.packets;
        if (state->PCR)
            state->PCR->finish_second();
    }
    forget_silent_PIDs();
}

void StreamAnalysis::forget_silent_PIDs()
{
    const auto& states = m_contents.PIDs.states();
    for (std::size_t at = states.size(); at-- > 0;) {
        const PIDFigures& figures = states[at]->figures;
        if (figures.is_referenced || m_last_packet - figures.last_packet <= silence_to_forget)
            continue;
        if (states[at]->sections)
            --m_section_PIDs;
        m_contents.PIDs.remove(figures.PID);
    }
}
} // namespace mpegcore
