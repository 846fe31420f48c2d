// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "zq_net/nanoseconds.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace zq_net
{
/// How long to leave a dense stream alone before it is read again: waking up costs several times what a datagram does,
/// so it should find a number of them. Where the longest rest would not bring a handful there is none.
class read_pacing
{
public:
    static constexpr std::uint64_t longest_rest = ms;
    static constexpr std::size_t handful = 4, plenty = 60;

    /// Behind a read of `count` datagrams, the last of which came at `arrival`.
    void note(std::size_t count, std::uint64_t arrival)
    {
        if (count == 0)
            return;
        const std::uint64_t passed = arrival > m_arrival ? arrival - m_arrival : second;
        m_interval = (3 * m_interval + std::min(passed, second) / count) / 4;
        m_arrival = arrival;
    }

    /// In nanoseconds, at most longest_rest; 0: the next datagram is worth waking up for.
    [[nodiscard]] std::uint64_t rest() const
    {
        return handful * m_interval > longest_rest ? 0 : std::min(plenty * m_interval, longest_rest);
    }

    /// Datagrams to ask for behind a rest; at least one.
    [[nodiscard]] std::size_t expected() const { return rest() > 0 ? plenty : 1; }

private:
    std::uint64_t m_arrival = 0;
    std::uint64_t m_interval = second; ///< between datagrams, of late
};
} // namespace zq_net
