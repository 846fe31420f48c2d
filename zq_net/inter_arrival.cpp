// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/inter_arrival.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace zq_net
{
void inter_arrival_figures::add(std::uint64_t time)
{
    min = count == 0 ? time : std::min(min, time);
    max = std::max(max, time);
    ++count;
    sum += time;
    const auto bucket = std::lower_bound(edges.begin(), edges.end(), time) - edges.begin();
    ++buckets[static_cast<std::size_t>(bucket)];
}

std::uint64_t inter_arrival_figures::quantile(double q) const
{
    // Counted in millionths, so that the same comes out whatever a processor rounds on the way.
    constexpr std::uint64_t parts = 1'000'000;
    const std::uint64_t wanted = static_cast<std::uint64_t>(std::llround(std::clamp(q, 0.0, 1.0) * parts)) * count;
    std::uint64_t before = 0;
    for (std::size_t at = 0; at < buckets.size(); ++at) {
        const std::uint64_t here = buckets[at] * parts;
        if (here == 0 || before + here < wanted) {
            before += here;
            continue;
        }
        const std::uint64_t low = std::max(at == 0 ? 0 : edges[at - 1], min);
        const std::uint64_t high = std::min(at == edges.size() ? max : edges[at], max);
        const double share = static_cast<double>(wanted - before) / static_cast<double>(here);
        return low + static_cast<std::uint64_t>(std::llround(static_cast<double>(high - low) * share));
    }
    return max;
}

void inter_arrival::put(std::uint64_t arrival)
{
    const std::uint64_t time = arrival > m_last ? arrival - m_last : 0;
    m_last = arrival;
    if (!std::exchange(m_has_last, true))
        return;
    m_total.add(time);
    m_recent.add(time);
}

inter_arrival_figures inter_arrival::take_recent() { return std::exchange(m_recent, {}); }
} // namespace zq_net
