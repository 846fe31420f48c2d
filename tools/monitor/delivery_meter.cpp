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

delivery_figures delivery_meter::look(const moment& now, std::uint64_t lost)
{
    const std::uint64_t before = std::exchange(m_lost, lost);
    m_index.add_lost(lost >= before ? lost - before : lost);
    m_index.tick(now.clock);
    return {m_inter_arrival.take_recent(), m_inter_arrival.total(), m_index.last()};
}
} // namespace monitor
