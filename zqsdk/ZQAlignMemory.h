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
        if (!storage_ || capacity_ < size || alignment_ != alignment)
            reallocate(size, alignment);
        size_ = size;
    }

    T* data() { return data_; }
    const T* data() const { return data_; }
    /// Bytes in use.
    std::size_t size() const { return size_; }
    /// Bytes usable from data() on.
    std::size_t capacity() const { return capacity_; }
    /// As asked for at the last allocation.
    std::size_t alignment() const { return alignment_; }

private:
    void reallocate(std::size_t size, std::size_t alignment)
    {
        const std::size_t slack = alignment == 0 ? 0 : alignment - 1;
        if (size > std::numeric_limits<std::size_t>::max() - slack)
            throw std::bad_alloc();
        std::shared_ptr<T[]> storage(new T[size + slack]());
        const auto past_boundary = alignment == 0 ? 0 : reinterpret_cast<std::uintptr_t>(storage.get()) % alignment;
        data_ = storage.get() + (past_boundary == 0 ? 0 : alignment - past_boundary);
        storage_ = std::move(storage);
        capacity_ = size;
        alignment_ = alignment;
    }

    void copy(const ZQAlignMemory& other)
    {
        if (!other.storage_)
            return release();
        alloc(other.size_, other.alignment_);
        std::copy_n(other.data_, other.size_, data_);
    }

    void release()
    {
        storage_.reset();
        data_ = nullptr;
        size_ = capacity_ = alignment_ = 0;
    }

    std::shared_ptr<T[]> storage_;
    T* data_ = nullptr;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
    std::size_t alignment_ = 0;
};
} // namespace ZQSDK
