// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/parser/PayloadUnitBudget.h"

#include "mpegcore/BasePID.h"

namespace mpegcore
{
namespace
{
/// Looking at thousands of PIDs takes time, so not every refusal looks for what may have become idle.
constexpr std::size_t looks_every = 8;
} // namespace

void PayloadUnitBudget::share_among(CBasePID* PIDs, std::size_t count)
{
    m_PIDs = PIDs;
    m_count = count;
    for (std::size_t at = 0; at < count; ++at)
        PIDs[at].set_budget(this);
}

bool PayloadUnitBudget::make_room(std::size_t bytes, const CBasePID& asking)
{
    if (bytes > m_left && m_refused % looks_every == 0)
        release_idle(asking);
    if (bytes <= m_left)
        return true;
    if (++m_refused % patience == 0)
        give_up_silent(asking);
    return bytes <= m_left;
}

bool PayloadUnitBudget::take(std::size_t bytes)
{
    if (bytes > m_left)
        return false;
    m_left -= bytes;
    return true;
}

void PayloadUnitBudget::release_idle(const CBasePID& asking)
{
    for (CBasePID* PID = m_PIDs; PID != m_PIDs + m_count; ++PID)
        if (PID != &asking)
            PID->release_idle();
}

void PayloadUnitBudget::give_up_silent(const CBasePID& asking)
{
    for (CBasePID* PID = m_PIDs; PID != m_PIDs + m_count; ++PID)
        if (PID != &asking)
            PID->give_up_if_silent();
}
} // namespace mpegcore
