// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/syntax/SyntaxBody.h"
#include "zqsdk/ZQAlignMemory.h"
#include "zqsdk/ZQBSReader.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <vector>

namespace mpegcore
{
/// Reads what a syntax states, through a bounded reader. Every verb returns false when the data ran out.
class SyntaxReader : public UntoldKinds<SyntaxReader>
{
public:
    static constexpr bool reading = true;

    explicit SyntaxReader(ZQSDK::ZQBSReaderT<unsigned char*>& reader) : m_reader(reader) {}

    /// A field of `width` bits, 1 to 64.
    template <class T>
    bool bits(unsigned width, UnusedName /*name*/, T& field)
    {
        passed_bits(width);
        return m_reader.getBits(width, field);
    }

    /// Reserved bits that nobody keeps: any value is read, ones are written.
    bool reserved(unsigned width)
    {
        std::uint64_t ignored = 0;
        return bits(width, "reserved", ignored);
    }

    /// A length or count that is kept as it was read, but written as `measured`.
    template <class T>
    bool length(unsigned width, UnusedName name, T& field, std::uint64_t /*measured*/)
    {
        return bits(width, name, field);
    }

    /// Exactly N bytes, at most 8.
    template <std::size_t N>
    bool bytes(UnusedName name, std::array<unsigned char, N>& storage)
    {
        static_assert(N <= 8, "read as one field");
        std::uint64_t value = 0;
        if (!bits(8 * N, name, value))
            return false;
        for (std::size_t at = 0; at < N; ++at)
            storage[at] = static_cast<unsigned char>(value >> (8 * (N - 1 - at)));
        return true;
    }

    /// `count` bytes; an array too small keeps the first of them, and all are consumed.
    template <std::size_t N>
    bool bytes(std::size_t count, UnusedName /*name*/, std::array<unsigned char, N>& storage)
    {
        return take(count, [&](const unsigned char* data) { std::copy_n(data, std::min(count, N), storage.data()); });
    }

    /// `count` bytes into a vector; written are the bytes that the vector holds.
    bool bytes(std::size_t count, UnusedName /*name*/, std::vector<unsigned char>& storage)
    {
        return take(count, [&](const unsigned char* data) { storage.assign(data, data + count); });
    }

    /// `count` bytes into a buffer that becomes this long, on an 8-byte boundary; none leave it as it was.
    bool bytes(std::size_t count, UnusedName /*name*/, ZQSDK::ZQAlignMemory<unsigned char>& storage)
    {
        return count == 0 || take(count, [&](const unsigned char* data) {
                   storage.alloc(count, 8);
                   std::copy_n(data, count, storage.data());
               });
    }

    /// Entries as long as `size` bytes, the least that an entry takes, are left of the body.
    template <class Entry>
    bool entries(std::size_t size, UnusedName name, std::vector<Entry>& list)
    {
        list.clear();
        // Plain records have one size, so that this is their number; others may be far fewer.
        if constexpr (std::is_trivially_copyable_v<Entry>)
            list.reserve(std::min<std::size_t>(body_left(), m_reader.availableBytes()) / size);
        while (body_left() >= size)
            if (!entry(name, append_to(list)))
                return false;
        return true;
    }

    /// `count` entries; written are the entries that the vector holds.
    template <class Entry>
    bool counted(std::size_t count, UnusedName name, std::vector<Entry>& list)
    {
        list.clear();
        while (list.size() < count)
            if (!entry(name, append_to(list)))
                return false;
        return true;
    }

    /// One nested record by its own syntax.
    template <class Entry>
    bool entry(UnusedName /*name*/, Entry& record)
    {
        return Entry::syntax(record, *this);
    }

    /// A descriptor loop of exactly `size` bytes, appended to `list`.
    template <class List>
    bool descriptors(std::size_t size, UnusedName /*name*/, List& list)
    {
        return descriptor_loop(size, [&list](auto& loop) { return list.read(loop); });
    }

    template <class Walk>
    bool exactly(std::size_t bytes, Walk&& walk)
    {
        return within(bytes, [&] { return walk() && body_is_at_its_end(); });
    }

protected:
    template <class Read>
    bool descriptor_loop(std::size_t size, Read&& read_list)
    {
        passed_bytes(size);
        return m_reader.readLimited(size, read_list);
    }

private:
    template <class Store>
    bool take(std::size_t count, Store&& store)
    {
        passed_bytes(count);
        if (count == 0)
            return store(&no_bytes), true;
        if (count > m_reader.availableBytes())
            return false;
        if (m_reader.bitsLeft() % 8 == 0) {
            store(m_reader.position());
            return m_reader.skipBytes(count);
        }
        std::vector<unsigned char> shifted(count);
        for (unsigned char& byte : shifted)
            if (!m_reader.template getBits<8>(byte))
                return false;
        store(shifted.data());
        return true;
    }

    template <class Entry>
    static Entry& append_to(std::vector<Entry>& list)
    {
        return list.emplace_back();
    }

    template <class Entry>
    static Entry& append_to(std::vector<std::shared_ptr<Entry>>& list)
    {
        return *list.emplace_back(std::make_shared<Entry>());
    }

    static constexpr unsigned char no_bytes = 0;
    ZQSDK::ZQBSReaderT<unsigned char*>& m_reader;
};
} // namespace mpegcore
