// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstddef>
#include <limits>
#include <new>
#include <utility>

namespace mpegcore
{
/// At least `size` bytes, aligned as by operator new. Freed blocks of up to 1024 bytes are kept for the next one of
/// their size, at most 64 of each 64 bytes of size and thread, half a megabyte in all: the entries and descriptors of a
/// table come and go together, more at a time than malloc's own caches hold. AddressSanitizer reports the use of a kept
/// block, and of one in use beyond its size. Throws std::bad_alloc.
void* take_block(std::size_t size);
/// Gives back what take_block returned for the same size, on any thread.
void give_block(void* block, std::size_t size) noexcept;

/// take_block and give_block for containers and std::allocate_shared.
template <class T>
class BlockAllocator
{
public:
    using value_type = T;

    BlockAllocator() = default;
    template <class U>
    BlockAllocator(const BlockAllocator<U>&) noexcept // converts, as allocators do
    {}

    T* allocate(std::size_t count)
    {
        if (count > std::numeric_limits<std::size_t>::max() / sizeof(T))
            throw std::bad_alloc();
        return static_cast<T*>(take_block(count * sizeof(T)));
    }
    /// Leaves it to the members how the object begins; std::allocate_shared and containers would clear all of it first.
    template <class U>
    void construct(U* object)
    {
        ::new (static_cast<void*>(object)) U;
    }
    template <class U, class First, class... Rest>
    void construct(U* object, First&& first, Rest&&... rest)
    {
        ::new (static_cast<void*>(object)) U(std::forward<First>(first), std::forward<Rest>(rest)...);
    }
    void deallocate(T* block, std::size_t count) noexcept { give_block(block, count * sizeof(T)); }

    template <class U>
    bool operator==(const BlockAllocator<U>&) const noexcept
    {
        return true;
    }
    template <class U>
    bool operator!=(const BlockAllocator<U>&) const noexcept
    {
        return false;
    }
};
} // namespace mpegcore
