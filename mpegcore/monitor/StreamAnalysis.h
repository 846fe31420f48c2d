// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/monitor/AbsenceTimer.h"
#include "mpegcore/monitor/MonitorLimits.h"
#include "mpegcore/monitor/MonitorListener.h"
#include "mpegcore/monitor/PIDState.h"
#include "mpegcore/monitor/ProgramTables.h"
#include "mpegcore/monitor/SITimers.h"
#include "mpegcore/monitor/StreamContents.h"
#include "mpegcore/monitor/SyncCheck.h"
#include "mpegcore/monitor/T2MIWatch.h"
#include "mpegcore/monitor/TR101290.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

namespace mpegcore
{
/// Whether the check 2.2 looks at the CRC_32 of sections with this table_id.
[[nodiscard]] bool CRC_is_checked(std::uint8_t table_id);

/// What a StreamMonitor does; its functions are those of StreamMonitor.
class StreamAnalysis
{
public:
    StreamAnalysis(const MonitorLimits& limits, MonitorListener* listener);

    void put(const unsigned char* packets, std::size_t count, std::uint64_t now);
    void note_gap();
    void note_sync_loss(std::uint64_t now);
    void tick(std::uint64_t now);
    void set_limits(const MonitorLimits& limits);

    const TR101290& checks() const { return m_checks; }
    const StreamContents& contents() const { return m_contents; }
    std::optional<T2MIContents> T2MI() const { return m_T2MI ? std::optional(m_T2MI->contents()) : std::nullopt; }
    bool is_synchronised() const { return m_sync.is_synchronised(); }

private:
    void advance(std::uint64_t now);
    void restart();
    void put_packet(const unsigned char* packet);
    void note_transport_error(unsigned PID);
    void note_continuity(PIDState& state, ContinuityCheck::Verdict verdict);
    PIDState* meet(unsigned PID);
    void look_closer(PIDState& state, const unsigned char* packet, bool is_scrambled, bool is_repeated);
    void check_scrambling(const PIDState& state, const unsigned char* packet);
    void look_for_PTS(PIDState& state, const unsigned char* packet);
    void gather(PIDState& state, const unsigned char* packet);
    void take_section(PIDState& state, const unsigned char* section, std::size_t size);
    void feed(AbsenceTimer& timer, std::uint64_t from, std::uint64_t limit, Check check, std::uint16_t PID);
    void look(AbsenceTimer& timer, std::uint64_t from, std::uint64_t limit, Check check, std::uint16_t PID);
    void check_table(const PIDState& state, Check check, std::uint8_t table_id, std::uint8_t wanted);
    void tell_splice(const PIDState& state, const unsigned char* section, std::size_t size);
    void update_programs();
    void set_roles(PIDState& state);
    void note_PMTs();
    void choose_T2MI_PID();
    void watch_T2MI(int PID);

    void tick_timers();
    void tick_PID(PIDState& state);
    void check_presence(PIDState& state);
    void check_reference(PIDState& state);
    void finish_second();
    void forget_silent_PIDs();
    std::uint64_t since(const PIDState& state) const;

    MonitorLimits m_limits;
    MonitorListener* m_listener;
    TR101290 m_checks;
    StreamContents m_contents;
    SyncCheck m_sync;
    SITimers m_SI;
    ProgramTables m_programs;

    std::uint64_t m_now = 0;             ///< of the call at hand
    std::uint64_t m_last_packet = 0;     ///< when the last one came; 0: none yet
    std::uint64_t m_begin = 0;           ///< of the first call
    std::uint64_t m_times = 0;           ///< synchronised, as far as it was followed
    std::size_t m_section_PIDs = 0;      ///< without those of fixed use
    bool m_knows_all_programs = true;    ///< no bound keeps the PMT of one away
    bool m_has_all_PMTs = false;         ///< of the PAT that there is
    std::uint64_t m_no_strays_up_to = 0; ///< PMTs may be on their way
    std::uint64_t m_last_scrambled = 0;  ///< when a scrambled packet came last; 0: none yet
    std::uint64_t m_scrambled_since = 0; ///< without a pause of the limit for the CAT
    AbsenceTimer m_PAT, m_CAT;
    std::unique_ptr<T2MIWatch> m_T2MI;

    std::uint64_t m_second = 0; ///< when the one that runs began; 0: none does
    std::uint64_t m_packets_before = 0, m_nulls_before = 0;
};
} // namespace mpegcore
