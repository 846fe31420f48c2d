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

/// Measures it. The media rate is the one by PCRs where that is told, else what came in the second before.
class delivery_meter
{
public:
    /// What is counted elsewhere, since the beginning of the stream or of its socket.
    struct losses
    {
        bool is_rtp = false;
        std::uint64_t rtp_lost = 0; ///< RTP packets; begins anew with each socket
        std::uint64_t missing = 0;  ///< transport packets by continuity_counter, the sum of all time
    };

    /// What one call brought, read at `now` or little later.
    void put(const std::vector<zq_net::datagram_note>& datagrams, const moment& now);
    /// The socket is another one: there is no time from its first datagram to the one before.
    void forget() { m_inter_arrival.forget(); }
    /// To be called once a second. What RTP misses counts as so many datagrams of the last one's size; what
    /// continuity_counter misses counts without RTP. `PCR_rate`: bits a second by the PCRs of the stream, 0 when it is
    /// not known; one that was measured while packets were missing is left alone.
    [[nodiscard]] delivery_figures look(const moment& now, const losses& all, std::uint64_t PCR_rate = 0);

private:
    zq_net::inter_arrival m_inter_arrival;
    zq_net::media_delivery_index m_index;
    std::uint64_t m_last = 0; ///< arrival, which does not go back
    std::uint64_t m_packets = 1;
    losses m_before;
    bool m_is_whole = true; ///< nothing was missing in the second before
};
} // namespace monitor
