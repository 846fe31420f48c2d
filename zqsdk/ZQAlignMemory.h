// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>

namespace ZQSDK
{
/// An owned buffer whose first byte can be aligned. A copy has its own bytes.
template <class T>
class ZQAlignMemory
{
    static_assert(sizeof(T) == 1, "sizes are counted in bytes");

public:
    ZQAlignMemory() = default;
    ZQAlignMemory(const ZQAlignMemory& other) { copy(other); }
    ZQAlignMemory& operator=(const ZQAlignMemory& other)
    {
        if (this != &other)
            copy(other);
        return *this;
    }
    ~ZQAlignMemory() { release(); }

    /// Makes `size` bytes available from data() on, on a multiple of `alignment` (a power of two; 0 for none). A buffer
    /// of that alignment that is large enough stays, with its contents; otherwise a new one of exactly this capacity,
    /// filled with zeros, replaces it. Throws std::bad_alloc, and nothing changes, when memory runs out.
    void alloc(unsigned long size, unsigned long alignment)
    {
        if (!m_storage || m_capacity < size || m_alignment != alignment)
            reallocate(size, alignment);
        m_size = size;
    }

    T* data() { return m_data; }
    const T* data() const { return m_data; }
    /// Bytes in use.
    std::size_t size() const { return m_size; }
    /// Bytes usable from data() on.
    std::size_t capacity() const { return m_capacity; }
    /// As asked for at the last allocation.
    std::size_t alignment() const { return m_alignment; }

private:
    void reallocate(std::size_t size, std::size_t alignment)
    {
        const std::size_t slack = alignment == 0 ? 0 : alignment - 1;
        if (size > std::numeric_limits<std::size_t>::max() - slack)
            throw std::bad_alloc();
        std::shared_ptr<T[]> storage(new T[size + slack]());
        const auto past_boundary = alignment == 0 ? 0 : reinterpret_cast<std::uintptr_t>(storage.get()) % alignment;
        m_data = storage.get() + (past_boundary == 0 ? 0 : alignment - past_boundary);
        m_storage = std::move(storage);
        m_capacity = size;
        m_alignment = alignment;
    }

    void copy(const ZQAlignMemory& other)
    {
        if (!other.m_storage)
            return release();
        alloc(other.m_size, other.m_alignment);
        std::copy_n(other.m_data, other.m_size, m_data);
    }

    void release()
    {
        m_storage.reset();
        m_data = nullptr;
        m_size = m_capacity = m_alignment = 0;
    }

    std::shared_ptr<T[]> m_storage;
    T* m_data = nullptr;
    std::size_t m_size = 0;
    std::size_t m_capacity = 0;
    std::size_t m_alignment = 0;
};
} // namespace ZQSDK
