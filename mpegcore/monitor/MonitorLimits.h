// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace mpegcore
{
/// What a StreamMonitor holds a stream against. Times are in nanoseconds; at first they are those of ETSI TR 101 290
/// and ETSI TS 101 211. A time of 0 turns the check that it belongs to off.
struct MonitorLimits
{
    static constexpr std::uint64_t ms = 1'000'000, second = 1000 * ms;

    unsigned sync_bytes_lost = 2;          ///< wrong sync bytes in a row: synchronisation is lost (1.1)
    unsigned sync_bytes_regained = 5;      ///< good ones in a row: it is back
    std::uint64_t input_loss = 1 * second; ///< without a packet: it is lost, too

    std::uint64_t PAT = 500 * ms;                   ///< 1.3.a
    std::uint64_t PMT = 500 * ms;                   ///< 1.5.a
    std::uint64_t PID = 5 * second;                 ///< 1.6, for video, audio and PCRs
    std::uint64_t sparse_PID = 0;                   ///< 1.6, for what else PMTs name
    std::uint64_t PCR_repetition = 100 * ms;        ///< 2.3.a
    std::uint64_t PCR_step = 100 * ms;              ///< 2.3.b, from one PCR to the next
    std::uint64_t PTS_repetition = 700 * ms;        ///< 2.5
    std::uint64_t CAT = 10 * second;                ///< 2.6, while something is scrambled
    std::uint64_t unreferenced_PID = 500 * ms;      ///< 3.4.a
    std::uint64_t section_gap = 25 * ms;            ///< at least between two sections with the same numbers
    std::uint64_t NIT_actual = 10 * second;         ///< 3.1.a, 3.2
    std::uint64_t NIT_other = 10 * second;          ///< 3.1.b, 3.2
    std::uint64_t SDT_actual = 2 * second;          ///< 3.5.a, 3.2
    std::uint64_t SDT_other = 10 * second;          ///< 3.5.b, 3.2
    std::uint64_t BAT = 10 * second;                ///< 3.2
    std::uint64_t EIT_actual = 2 * second;          ///< 3.6.a, 3.6.c, 3.2
    std::uint64_t EIT_other = 10 * second;          ///< 3.6.b, 3.6.c, 3.2
    std::uint64_t EIT_schedule_near = 10 * second;  ///< 3.2, of the first 8 days
    std::uint64_t EIT_schedule_later = 30 * second; ///< 3.2
    std::uint64_t TDT = 30 * second;                ///< 3.8, 3.2
    std::uint64_t TOT = 30 * second;                ///< 3.2

    /// Whether NIT, SDT, EIT and TDT have to be there, as in every DVB stream. Without, they are waited for from the
    /// first one on.
    bool SI_is_expected = true;

    /// PID of T2-MI packets that no T2-MI descriptor names, or -1.
    int T2MI_PID = -1;

    std::size_t most_PIDs = 2048;        ///< that are told apart; the packets of others are counted together
    std::size_t most_section_PIDs = 128; ///< whose sections are gathered
};

/// A limit that is a time, by the name that it has above.
struct MonitorTimeLimit
{
    std::string_view name;
    std::uint64_t MonitorLimits::*time;
};

/// All of them, for programs that let their users set them.
inline constexpr std::array MonitorTimeLimits{
    MonitorTimeLimit{"input_loss", &MonitorLimits::input_loss},
    MonitorTimeLimit{"PAT", &MonitorLimits::PAT},
    MonitorTimeLimit{"PMT", &MonitorLimits::PMT},
    MonitorTimeLimit{"PID", &MonitorLimits::PID},
    MonitorTimeLimit{"sparse_PID", &MonitorLimits::sparse_PID},
    MonitorTimeLimit{"PCR_repetition", &MonitorLimits::PCR_repetition},
    MonitorTimeLimit{"PCR_step", &MonitorLimits::PCR_step},
    MonitorTimeLimit{"PTS_repetition", &MonitorLimits::PTS_repetition},
    MonitorTimeLimit{"CAT", &MonitorLimits::CAT},
    MonitorTimeLimit{"unreferenced_PID", &MonitorLimits::unreferenced_PID},
    MonitorTimeLimit{"section_gap", &MonitorLimits::section_gap},
    MonitorTimeLimit{"NIT_actual", &MonitorLimits::NIT_actual},
    MonitorTimeLimit{"NIT_other", &MonitorLimits::NIT_other},
    MonitorTimeLimit{"SDT_actual", &MonitorLimits::SDT_actual},
    MonitorTimeLimit{"SDT_other", &MonitorLimits::SDT_other},
    MonitorTimeLimit{"BAT", &MonitorLimits::BAT},
    MonitorTimeLimit{"EIT_actual", &MonitorLimits::EIT_actual},
    MonitorTimeLimit{"EIT_other", &MonitorLimits::EIT_other},
    MonitorTimeLimit{"EIT_schedule_near", &MonitorLimits::EIT_schedule_near},
    MonitorTimeLimit{"EIT_schedule_later", &MonitorLimits::EIT_schedule_later},
    MonitorTimeLimit{"TDT", &MonitorLimits::TDT},
    MonitorTimeLimit{"TOT", &MonitorLimits::TOT},
};
} // namespace mpegcore
