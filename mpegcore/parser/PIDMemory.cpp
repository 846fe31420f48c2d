// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/parser/PIDMemory.h"

namespace mpegcore
{
PIDMemory::PIDMemory(CBasePID* PIDs, std::size_t count, std::size_t most_bytes)
    : m_PIDs(PIDs), m_budget(most_bytes - 2 * count * CBasePID::first_capacity)
{
    m_budget.share_among(*this);
    for (std::size_t at = 0; at < count; ++at)
        PIDs[at].set_budget(&m_budget);
}

void PIDMemory::release_idle(const CBasePID& asking)
{
    for (const unsigned short PID : m_with_buffers)
        if (&m_PIDs[PID] != &asking)
            m_PIDs[PID].release_idle();
}

void PIDMemory::give_up_silent(const CBasePID& asking)
{
    for (const unsigned short PID : m_with_buffers)
        if (&m_PIDs[PID] != &asking)
            m_PIDs[PID].give_up_if_silent();
}

void PIDMemory::got_buffers(const CBasePID& PID)
{
    m_with_buffers.push_back(static_cast<unsigned short>(&PID - m_PIDs));
}
} // namespace mpegcore
