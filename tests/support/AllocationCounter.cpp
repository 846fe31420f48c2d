// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/support/AllocationCounter.h"

#include <atomic>
#include <cstdlib>
#include <new>

// The array forms of the standard library call these. Those for a stated alignment are not counted.
namespace
{
std::atomic<std::size_t> count{0};
} // namespace

std::size_t zqtest::allocations() { return count.load(std::memory_order_relaxed); }

void* operator new(std::size_t size)
{
    count.fetch_add(1, std::memory_order_relaxed);
    if (void* bytes = std::malloc(size != 0 ? size : 1))
        return bytes;
    throw std::bad_alloc();
}

void operator delete(void* bytes) noexcept { std::free(bytes); }
void operator delete(void* bytes, std::size_t) noexcept { std::free(bytes); }
