// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/monitor/StreamMonitor.h"

#include "mpegcore/monitor/StreamAnalysis.h"

namespace mpegcore
{
StreamMonitor::StreamMonitor(const MonitorLimits& limits, MonitorListener* listener)
    : m_analysis(std::make_unique<StreamAnalysis>(limits, listener))
{}

StreamMonitor::~StreamMonitor() = default;

void StreamMonitor::put(const unsigned char* packets, std::size_t count, std::uint64_t now)
{
    m_analysis->put(packets, count, now);
}

void StreamMonitor::note_gap() { m_analysis->note_gap(); }
void StreamMonitor::note_sync_loss(std::uint64_t now) { m_analysis->note_sync_loss(now); }
void StreamMonitor::tick(std::uint64_t now) { m_analysis->tick(now); }
void StreamMonitor::set_limits(const MonitorLimits& limits) { m_analysis->set_limits(limits); }
const TR101290& StreamMonitor::checks() const { return m_analysis->checks(); }
const StreamContents& StreamMonitor::contents() const { return m_analysis->contents(); }
std::optional<T2MIContents> StreamMonitor::T2MI() const { return m_analysis->T2MI(); }
bool StreamMonitor::is_synchronised() const { return m_analysis->is_synchronised(); }
} // namespace mpegcore
