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
    static constexpr std::size_t plenty = 60;

    /// What a datagram may wait for others to come, and how many have to come for it.
    struct patience
    {
        std::uint64_t longest_rest; ///< nanoseconds
        std::size_t handful;        ///< fewer are not worth a rest
        std::size_t enough;         ///< rests for no more
    };
    static constexpr patience alone{ms, 4, plenty};
    static constexpr patience in_a_crowd{8 * ms, 2, 3};
    static_assert(in_a_crowd.longest_rest % (4 * ms) == 0, "rest() halves it down to two milliseconds");
    static constexpr patience hasty{2 * ms / 5, 4, plenty};

    /// Rests until `most` datagrams have come on average; not at all for less than a handful.
    explicit read_pacing(std::size_t most = plenty) : m_most{most} {}
    /// Rests until a quarter of a socket's buffer is full, which has `size` bytes as one asks for them.
    [[nodiscard]] static read_pacing for_buffer(int size)
    {
        // Seven packets take so much of it, and the kernel gives twice what it is asked for.
        constexpr std::size_t kernel_bytes_a_datagram = 2304;
        return read_pacing{std::min(2 * static_cast<std::size_t>(size) / kernel_bytes_a_datagram / 4, plenty)};
    }

    /// Behind a read of `count` datagrams, the last of which came at `arrival`.
    void note(std::size_t count, std::uint64_t arrival)
    {
        if (count == 0)
            return;
        // Stamps of two legs may go back a little; a clock that is set back ends the rests for a while.
        std::uint64_t passed = arrival - m_arrival;
        if (arrival < m_arrival)
            passed = m_arrival - arrival < ms ? 0 : second;
        m_interval = std::max<std::uint64_t>((3 * m_interval + std::min(passed, second) / count) / 4, 1);
        m_arrival = arrival;
    }

    /// In nanoseconds, at most the longest rest; more than a millisecond is 2, 4 or 8, so that sources can rest
    /// together. 0: the next datagram is worth waking up for.
    [[nodiscard]] std::uint64_t rest(const patience& with) const
    {
        if (m_most < with.handful || with.handful * m_interval > with.longest_rest)
            return 0;
        const std::uint64_t enough = std::min(m_most, with.enough) * m_interval;
        if (enough < 2 * ms)
            return std::min({m_most * m_interval, with.longest_rest, ms});
        std::uint64_t together = with.longest_rest;
        while (together > enough)
            together /= 2;
        return together;
    }

    /// Datagrams to ask for behind a rest, half as many again as are likely to be there; at least one.
    [[nodiscard]] std::size_t expected(const patience& with) const
    {
        return std::min<std::size_t>(3 * rest(with) / m_interval / 2 + 1, plenty);
    }

private:
    std::size_t m_most;
    std::uint64_t m_arrival = 0;
    std::uint64_t m_interval = second; ///< between datagrams, of late
};
} // namespace zq_net
