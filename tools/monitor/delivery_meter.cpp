// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/delivery_meter.h"

#include "zq_net/ts_aligner.h"

#include <algorithm>
#include <utility>

namespace monitor
{
void delivery_meter::put(const std::vector<zq_net::datagram_note>& datagrams, const moment& now)
{
    for (const auto& datagram : datagrams) {
        m_last = std::max(m_last, now.clock_at(datagram.arrival));
        m_inter_arrival.put(m_last);
        m_index.put(datagram.payload_size, m_last);
        m_packets = std::max<std::uint64_t>(1, datagram.payload_size / zq_net::ts_packet_size);
    }
}

delivery_figures delivery_meter::look(const moment& now, const losses& all, std::uint64_t PCR_rate)
{
    const losses before = std::exchange(m_before, all);
    const std::uint64_t rtp_lost = all.rtp_lost >= before.rtp_lost ? all.rtp_lost - before.rtp_lost : all.rtp_lost;
    const std::uint64_t missing = all.missing - before.missing;
    m_index.add_lost(all.is_rtp ? rtp_lost * m_packets : missing);
    const bool is_whole = rtp_lost == 0 && missing == 0;
    // PCRs may have been taken within the second before.
    if (std::exchange(m_is_whole, is_whole) && is_whole)
        m_index.set_media_rate(PCR_rate);
    m_index.tick(now.clock);
    return {m_inter_arrival.take_recent(), m_inter_arrival.total(), m_index.last()};
}
} // namespace monitor
