// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "zq_net/rtp_merger.h"

#include <array>
#include <cstdint>

namespace zq_net
{
/// What one leg brought since the input was opened.
struct leg_figures
{
    std::uint64_t datagrams = 0;
    std::uint64_t bytes = 0;        ///< payload of UDP
    std::uint64_t kernel_drops = 0; ///< datagrams that the kernel had no room for
    std::uint64_t truncated = 0;
    std::uint64_t last_arrival = 0; ///< by real_time(); 0: nothing yet
    std::uint64_t rejoins = 0;      ///< because the interface had become another one
    int buffer_asked = 0;           ///< bytes
    int buffer_got = 0;
    rtp_merger::leg_counters rtp;
};

/// What an input met since it was opened.
struct input_figures
{
    std::array<leg_figures, 2> legs; ///< the second stays empty with one leg
    std::uint64_t not_ts = 0;        ///< datagrams dropped: no transport stream, or no RTP where it is demanded
    std::uint64_t resync_bytes = 0;  ///< dropped between packets
    std::uint64_t rtp_lost = 0;      ///< packets that came on no leg in time
    std::uint64_t rtp_late = 0;      ///< came when they counted as lost; dropped
    std::uint64_t sender_changes = 0;
    std::uint64_t continuity_errors = 0;
    std::uint64_t transport_errors = 0;
    std::uint64_t senders = 0;  ///< different addresses and ports; counted up to most_senders
    std::uint64_t bit_rate = 0; ///< bits of UDP payload a second, over the last second or more; 0 in silence

    static constexpr std::size_t most_senders = 256;
};
} // namespace zq_net
