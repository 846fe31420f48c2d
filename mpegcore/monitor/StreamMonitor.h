// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/monitor/MonitorLimits.h"
#include "mpegcore/monitor/MonitorListener.h"
#include "mpegcore/monitor/StreamContents.h"
#include "mpegcore/monitor/T2MIWatch.h"
#include "mpegcore/monitor/TR101290.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

namespace mpegcore
{
class StreamAnalysis;

/// Watches one transport stream: the checks of ETSI TR 101 290 and what the stream carries. docs/monitoring.md says how
/// each condition is read.
///
/// It has no clock and no thread: times are handed in, nanoseconds of a clock that never goes back (one that does is
/// taken to stand still). Intervals are measured by them, so they are arrival times, and all packets of one put() have
/// the same. Absence is measured up to the last packet: while nothing comes at all, only 1.1 is checked, and when
/// packets are back every limit begins anew.
///
/// One thread at a time may call it. Nothing is allocated for a packet, only for what is new: a PID, a table, a longer
/// section. Memory: about 100 KiB and half a KiB for each PID, up to 2.5 MiB with all limits reached; a T2-MI stream as
/// T2MIDemultiplexer says.
class StreamMonitor
{
public:
    explicit StreamMonitor(const MonitorLimits& limits = {}, MonitorListener* listener = nullptr);
    ~StreamMonitor();
    StreamMonitor(const StreamMonitor&) = delete;
    StreamMonitor& operator=(const StreamMonitor&) = delete;

    /// `count` packets of 188 bytes each, one behind the other, that arrived at `now`. The sync byte of each is
    /// checked; a packet with a wrong one is left out.
    void put(const unsigned char* packets, std::size_t count, std::uint64_t now);
    /// Datagrams are missing in front of what comes next: sections begun are dropped. Counters still tell the loss.
    void note_gap();
    /// Whoever cut the bytes into packets lost its place: 1.1 fails until sync_bytes_regained packets have come.
    void note_sync_loss(std::uint64_t now);
    /// Lets time pass: absence is found here, and bit rates and states are brought up to date. To be called every
    /// 100 ms or so.
    void tick(std::uint64_t now);
    /// From here on these hold. Counts stay; most_PIDs and T2MI_PID keep what they were.
    void set_limits(const MonitorLimits& limits);

    const TR101290& checks() const;
    /// It holds until the next call of a function that is not const.
    const StreamContents& contents() const;
    /// Of the T2-MI stream, if there is one: the PID of MonitorLimits::T2MI_PID, else the first with a T2-MI
    /// descriptor. Its pointers hold until the next call of a function that is not const.
    std::optional<T2MIContents> T2MI() const;
    bool is_synchronised() const;

private:
    std::unique_ptr<StreamAnalysis> m_analysis;
};
} // namespace mpegcore
