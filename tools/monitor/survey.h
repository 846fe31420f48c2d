// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "tools/monitor/event_log.h"
#include "tools/monitor/pid_history.h"
#include "tools/monitor/snapshot.h"
#include "tools/monitor/stream_settings.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace monitor
{
/// How a stream is, in one word.
enum class stream_state
{
    waiting, ///< not looked at yet, or for seconds no more: its receiver stands still
    closed,  ///< the socket cannot be opened
    silent,  ///< nothing comes
    bad,     ///< an alarm of the first priority is active: loss, or TR 101 290
    warning, ///< one of the second
    good,
};

[[nodiscard]] const char* name_of(stream_state state);

/// One stream at one second.
struct stream_report
{
    static constexpr std::size_t history_seconds = 600;

    stream_settings settings;
    stream_state state = stream_state::waiting;
    std::uint64_t bit_rate = 0;      ///< bits of UDP payload a second
    std::vector<std::string> active; ///< checks with an active alarm: "1.4", "loss"
    std::shared_ptr<const pid_history::all_rates> PID_rates = std::make_shared<const pid_history::all_rates>();
    std::vector<std::uint64_t> history; ///< bit rates, one a second, the last one last
    /// Never null; as it is at first while nobody has looked at it yet.
    std::shared_ptr<const snapshot> seen = std::make_shared<const snapshot>();
};

/// All streams at one second. Nothing in it changes any more.
struct survey
{
    std::uint64_t time = 0;                                    ///< nanoseconds since 1970
    std::uint64_t clock = 0;                                   ///< of a clock that never goes back
    std::vector<std::shared_ptr<const stream_report>> streams; ///< in the order of their list
    std::shared_ptr<const std::deque<event>> events;           ///< of all streams, oldest first
    std::uint64_t events_total = 0;
    std::size_t listed = 0;        ///< streams of the list, those of other shards included
    std::uint64_t events_lost = 0; ///< that could not be written where they are to be written

    [[nodiscard]] const stream_report* find(const std::string& name) const;
};

/// Errors of the checks of one priority.
[[nodiscard]] std::uint64_t errors_of(const snapshot& seen, unsigned priority);
/// Packets that got lost on the way, what the kernel dropped among them: those of RTP or, without it, transport packets
/// by continuity_counter.
[[nodiscard]] inline std::uint64_t lost_packets(const snapshot& seen)
{
    return seen.is_rtp ? seen.input.rtp_lost : seen.delivery.index.lost;
}
/// In datagrams.
[[nodiscard]] inline std::uint64_t kernel_drops(const snapshot& seen) { return seen.input.legs[0].kernel_drops; }
/// Name of the first service that has one; empty without.
[[nodiscard]] std::string first_service(const snapshot& seen);
} // namespace monitor
