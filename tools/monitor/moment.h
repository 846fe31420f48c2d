// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "zq_net/datagram_reader.h"
#include "zq_net/nanoseconds.h"

#include <cstdint>
#include <ctime>

namespace monitor
{
/// The same moment by two clocks, in nanoseconds.
struct moment
{
    std::uint64_t clock = 0; ///< never goes back
    std::uint64_t real = 0;  ///< since 1970

    [[nodiscard]] static moment now()
    {
        timespec time{};
        clock_gettime(CLOCK_MONOTONIC, &time);
        const auto seconds = static_cast<std::uint64_t>(time.tv_sec);
        return {seconds * zq_net::second + static_cast<std::uint64_t>(time.tv_nsec), zq_net::real_time()};
    }

    /// When, by the clock that never goes back, it was `arrival` by the other one. What lies more than a second ahead
    /// of this moment was stamped before that clock was set back, and counts as this moment.
    [[nodiscard]] std::uint64_t clock_at(std::uint64_t arrival) const
    {
        if (arrival <= real)
            return clock - (real - arrival < clock ? real - arrival : clock);
        return arrival - real < zq_net::second ? clock + (arrival - real) : clock;
    }
};
} // namespace monitor
