// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/monitor/StreamAnalysis.h"
#include "mpegcore/monitor/StreamKind.h"
#include "mpegcore/monitor/TableID.h"

#include <algorithm>
#include <utility>

// What StreamAnalysis does with sections.
namespace mpegcore
{
namespace
{
constexpr std::uint64_t PTS_range = std::uint64_t{1} << 33;

/// The time that a command names, if it does.
std::optional<std::uint64_t> splice_time(const CSpliceInfoSection& section)
{
    if (!section.is_readable())
        return std::nullopt;
    const SpliceTime* time = nullptr;
    if (section.splice_command_type == CSpliceInfoSection::time_signal)
        time = &section.time;
    else if (section.splice_command_type == CSpliceInfoSection::splice_insert &&
             section.insert.splice_event_cancel_indicator == 0 && section.insert.program_splice_flag != 0 &&
             section.insert.splice_immediate_flag == 0)
        time = &section.insert.splice_time;
    if (time == nullptr || time->time_specified_flag == 0)
        return std::nullopt;
    return (time->pts_time + section.pts_adjustment) % PTS_range;
}

/// How far `time` is ahead of `PCR_base`, both 90 kHz modulo PTS_range.
std::int64_t nanoseconds_ahead(std::uint64_t time, std::uint64_t PCR_base)
{
    const std::uint64_t ticks = (time + PTS_range - PCR_base) % PTS_range;
    const std::int64_t ahead = ticks < PTS_range / 2
                                   ? static_cast<std::int64_t>(ticks)
                                   : static_cast<std::int64_t>(ticks) - static_cast<std::int64_t>(PTS_range);
    return ahead * 100'000 / 9;
}
} // namespace

bool CRC_is_checked(std::uint8_t table_id)
{
    return table_id <= TableID::PMT || (table_id >= TableID::NIT_actual && table_id <= TableID::SDT_actual) ||
           table_id == TableID::SDT_other || table_id == TableID::BAT ||
           (table_id >= TableID::EIT_actual && table_id <= TableID::last_EIT) || table_id == TableID::TOT;
}

void StreamAnalysis::feed(AbsenceTimer& timer, std::uint64_t from, std::uint64_t limit, Check check, std::uint16_t PID)
{
    const std::uint64_t absent = timer.absent_for(m_now, from);
    if (timer.feed(m_now, from, limit) == AbsenceTimer::News::became_late)
        m_checks.raise(check, m_now, Finding::absent, absent / MonitorLimits::ms, PID);
}

void StreamAnalysis::check_table(const PIDState& state, Check check, std::uint8_t table_id, std::uint8_t wanted)
{
    if (table_id != wanted)
        m_checks.raise(check, m_now, Finding::foreign_table, table_id, state.figures.PID);
}

void StreamAnalysis::take_section(PIDState& state, const unsigned char* section, std::size_t size)
{
    const SectionHeader header(section, size);
    const std::uint8_t table_id = header.table_id();
    const bool is_current = !header.has_extension() || header.current_next_indicator();
    const std::uint16_t PID = state.figures.PID;
    bool is_wanted = false; // where the tables of programs are to come
    switch (state.figures.kind) {
    case PIDKind::PAT:
        check_table(state, Check::PAT_error_2, table_id, TableID::PAT);
        is_wanted = table_id == TableID::PAT;
        if (is_wanted && is_current)
            feed(m_PAT, since(state), m_limits.PAT, Check::PAT_error_2, PID);
        break;
    case PIDKind::CAT:
        m_checks.applies(Check::CAT_error);
        check_table(state, Check::CAT_error, table_id, TableID::CAT);
        is_wanted = table_id == TableID::CAT;
        if (is_wanted && is_current)
            static_cast<void>(m_CAT.feed(m_now, since(state), 0));
        break;
    case PIDKind::PMT:
        is_wanted = table_id == TableID::PMT;
        if (is_wanted && is_current)
            feed(state.PMT, since(state), m_limits.PMT, Check::PMT_error_2, PID);
        break;
    case PIDKind::TSDT:
        is_wanted = table_id == 0x03;
        break;
    case PIDKind::NIT:
    case PIDKind::SDT_BAT:
    case PIDKind::EIT:
    case PIDKind::RST:
    case PIDKind::TDT_TOT:
        m_SI.put(state.figures.kind, PID, header, m_now, m_sync.since());
        is_wanted = table_id >= 0x40 && table_id <= 0x4A;
        break;
    case PIDKind::SCTE35:
        if (table_id == TableID::splice_info)
            tell_splice(state, section, size);
        break;
    default:
        break;
    }
    if (is_wanted)
        m_programs.put(PID, section, size, m_now);
}

void StreamAnalysis::tell_splice(const PIDState& state, const unsigned char* section, std::size_t size)
{
    if (m_listener == nullptr)
        return;
    CSpliceInfoSection read(nullptr, 1); // nothing is rendered
    // Reading stores nothing.
    CSpliceInfoSection::Reader reader(const_cast<unsigned char*>(section), size);
    if (!read.read(reader))
        return;
    SpliceNews news{state.figures.PID, 0, read, m_now, splice_time(read), std::nullopt};
    for (const Service& service : m_contents.services) {
        const auto& streams = service.streams;
        if (std::none_of(streams.begin(), streams.end(), [&](const auto& stream) { return stream.PID == news.PID; }))
            continue;
        news.program_number = service.program_number;
        const PIDFigures* const clock = m_contents.PIDs.find(service.PCR_PID);
        if (news.pts_time && clock != nullptr && clock->PCR != nullptr && clock->PCR->PCRs != 0)
            news.ahead = nanoseconds_ahead(*news.pts_time, clock->PCR->last / 300);
        break;
    }
    m_listener->on_splice(news);
}

void StreamAnalysis::update_programs()
{
    m_programs.update(m_contents.packets, m_last_packet);
    choose_T2MI_PID();
    m_knows_all_programs = !m_programs.is_at_a_bound();
    note_PMTs();
    for (const auto& state : m_contents.PIDs.states()) {
        set_roles(*state);
        if (state->figures.kind == PIDKind::PMT && !state->has_sections)
            m_knows_all_programs = false;
    }
}

/// While PMTs are on their way nobody can tell which PIDs they will name.
void StreamAnalysis::note_PMTs()
{
    const auto& services = m_contents.services;
    const bool has_all = m_contents.has_PAT && std::all_of(services.begin(), services.end(),
                                                           [](const Service& service) { return service.has_PMT; });
    if (has_all != std::exchange(m_has_all_PMTs, has_all))
        m_no_strays_up_to = has_all ? std::min(m_no_strays_up_to, m_last_packet) : m_last_packet + m_limits.PMT;
}

void StreamAnalysis::choose_T2MI_PID()
{
    if (m_limits.T2MI_PID >= 0)
        return;
    int chosen_PID = T2MIDemultiplexer::any;
    for (const Service& service : m_contents.services)
        for (const ElementaryStream& stream : service.streams) {
            const bool is_in_use = m_T2MI && m_T2MI->PID() == stream.PID;
            if (stream.kind == PIDKind::T2MI && (chosen_PID == T2MIDemultiplexer::any || is_in_use))
                chosen_PID = stream.PID;
        }
    watch_T2MI(chosen_PID);
}

void StreamAnalysis::watch_T2MI(int PID)
{
    if (PID < 0 || PID >= static_cast<int>(null_packet_PID)) {
        m_T2MI.reset();
        for (const CheckName& name : TR101290_checks)
            if (name.priority == 0)
                m_checks.applies_no_more(name.check);
    } else if (!m_T2MI || m_T2MI->PID() != PID) {
        m_T2MI = std::make_unique<T2MIWatch>(static_cast<std::uint16_t>(PID), m_checks);
    }
}

void StreamAnalysis::set_roles(PIDState& state)
{
    const PIDKind kind = state.figures.kind;
    const bool is_SI = kind >= PIDKind::PAT && kind <= PIDKind::TDT_TOT;
    const bool wants_sections = is_SI || kind == PIDKind::PMT || kind == PIDKind::SCTE35;
    // Those of fixed use have their place in any case. A NIT may be elsewhere.
    const bool is_fixed = is_SI && fixed_kind(state.figures.PID) == kind;
    if (wants_sections && !state.sections && (is_fixed || m_section_PIDs < m_limits.most_section_PIDs)) {
        state.sections = std::make_unique<SectionGatherer>();
        m_section_PIDs += is_fixed ? 0 : 1;
    } else if (!wants_sections && state.sections) {
        state.sections.reset();
        --m_section_PIDs;
    }
    if (kind != PIDKind::PMT)
        state.PMT = {};
    if (!state.has_PTS)
        state.PTS = {};
    if (!state.is_PCR_PID) {
        state.PCR.reset();
    } else if (!state.PCR) {
        state.PCR = std::make_unique<PCRCheck>(state.figures.PID);
        m_checks.applies(Check::PCR_repetition_error);
        m_checks.applies(Check::PCR_discontinuity_indicator_error);
    }
    state.figures.PCR = state.PCR ? &state.PCR->figures() : nullptr;
    state.is_T2MI = m_T2MI && m_T2MI->PID() == state.figures.PID;
    state.has_sections = state.sections != nullptr;
    state.looks_closer = state.has_sections || state.has_PTS || state.PCR != nullptr || state.is_T2MI;
    if (kind == PIDKind::PMT)
        m_checks.applies(Check::PMT_error_2);
    if (state.has_PTS || state.PCR)
        m_checks.applies(Check::PID_error);
}
} // namespace mpegcore
