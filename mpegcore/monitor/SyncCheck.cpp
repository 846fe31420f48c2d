// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/monitor/SyncCheck.h"

#include <algorithm>

namespace mpegcore
{
void SyncCheck::put_bad(std::uint8_t sync_byte, std::uint64_t now)
{
    m_checks.raise(Check::Sync_byte_error, now, Finding::sync_byte, sync_byte);
    m_good = 0;
    if (++m_bad == std::max(m_limits.sync_bytes_lost, 1U))
        lose(Finding::sync_bytes, m_bad, now);
}

void SyncCheck::lose(Finding finding, std::uint64_t value, std::uint64_t now)
{
    m_is_synchronised = false;
    m_good = 0;
    m_checks.suspend(true);
    if (m_is_lost)
        return;
    m_is_lost = true;
    m_checks.raise(Check::TS_sync_loss, now, finding, value);
}

bool SyncCheck::regain(std::uint64_t now)
{
    // The first packet of all is believed.
    if (m_is_lost && ++m_good < m_limits.sync_bytes_regained)
        return false;
    m_is_synchronised = true;
    m_is_lost = false;
    m_since = now;
    ++m_times;
    m_checks.suspend(false);
    return true;
}

void SyncCheck::tick(std::uint64_t now)
{
    if (m_is_lost)
        m_checks.lasts(Check::TS_sync_loss, now);
}
} // namespace mpegcore
