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

    [[nodiscard]] static moment now() { return read(monotonic_time, zq_net::real_time); }

    /// By these two clocks, read again when the thread was held up in between: stamps are carried over by the distance
    /// of the two.
    template <class Clock, class RealTime>
    [[nodiscard]] static moment read(Clock clock, RealTime real_time)
    {
        constexpr std::uint64_t longest = 50'000;
        constexpr int most_tries = 8;
        std::uint64_t before = clock();
        for (int tries = 1;; ++tries) {
            const std::uint64_t real = real_time(), after = clock();
            if (after - before <= longest || tries == most_tries)
                return {after, real};
            before = after;
        }
    }

    [[nodiscard]] static std::uint64_t monotonic_time()
    {
        timespec time{};
        clock_gettime(CLOCK_MONOTONIC, &time);
        return static_cast<std::uint64_t>(time.tv_sec) * zq_net::second + static_cast<std::uint64_t>(time.tv_nsec);
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
