// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <algorithm>
#include <cstddef>

namespace zq_net
{
/// How many datagrams to ask for in one call: as many as are likely to be there, since asking for one that is not there
/// costs, too. Where they come one by one it is one, and a second is looked for now and then.
class burst_size
{
public:
    explicit burst_size(std::size_t most) : m_most{most} {}

    [[nodiscard]] std::size_t next() const { return m_next; }

    /// `received` came of `asked`, which may be other than next().
    void note(std::size_t asked, std::size_t received)
    {
        if (received == 0)
            return;
        if (received == asked) {
            m_small = 0;
            const bool single = asked == 1 && ++m_singles % look_every != 0;
            m_next = single ? 1 : std::min(m_most, 2 * asked);
        } else if (asked == 2) {
            m_next = 1;
        } else if (received > 1 && received >= asked / 4) {
            m_small = 0;
            m_next = asked;
        } else if (++m_small == smaller_after) {
            m_small = 0;
            m_next = asked / 2;
        }
    }

private:
    static constexpr unsigned look_every = 16;
    static constexpr unsigned smaller_after = 4; // the rest of a burst is small, too

    std::size_t m_most;
    std::size_t m_next = 2;
    unsigned m_singles = 0;
    unsigned m_small = 0; // calls in a row that had room for much more
};
} // namespace zq_net
