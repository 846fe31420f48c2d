// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/monitor/StreamAnalysis.h"

#include "mpegcore/monitor/StreamKind.h"

#include <algorithm>

namespace mpegcore
{
namespace
{
constexpr unsigned transport_error_bit = 0x80, unit_start_bit = 0x40, field_bit = 0x20;

unsigned PID_of(const unsigned char* packet) { return (packet[1] & 0x1FU) << 8 | packet[2]; }
} // namespace

StreamAnalysis::StreamAnalysis(const MonitorLimits& limits, MonitorListener* listener)
    : m_limits(limits),
      m_listener(listener),
      m_sync(m_limits, m_checks),
      m_SI(m_limits, m_checks),
      m_programs(m_contents, m_limits, listener)
{
    if (limits.T2MI_PID >= 0)
        watch_T2MI(limits.T2MI_PID);
    for (const Check check : {Check::PAT_error_2, Check::Continuity_count_error, Check::Transport_error,
                              Check::CRC_error, Check::Unreferenced_PID})
        m_checks.applies(check);
}

void StreamAnalysis::set_limits(const MonitorLimits& limits)
{
    const std::size_t most_PIDs = m_limits.most_PIDs;
    const int T2MI_PID = m_limits.T2MI_PID;
    m_limits = limits;
    m_limits.most_PIDs = most_PIDs;
    m_limits.T2MI_PID = T2MI_PID;
}

void StreamAnalysis::advance(std::uint64_t now)
{
    // 0 stands for never; a clock that goes back stands still.
    m_now = std::max({now, m_now, std::uint64_t{1}});
    if (m_begin == 0)
        m_begin = m_now;
    const std::uint64_t silence = m_now - std::max(m_last_packet, m_begin);
    if (m_limits.input_loss != 0 && silence > m_limits.input_loss)
        m_sync.lose(Finding::input_gone, silence / MonitorLimits::ms, m_now);
}

void StreamAnalysis::put(const unsigned char* packets, std::size_t count, std::uint64_t now)
{
    advance(now);
    if (count != 0)
        m_last_packet = m_now;
    for (; count != 0; --count, packets += ts_packet_size)
        put_packet(packets);
}

void StreamAnalysis::put_packet(const unsigned char* packet)
{
    if (packet[0] != ts_sync_byte) {
        m_sync.put_bad(packet[0], m_now);
        return;
    }
    if (!m_sync.put_good(m_now))
        return;
    if (m_times != m_sync.times())
        restart();
    ++m_contents.packets;
    const unsigned PID = PID_of(packet);
    if ((packet[1] & transport_error_bit) != 0) {
        note_transport_error(PID);
        return;
    }
    if (PID == null_packet_PID) {
        ++m_contents.null_packets;
        return;
    }
    PIDState* state = m_contents.PIDs.state(PID);
    if (state == nullptr || state->figures.packets == 0) {
        state = meet(PID);
        if (state == nullptr) {
            ++m_contents.untold_packets;
            return;
        }
    }
    ++state->figures.packets;
    state->figures.last_packet = m_now;
    const bool is_scrambled = (packet[3] & 0xC0) != 0;
    state->figures.is_scrambled = is_scrambled;
    if (is_scrambled) {
        ++state->figures.scrambled_packets;
        ++m_contents.scrambled_packets;
        if (m_last_scrambled == 0 || m_now - m_last_scrambled > m_limits.CAT)
            m_scrambled_since = m_now;
        m_last_scrambled = m_now;
    }
    const auto verdict = state->continuity.follow(packet);
    if (verdict != ContinuityCheck::Verdict::good)
        note_continuity(*state, verdict);
    if (state->looks_closer)
        look_closer(*state, packet, is_scrambled, verdict == ContinuityCheck::Verdict::repeated);
}

/// Nothing else in the packet is to be relied on, its PID neither: it makes none known, and none present.
void StreamAnalysis::note_transport_error(unsigned PID)
{
    if (PIDState* const state = m_contents.PIDs.state(PID))
        ++state->figures.transport_errors;
    m_checks.raise(Check::Transport_error, m_now, Finding::transport_error_indicator, 0,
                   static_cast<std::uint16_t>(PID));
}

PIDState* StreamAnalysis::meet(unsigned PID)
{
    PIDState* const state = m_contents.PIDs.find_or_add(PID, m_limits.most_PIDs);
    if (state == nullptr || state->figures.is_referenced)
        return state;
    state->figures.kind = fixed_kind(static_cast<std::uint16_t>(PID));
    state->figures.is_referenced = state->figures.kind != PIDKind::unknown;
    state->referenced_at = state->unreferenced_at = m_now;
    set_roles(*state);
    return state;
}

void StreamAnalysis::restart()
{
    m_times = m_sync.times();
    m_last_scrambled = 0;
    if (!m_has_all_PMTs)
        m_no_strays_up_to = m_now + m_limits.PAT + m_limits.PMT;
    m_SI.forget_gaps();
    if (m_T2MI)
        m_T2MI->reset();
    for (const auto& state : m_contents.PIDs.states()) {
        state->continuity.forget();
        state->unreferenced_at = m_now;
        if (state->sections)
            state->sections->reset();
        if (state->PCR)
            state->PCR->forget();
    }
}

void StreamAnalysis::note_gap()
{
    if (m_T2MI)
        m_T2MI->reset();
    for (const auto& state : m_contents.PIDs.states())
        if (state->sections)
            state->sections->reset();
}

void StreamAnalysis::note_sync_loss(std::uint64_t now)
{
    advance(now);
    m_sync.lose(Finding::sync_by_receiver, 0, m_now);
}

void StreamAnalysis::note_continuity(PIDState& state, ContinuityCheck::Verdict verdict)
{
    using Verdict = ContinuityCheck::Verdict;
    if (verdict == Verdict::repeated) {
        ++state.figures.repeated_packets;
        return;
    }
    Finding finding = Finding::packets_missing;
    if (verdict == Verdict::repeated_again)
        finding = Finding::repeated_again;
    else if (verdict == Verdict::repeated_otherwise)
        finding = Finding::repeated_otherwise;
    else if (verdict == Verdict::counted_without_payload)
        finding = Finding::counted_without_payload;
    const unsigned missing = finding == Finding::packets_missing ? state.continuity.missing() : 0;
    ++state.figures.continuity_errors;
    state.figures.missing_packets += missing;
    m_contents.missing_packets += missing;
    m_checks.raise(Check::Continuity_count_error, m_now, finding, missing, state.figures.PID);
}

void StreamAnalysis::look_closer(PIDState& state, const unsigned char* packet, bool is_scrambled, bool is_repeated)
{
    if (state.PCR && (packet[3] & field_bit) != 0)
        state.PCR->put(packet, m_contents.packets - 1, m_now, since(state), m_limits, m_checks);
    if (state.has_sections) {
        if (is_scrambled)
            check_scrambling(state, packet);
        gather(state, packet);
    }
    if (state.is_T2MI)
        m_T2MI->put(packet, m_now);
    if (!state.has_PTS)
        return;
    if (is_scrambled)
        state.PTS = {}; // out of sight; waited for from the next one on
    else if (!is_repeated && (packet[1] & unit_start_bit) != 0)
        look_for_PTS(state, packet);
}

void StreamAnalysis::check_scrambling(const PIDState& state, const unsigned char* packet)
{
    const std::uint64_t transport_scrambling_control = packet[3] >> 6;
    if (state.figures.kind == PIDKind::PAT)
        m_checks.raise(Check::PAT_error_2, m_now, Finding::is_scrambled, transport_scrambling_control,
                       state.figures.PID);
    else if (state.figures.kind == PIDKind::PMT)
        m_checks.raise(Check::PMT_error_2, m_now, Finding::is_scrambled, transport_scrambling_control,
                       state.figures.PID);
}

void StreamAnalysis::look_for_PTS(PIDState& state, const unsigned char* packet)
{
    // ISO/IEC 13818-1, 2.4.3.7.
    constexpr std::size_t size_with_PTS = 14;
    constexpr unsigned PTS_flag = 0x80;
    TransportPayload payload;
    if (!payload.read(packet) || payload.size < size_with_PTS)
        return;
    const unsigned char* const PES = payload.data;
    const bool is_media = PES[3] == 0xBD || PES[3] == 0xFA || PES[3] == 0xFB || PES[3] == 0xFC || PES[3] == 0xFD ||
                          (PES[3] >= 0xC0 && PES[3] <= 0xEF);
    if (PES[0] != 0 || PES[1] != 0 || PES[2] != 1 || !is_media || (PES[7] & PTS_flag) == 0)
        return;
    m_checks.applies(Check::PTS_error);
    const std::uint64_t absent = state.PTS.absent_for(m_now, since(state));
    const std::uint64_t limit = state.PTS.has_come() ? m_limits.PTS_repetition : 0;
    if (state.PTS.feed(m_now, since(state), limit) == AbsenceTimer::News::became_late)
        m_checks.raise(Check::PTS_error, m_now, Finding::absent, absent / MonitorLimits::ms, state.figures.PID);
}

void StreamAnalysis::gather(PIDState& state, const unsigned char* packet)
{
    bool has_section = false;
    state.sections->put(packet, [&](const unsigned char* section, std::size_t size, SectionCheck check) {
        has_section = true;
        if (check == SectionCheck::good)
            take_section(state, section, size);
        else if (CRC_is_checked(section[0]))
            m_checks.raise(Check::CRC_error, m_now, Finding::CRC_32, section[0], state.figures.PID);
    });
    if (has_section && m_programs.needs_update(m_contents.packets, m_now))
        update_programs();
}
} // namespace mpegcore
