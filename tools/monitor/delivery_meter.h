// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "tools/monitor/moment.h"
#include "zq_net/inter_arrival.h"
#include "zq_net/media_delivery_index.h"
#include "zq_net/transport_input.h"

#include <cstdint>
#include <vector>

namespace monitor
{
/// How evenly and how completely the datagrams of a stream come.
struct delivery_figures
{
    zq_net::inter_arrival_figures recent; ///< of the last second
    zq_net::inter_arrival_figures total;
    zq_net::media_delivery_index::figures index;
};

/// Measures it. The media rate is what came in the second before.
class delivery_meter
{
public:
    /// What one call brought, read at `now` or little later.
    void put(const std::vector<zq_net::datagram_note>& datagrams, const moment& now);
    /// The socket is another one: there is no time from its first datagram to the one before.
    void forget() { m_inter_arrival.forget(); }
    /// To be called once a second. `lost`: transport packets missing by RTP or, without it, by continuity_counter;
    /// the sum of all time, which may begin anew.
    [[nodiscard]] delivery_figures look(const moment& now, std::uint64_t lost);

    /// Transport packets in a datagram of the last one's size.
    [[nodiscard]] std::uint64_t packets_in_datagram() const { return m_packets; }

private:
    zq_net::inter_arrival m_inter_arrival;
    zq_net::media_delivery_index m_index;
    std::uint64_t m_last = 0; ///< arrival, which does not go back
    std::uint64_t m_packets = 1;
    std::uint64_t m_lost = 0;
};
} // namespace monitor
