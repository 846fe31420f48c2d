// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <atomic>

namespace zq_net
{
/// The inputs of this process that wait for datagrams, each on a thread of its own. Where there are many, next to all
/// that they cost is waking up, and cold caches when they do.
class crowd
{
public:
    /// From so many on it is one.
    static constexpr unsigned least = 16;

    [[nodiscard]] static bool is_there() { return count.load(std::memory_order_relaxed) >= least; }

    /// Belongs to it for as long as it lives and is in.
    class member
    {
    public:
        member() = default;
        ~member() { leave(); }
        member(const member&) = delete;
        member& operator=(const member&) = delete;

        void join()
        {
            if (!m_is_in)
                ++count;
            m_is_in = true;
        }
        void leave()
        {
            if (m_is_in)
                --count;
            m_is_in = false;
        }

    private:
        bool m_is_in = false;
    };

private:
    static inline std::atomic<unsigned> count{0};
};
} // namespace zq_net
