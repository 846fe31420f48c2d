// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/monitor/AbsenceTimer.h"
#include "mpegcore/monitor/MonitorLimits.h"
#include "mpegcore/monitor/PIDTable.h"
#include "mpegcore/monitor/TR101290.h"

#include <cstdint>
#include <optional>

namespace mpegcore
{
/// PCR of the 188 bytes of a packet (ISO/IEC 13818-1, 2.4.3.5), in 27 MHz, below PCR_range; none when it has none.
[[nodiscard]] std::optional<std::uint64_t> PCR_of(const unsigned char* packet);
inline constexpr std::uint64_t PCR_range = (std::uint64_t{1} << 33) * 300;
inline constexpr std::uint64_t PCR_ticks_per_second = 27'000'000;

/// Follows the PCRs of one PID, for the checks 2.3.a and 2.3.b and its figures.
class PCRCheck
{
public:
    explicit PCRCheck(std::uint16_t PID) : m_PID(PID) {}

    /// A packet of the PID with an adaptation field; `packets`: of the whole stream before it.
    void put(const unsigned char* packet, std::uint64_t packets, std::uint64_t now, std::uint64_t since,
             const MonitorLimits& limits, TR101290& checks);
    void tick(std::uint64_t now, std::uint64_t since, const MonitorLimits& limits, TR101290& checks);
    /// A second is over.
    void finish_second();
    /// What comes next need not follow.
    void forget();

    const PCRFigures& figures() const { return m_figures; }

private:
    void follow(std::uint64_t PCR, std::uint64_t now, const MonitorLimits& limits, TR101290& checks);
    void measure(std::uint64_t PCR, std::uint64_t packets, std::uint64_t now);

    std::uint16_t m_PID;
    PCRFigures m_figures;
    AbsenceTimer m_timer;
    bool m_has_last = false; ///< the last PCR and the next one have a time base in common
    bool m_is_new_base = false;
    // Of the second that runs.
    bool m_has_begin = false;
    std::uint64_t m_begin_PCR = 0, m_begin_packets = 0, m_begin_arrival = 0;
    std::uint64_t m_passed = 0, m_last_packets = 0; ///< up to the last PCR: 27 MHz
    std::int64_t m_earliest = 0, m_latest = 0;      ///< arrival against PCR, ns
    std::uint64_t m_longest_interval = 0;
};
} // namespace mpegcore
