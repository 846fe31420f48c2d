// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/monitor/AbsenceTimer.h"
#include "mpegcore/monitor/MonitorLimits.h"
#include "mpegcore/monitor/PIDTable.h"
#include "mpegcore/monitor/TR101290.h"
#include "mpegcore/sections/SectionHeader.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <unordered_map>

namespace mpegcore
{
/// The checks 3.1, 3.2 and 3.5 to 3.8 on the sections of DVB SI: how often they come, and on which PIDs.
///
/// Memory: about 64 bytes for each section that comes on its own, of `most_sections` at most in each of three lists.
class SITimers
{
public:
    static constexpr std::size_t most_sections = 2048;

    SITimers(const MonitorLimits& limits, TR101290& checks) : m_limits(limits), m_checks(checks) {}

    /// A section of a PID whose kind is NIT, SDT_BAT, EIT, RST or TDT_TOT, whose CRC_32 is good or that has none.
    /// Before `since` nothing was expected.
    void put(PIDKind kind, std::uint16_t PID, const SectionHeader& section, std::uint64_t now, std::uint64_t since);
    void tick(std::uint64_t now, std::uint64_t since);
    /// What comes next need not keep its distance from what came.
    void forget_gaps() { m_gaps.clear(); }

private:
    struct PresentFollowing
    {
        std::uint16_t service_id = 0;
        bool is_actual = false;
        std::array<AbsenceTimer, 2> sections; ///< by section_number
        std::array<std::uint64_t, 2> alone{}; ///< how often each came since the other one did
        std::uint64_t begin = 0;              ///< when it came first
        bool is_incomplete = false;           ///< told so
    };

    void feed_tables(const SectionHeader& section, std::uint64_t now, std::uint64_t since);
    void feed_sections(const SectionHeader& section, std::uint64_t now, std::uint64_t since);
    void feed_present_following(const SectionHeader& section, std::uint64_t now, std::uint64_t since);
    void check_gap(Check check, std::uint16_t PID, const SectionHeader& section, std::uint64_t now);
    void tick_sections(std::uint64_t now, std::uint64_t since);
    void tick_present_following(std::uint64_t now, std::uint64_t since);

    static constexpr std::size_t tables = 8, repeated_tables = 13;

    const MonitorLimits& m_limits;
    TR101290& m_checks;
    std::array<AbsenceTimer, tables> m_tables;            ///< with checks of their own
    std::array<AbsenceTimer, repeated_tables> m_repeated; ///< of 3.2
    std::unordered_map<std::uint32_t, std::uint64_t> m_gaps;
    std::unordered_map<std::uint32_t, AbsenceTimer> m_sections; ///< of NIT other and SDT other
    std::unordered_map<std::uint64_t, PresentFollowing> m_present_following;
};
} // namespace mpegcore
