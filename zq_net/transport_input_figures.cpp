// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/nanoseconds.h"
#include "zq_net/transport_input.h"

#include <algorithm>

namespace zq_net
{
void transport_input::publish(std::uint64_t now)
{
    if (now < m_interval_start || now - m_interval_start >= second) {
        const std::uint64_t elapsed = now - m_interval_start;
        m_bit_rate = m_interval_start == 0 || now < m_interval_start ? 0 : m_interval_bytes * 8 * 1000 / (elapsed / ms);
        m_interval_start = now;
        m_interval_bytes = 0;
    }
    const std::lock_guard lock{m_mutex};
    for (std::size_t leg = 0; leg < m_legs.size(); ++leg) {
        m_legs[leg].figures.rtp = m_merger.counters(leg);
        m_figures.legs[leg] = m_legs[leg].figures;
    }
    m_figures.not_ts = m_not_ts;
    m_figures.resync_bytes = m_aligner.dropped_bytes();
    m_figures.rtp_lost = m_merger.lost();
    m_figures.rtp_late = m_merger.late();
    m_figures.sender_changes = m_merger.sender_changes();
    m_figures.continuity_errors = m_continuity.continuity_errors();
    m_figures.transport_errors = m_continuity.transport_errors();
    m_figures.senders = m_senders.count();
    m_figures.bit_rate = m_bit_rate;
}

input_figures transport_input::figures()
{
    const std::uint64_t now = real_time();
    const std::lock_guard lock{m_mutex};
    input_figures figures = m_figures;
    std::uint64_t last_arrival = 0;
    for (std::size_t leg = 0; leg < m_legs.size(); ++leg) {
        m_legs[leg].note_drops();
        figures.legs[leg].kernel_drops = m_legs[leg].figures.kernel_drops;
        figures.legs[leg].buffer_asked = m_legs[leg].figures.buffer_asked;
        figures.legs[leg].buffer_got = m_legs[leg].figures.buffer_got;
        last_arrival = std::max(last_arrival, figures.legs[leg].last_arrival);
    }
    if (now > last_arrival + 2 * second)
        figures.bit_rate = 0;
    return figures;
}
} // namespace zq_net
