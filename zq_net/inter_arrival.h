// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "zq_net/nanoseconds.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace zq_net
{
/// Times from one datagram to the next, sorted into a histogram. All times in nanoseconds.
struct inter_arrival_figures
{
    /// Upper edges of the buckets, the edge itself within; one more holds what is longer.
    static constexpr std::array<std::uint64_t, 12> edges{ms / 10, ms / 4,  ms / 2,  ms,       5 * ms / 2, 5 * ms,
                                                         10 * ms, 25 * ms, 50 * ms, 100 * ms, 250 * ms,   1000 * ms};

    void add(std::uint64_t time);
    std::uint64_t mean() const { return count == 0 ? 0 : sum / count; }
    /// The time that the part `q` of all, 0 to 1, does not exceed: as finely as the buckets tell it, evenly spread
    /// within each, at most `max`. 0 without any.
    std::uint64_t quantile(double q) const;

    std::uint64_t count = 0;
    std::uint64_t sum = 0;
    std::uint64_t min = 0; ///< 0 without any
    std::uint64_t max = 0;
    std::array<std::uint64_t, edges.size() + 1> buckets{}; ///< each for itself, not added up
};

/// Measures them.
class inter_arrival
{
public:
    /// A datagram came at `arrival`, ns of a clock; one that goes back counts as 0.
    void put(std::uint64_t arrival);
    /// The next datagram is the first of all again, as behind a change of the socket.
    void forget() { m_has_last = false; }

    /// Of all datagrams.
    const inter_arrival_figures& total() const { return m_total; }
    /// Of those since the last call, which are forgotten: to be called each second.
    inter_arrival_figures take_recent();

private:
    bool m_has_last = false;
    std::uint64_t m_last = 0;
    inter_arrival_figures m_total, m_recent;
};
} // namespace zq_net
