// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <atomic>
#include <cstdint>

namespace mpegcore
{
/// A number that one thread counts and any thread reads, without locks. Counting costs what it costs without atomics.
class RelaxedCounter
{
public:
    RelaxedCounter() = default;
    // A copy is a reading; both sides may be in use.
    RelaxedCounter(const RelaxedCounter& other) : m_value(other.get()) {}
    RelaxedCounter& operator=(const RelaxedCounter& other)
    {
        m_value.store(other.get(), std::memory_order_relaxed);
        return *this;
    }

    RelaxedCounter& operator++() { return *this += 1; }
    RelaxedCounter& operator+=(std::uint64_t more)
    {
        m_value.store(get() + more, std::memory_order_relaxed);
        return *this;
    }
    std::uint64_t get() const { return m_value.load(std::memory_order_relaxed); }
    operator std::uint64_t() const { return get(); }

private:
    std::atomic<std::uint64_t> m_value{0};
};
} // namespace mpegcore
