// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/monitor/SITimers.h"

#include "mpegcore/monitor/TableID.h"
#include "mpegcore/sections/TablePID.h"

#include <iterator>

namespace mpegcore
{
namespace
{
using News = AbsenceTimer::News;
using Limit = std::uint64_t MonitorLimits::*;

constexpr int any_section = -1;
/// What nobody has to send and has not come for so many of its limits is taken to be gone for good.
constexpr std::uint64_t limits_to_forget = 6;

/// A table, or one section of it, that a check of its own waits for.
struct TableRow
{
    Check check;
    std::uint8_t table_id;
    int section_number;
    std::uint16_t PID;
    Limit limit;
    bool is_expected; ///< if SI_is_expected
};

constexpr std::array table_rows{
    TableRow{Check::NIT_actual_error, TableID::NIT_actual, any_section, TablePID::NIT, &MonitorLimits::NIT_actual,
             true},
    TableRow{Check::SDT_actual_error, TableID::SDT_actual, any_section, TablePID::SDT, &MonitorLimits::SDT_actual,
             true},
    TableRow{Check::EIT_actual_error, TableID::EIT_actual, 0, TablePID::EIT, &MonitorLimits::EIT_actual, true},
    TableRow{Check::EIT_actual_error, TableID::EIT_actual, 1, TablePID::EIT, &MonitorLimits::EIT_actual, true},
    TableRow{Check::EIT_other_error, TableID::EIT_other, 0, TablePID::EIT, &MonitorLimits::EIT_other, false},
    TableRow{Check::EIT_other_error, TableID::EIT_other, 1, TablePID::EIT, &MonitorLimits::EIT_other, false},
    TableRow{Check::TDT_error, TableID::TDT, any_section, TablePID::TDT, &MonitorLimits::TDT, true},
    TableRow{Check::RST_error, TableID::RST, any_section, TablePID::RST, nullptr, false},
};

/// What 3.2 waits for once it has come.
struct RepeatedRow
{
    std::uint8_t first, last; ///< table_id
    std::uint16_t PID;
    Limit limit;
    bool is_expected = false; ///< if SI_is_expected
};

constexpr std::array repeated_rows{
    RepeatedRow{TableID::NIT_actual, TableID::NIT_actual, TablePID::NIT, &MonitorLimits::NIT_actual, true},
    RepeatedRow{TableID::NIT_other, TableID::NIT_other, TablePID::NIT, &MonitorLimits::NIT_other},
    RepeatedRow{TableID::SDT_actual, TableID::SDT_actual, TablePID::SDT, &MonitorLimits::SDT_actual, true},
    RepeatedRow{TableID::SDT_other, TableID::SDT_other, TablePID::SDT, &MonitorLimits::SDT_other},
    RepeatedRow{TableID::BAT, TableID::BAT, TablePID::SDT, &MonitorLimits::BAT},
    RepeatedRow{TableID::EIT_actual, TableID::EIT_actual, TablePID::EIT, &MonitorLimits::EIT_actual, true},
    RepeatedRow{TableID::EIT_other, TableID::EIT_other, TablePID::EIT, &MonitorLimits::EIT_other},
    // Each table_id holds the events of four days.
    RepeatedRow{0x50, 0x51, TablePID::EIT, &MonitorLimits::EIT_schedule_near},
    RepeatedRow{0x52, 0x5F, TablePID::EIT, &MonitorLimits::EIT_schedule_later},
    RepeatedRow{0x60, 0x61, TablePID::EIT, &MonitorLimits::EIT_schedule_near},
    RepeatedRow{0x62, 0x6F, TablePID::EIT, &MonitorLimits::EIT_schedule_later},
    RepeatedRow{TableID::TDT, TableID::TDT, TablePID::TDT, &MonitorLimits::TDT, true},
    RepeatedRow{TableID::TOT, TableID::TOT, TablePID::TDT, &MonitorLimits::TOT},
};

struct PIDRow
{
    Check check;
    std::uint8_t first, last; ///< table_ids that may come, beside ST and `also`
    std::uint8_t also;
};

/// By PIDKind from NIT on.
constexpr std::array PID_rows{
    PIDRow{Check::NIT_actual_error, TableID::NIT_actual, TableID::NIT_other, TableID::NIT_other},
    PIDRow{Check::SDT_actual_error, TableID::SDT_actual, TableID::SDT_actual, TableID::SDT_other},
    PIDRow{Check::EIT_actual_error, TableID::EIT_actual, TableID::last_EIT, TableID::last_EIT},
    PIDRow{Check::RST_error, TableID::RST, TableID::RST, TableID::RST},
    PIDRow{Check::TDT_error, TableID::TDT, TableID::TDT, TableID::TOT},
};

bool is_foreign(const PIDRow& row, unsigned table_id)
{
    const bool is_BAT = row.check == Check::SDT_actual_error && table_id == TableID::BAT;
    return (table_id < row.first || table_id > row.last) && table_id != row.also && table_id != TableID::ST && !is_BAT;
}

constexpr std::uint64_t table_value(unsigned table_id, std::uint64_t absent)
{
    return std::uint64_t{table_id} << 32 | absent / MonitorLimits::ms;
}

std::uint8_t number_of(const SectionHeader& section) { return section.has_extension() ? section.section_number() : 0; }

bool is_gone(const AbsenceTimer& timer, std::uint64_t now, std::uint64_t since, std::uint64_t limit)
{
    return limit != 0 && timer.absent_for(now, since) / limits_to_forget > limit;
}

/// Table, extension and number of a section in one number.
std::uint32_t key_of(const SectionHeader& section)
{
    const std::uint32_t extension = section.has_extension() ? section.table_id_extension() : 0;
    return std::uint32_t{section.table_id()} << 24 | extension << 8 | number_of(section);
}
} // namespace

void SITimers::put(PIDKind kind, std::uint16_t PID, const SectionHeader& section, std::uint64_t now,
                   std::uint64_t since)
{
    const PIDRow& row = PID_rows.at(static_cast<std::size_t>(kind) - static_cast<std::size_t>(PIDKind::NIT));
    if (is_foreign(row, section.table_id())) {
        m_checks.applies(row.check);
        m_checks.raise(row.check, now, Finding::foreign_table, section.table_id(), PID);
        return;
    }
    if (section.has_extension() && !section.current_next_indicator())
        return;
    check_gap(row.check, PID, section, now);
    feed_tables(section, now, since);
    feed_sections(section, now, since);
    feed_present_following(section, now, since);
}

void SITimers::check_gap(Check check, std::uint16_t PID, const SectionHeader& section, std::uint64_t now)
{
    const unsigned table_id = section.table_id();
    const bool has_gap = table_id == TableID::NIT_actual || table_id == TableID::SDT_actual ||
                         table_id == TableID::EIT_actual || table_id == TableID::TDT || table_id == TableID::RST;
    if (!has_gap || m_limits.section_gap == 0)
        return;
    const std::uint32_t key = key_of(section);
    const auto found = m_gaps.find(key);
    if (found == m_gaps.end()) {
        if (m_gaps.size() >= most_sections)
            m_gaps.clear();
        m_gaps.emplace(key, now);
        return;
    }
    const std::uint64_t gap = now - found->second;
    found->second = now;
    if (gap < m_limits.section_gap)
        m_checks.raise(check, now, Finding::too_close, gap / 1000, PID);
}

void SITimers::feed_tables(const SectionHeader& section, std::uint64_t now, std::uint64_t since)
{
    static_assert(table_rows.size() == tables && repeated_rows.size() == repeated_tables);
    const unsigned table_id = section.table_id(), number = number_of(section);
    for (std::size_t at = 0; at < tables; ++at) {
        const TableRow& row = table_rows[at];
        if (row.table_id != table_id ||
            (row.section_number != any_section && row.section_number != static_cast<int>(number)))
            continue;
        const bool is_expected = (row.is_expected && m_limits.SI_is_expected) || m_tables[at].has_come();
        m_checks.applies(row.check);
        const std::uint64_t absent = m_tables[at].absent_for(now, since);
        const std::uint64_t limit = row.limit == nullptr || !is_expected ? 0 : m_limits.*row.limit;
        if (m_tables[at].feed(now, since, limit) == News::became_late)
            m_checks.raise(row.check, now, Finding::table_absent, table_value(table_id, absent), row.PID);
    }
    for (std::size_t at = 0; at < repeated_tables; ++at) {
        const RepeatedRow& row = repeated_rows[at];
        if (table_id < row.first || table_id > row.last)
            continue;
        m_checks.applies(Check::SI_repetition_error);
        const std::uint64_t absent = m_repeated[at].absent_for(now, since);
        const std::uint64_t limit = m_repeated[at].has_come() ? m_limits.*row.limit : 0;
        if (m_repeated[at].feed(now, since, limit) == News::became_late)
            m_checks.raise(Check::SI_repetition_error, now, Finding::table_absent, table_value(table_id, absent),
                           row.PID);
    }
}

void SITimers::feed_sections(const SectionHeader& section, std::uint64_t now, std::uint64_t since)
{
    const unsigned table_id = section.table_id();
    if (table_id != TableID::NIT_other && table_id != TableID::SDT_other)
        return;
    const bool is_NIT = table_id == TableID::NIT_other;
    const Check check = is_NIT ? Check::NIT_other_error : Check::SDT_other_error;
    m_checks.applies(check);
    const std::uint32_t key = key_of(section);
    const bool is_new = m_sections.find(key) == m_sections.end();
    if (is_new && m_sections.size() >= most_sections)
        return;
    AbsenceTimer& timer = m_sections[key];
    const std::uint64_t absent = timer.absent_for(now, since);
    const std::uint64_t limit = is_NIT ? m_limits.NIT_other : m_limits.SDT_other;
    if (timer.feed(now, since, is_new ? 0 : limit) == News::became_late)
        m_checks.raise(check, now, Finding::section_absent,
                       std::uint64_t{table_id} << 40 | std::uint64_t{number_of(section)} << 32 |
                           absent / MonitorLimits::ms,
                       is_NIT ? TablePID::NIT : TablePID::SDT);
}

void SITimers::feed_present_following(const SectionHeader& section, std::uint64_t now, std::uint64_t since)
{
    const unsigned table_id = section.table_id();
    if ((table_id != TableID::EIT_actual && table_id != TableID::EIT_other) || !section.is_EIT() ||
        section.section_number() > 1)
        return;
    m_checks.applies(Check::EIT_PF_error);
    const bool is_actual = table_id == TableID::EIT_actual;
    const std::uint64_t key = std::uint64_t{section.table_id_extension()} << 33 |
                              std::uint64_t{section.EIT_transport_stream_id()} << 17 |
                              std::uint64_t{section.EIT_original_network_id()} << 1 | (is_actual ? 1U : 0U);
    auto found = m_present_following.find(key);
    if (found == m_present_following.end()) {
        if (m_present_following.size() >= most_sections)
            return;
        found = m_present_following.emplace(key, PresentFollowing{}).first;
        found->second.service_id = section.table_id_extension();
        found->second.is_actual = is_actual;
        found->second.begin = now;
    }
    PresentFollowing& table = found->second;
    const unsigned number = section.section_number();
    static_cast<void>(table.sections[number].feed(now, since, 0));
    table.alone.at(1 - number) = 0;
    ++table.alone.at(number);
}

void SITimers::tick(std::uint64_t now, std::uint64_t since)
{
    for (std::size_t at = 0; at < tables; ++at) {
        const TableRow& row = table_rows[at];
        const bool is_expected = row.is_expected && m_limits.SI_is_expected;
        if (row.limit == nullptr || (!is_expected && !m_tables[at].has_come()))
            continue;
        m_checks.applies(row.check);
        const News news = m_tables[at].look(now, since, m_limits.*row.limit);
        if (news == News::became_late)
            m_checks.raise(row.check, now, Finding::table_absent,
                           table_value(row.table_id, m_tables[at].absent_for(now, since)), row.PID);
        else if (news == News::still_late)
            m_checks.lasts(row.check, now);
        if (!is_expected && is_gone(m_tables[at], now, since, m_limits.*row.limit))
            m_tables[at] = {};
    }
    for (std::size_t at = 0; at < repeated_tables; ++at) {
        const RepeatedRow& row = repeated_rows[at];
        if (!m_repeated[at].has_come())
            continue;
        const News news = m_repeated[at].look(now, since, m_limits.*row.limit);
        if (news == News::became_late)
            m_checks.raise(Check::SI_repetition_error, now, Finding::table_absent,
                           table_value(row.first, m_repeated[at].absent_for(now, since)), row.PID);
        else if (news == News::still_late)
            m_checks.lasts(Check::SI_repetition_error, now);
        if (!(row.is_expected && m_limits.SI_is_expected) && is_gone(m_repeated[at], now, since, m_limits.*row.limit))
            m_repeated[at] = {};
    }
    tick_sections(now, since);
    tick_present_following(now, since);
}

void SITimers::tick_sections(std::uint64_t now, std::uint64_t since)
{
    for (auto at = m_sections.begin(); at != m_sections.end();) {
        const unsigned table_id = at->first >> 24, number = at->first & 0xFFU;
        const bool is_NIT = table_id == TableID::NIT_other;
        const Check check = is_NIT ? Check::NIT_other_error : Check::SDT_other_error;
        const std::uint64_t limit = is_NIT ? m_limits.NIT_other : m_limits.SDT_other;
        const News news = at->second.look(now, since, limit);
        if (news == News::became_late)
            m_checks.raise(check, now, Finding::section_absent,
                           std::uint64_t{table_id} << 40 | std::uint64_t{number} << 32 |
                               at->second.absent_for(now, since) / MonitorLimits::ms,
                           is_NIT ? TablePID::NIT : TablePID::SDT);
        else if (news == News::still_late)
            m_checks.lasts(check, now);
        at = is_gone(at->second, now, since, limit) ? m_sections.erase(at) : std::next(at);
    }
}

void SITimers::tick_present_following(std::uint64_t now, std::uint64_t since)
{
    for (auto at = m_present_following.begin(); at != m_present_following.end();) {
        PresentFollowing& table = at->second;
        const std::uint64_t limit = table.is_actual ? m_limits.EIT_actual : m_limits.EIT_other;
        const std::uint64_t from = std::max(since, table.begin);
        const bool is_present_late = table.sections[0].look(now, from, limit) != News::in_time;
        const bool is_following_late = table.sections[1].look(now, from, limit) != News::in_time;
        if (is_present_late && is_following_late) {
            at = m_present_following.erase(at); // the whole table is gone
            continue;
        }
        // A table that is slow as a whole is late with one section first; its sections come in turn.
        constexpr std::uint64_t no_turn = 2;
        const bool is_incomplete =
            is_present_late != is_following_late && table.alone[is_present_late ? 1 : 0] >= no_turn;
        if (is_incomplete && !table.is_incomplete)
            m_checks.raise(Check::EIT_PF_error, now, Finding::pf_incomplete,
                           std::uint64_t{table.service_id} << 8 | (is_present_late ? 0U : 1U), TablePID::EIT);
        else if (is_incomplete)
            m_checks.lasts(Check::EIT_PF_error, now);
        table.is_incomplete = is_incomplete;
        ++at;
    }
}
} // namespace mpegcore
