// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <sched.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <utility>

namespace zq_net
{
/// What many threads need for a moment each. One is kept for each processor, the last that was given back there: the
/// next thread that runs there finds it in that processor's cache, and memory is needed for those that run, not for all
/// that there are. For any thread; never waits. What is kept lives as long as the process.
template <class T>
class hot_spares
{
public:
    /// The one that is kept here, with whatever was left in it, or a fresh one.
    [[nodiscard]] std::unique_ptr<T> take()
    {
        std::unique_ptr<T> kept{here().exchange(nullptr, std::memory_order_acquire)};
        return kept != nullptr ? std::move(kept) : std::make_unique<T>();
    }

    void give(std::unique_ptr<T> spare)
    {
        const std::unique_ptr<T> other{here().exchange(spare.release(), std::memory_order_acq_rel)};
    }

private:
    static constexpr std::size_t most_processors = 64; // with more of them some share

    struct alignas(64) place // of a cache line of its own
    {
        std::atomic<T*> spare{nullptr};
    };

    std::atomic<T*>& here()
    {
        const int processor = ::sched_getcpu();
        return m_places[processor < 0 ? 0 : static_cast<std::size_t>(processor) % most_processors].spare;
    }

    std::array<place, most_processors> m_places;
};
} // namespace zq_net
