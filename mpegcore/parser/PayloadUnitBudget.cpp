// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/parser/PayloadUnitBudget.h"

namespace mpegcore
{
namespace
{
/// Looking at thousands of PIDs takes time, so not every refusal looks for what may have become idle.
constexpr std::size_t looks_every = 8;
} // namespace

bool PayloadUnitBudget::make_room(std::size_t bytes, const CBasePID& asking)
{
    if (m_sharers == nullptr)
        return bytes <= m_left;
    if (bytes > m_left && m_refused % looks_every == 0)
        m_sharers->release_idle(asking);
    if (bytes <= m_left)
        return true;
    if (++m_refused % refusals_until_silent == 0)
        m_sharers->give_up_silent(asking);
    return bytes <= m_left;
}

bool PayloadUnitBudget::take(std::size_t bytes)
{
    if (bytes > m_left)
        return false;
    m_left -= bytes;
    return true;
}
} // namespace mpegcore
