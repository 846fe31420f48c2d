// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/media_delivery_index.h"

#include <algorithm>
#include <cmath>

namespace zq_net
{
namespace
{
double nanoseconds_of(std::uint64_t bytes, std::uint64_t rate)
{
    return static_cast<double>(bytes) * 8e9 / static_cast<double>(rate);
}
} // namespace

void media_delivery_index::put(std::uint64_t size, std::uint64_t arrival)
{
    tick(arrival);
    if (!m_is_open)
        open(arrival);
    if (m_rate != 0) {
        const double drained = static_cast<double>(arrival > m_begin ? arrival - m_begin : 0);
        const double before = nanoseconds_of(m_bytes, m_rate) - drained;
        const double after = nanoseconds_of(m_bytes + size, m_rate) - drained;
        m_lowest = m_bytes == 0 ? before : std::min(m_lowest, before);
        m_highest = m_bytes == 0 ? after : std::max(m_highest, after);
    }
    m_bytes += size;
}

void media_delivery_index::tick(std::uint64_t now)
{
    if (!m_is_open || now < m_begin || now - m_begin < second)
        return;
    const std::uint64_t begin = m_begin + second;
    finish_interval();
    open(begin);
    const std::uint64_t silent = (now - begin) / second;
    if (silent == 0)
        return;
    finish_interval(); // nothing came in it, nor in those behind it
    m_figures.intervals += silent - 1;
    open(begin + silent * second);
}

void media_delivery_index::open(std::uint64_t now)
{
    m_is_open = true;
    m_begin = now;
    if (m_nominal_rate != 0)
        m_rate = m_nominal_rate;
    else if (m_is_whole)
        m_rate = m_bytes * 8;
    m_bytes = 0;
    m_lowest = m_highest = 0;
}

void media_delivery_index::finish_interval()
{
    ++m_figures.intervals;
    m_figures.delay_factor = static_cast<std::uint64_t>(std::llround(m_highest - m_lowest));
    m_figures.media_rate = m_rate;
    m_figures.media_loss_rate = m_lost;
    m_figures.lost += m_lost;
    m_figures.seconds_with_loss += m_lost != 0 ? 1 : 0;
    m_is_whole = m_lost == 0;
    m_lost = 0;
}
} // namespace zq_net
