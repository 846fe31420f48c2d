// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "zqsdk/ZQAlignMemory.h"
#include "zqsdk/ZQBSReader.h"
#include "zqsdk/ZQBSWriter.h"
#include "zqsdk/ZQMask.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <vector>

// A structure states its fields once, in stream order, in a static member template
//
//     template <class Self, class Io>
//     static bool syntax(Self& d, Io& io) { return io.bits(3, d.reserved) && io.bits(13, d.CA_PID); }
//
// which reads when Io is a SyntaxReader and writes when Io is a SyntaxWriter (Self is const then). Both offer the same
// verbs; each returns false when the data, or the room, ran out. Lengths and counts are members like all others:
// they are written as stored, while vectors are written as long as they are.

namespace mpegcore
{
/// What is left of the body that a walk is in. A structure that goes on behind its body makes this 0, never negative.
class SyntaxBody
{
public:
    /// Starts a body of `bytes` bytes at the current position, for body_left(), rest() and entries().
    void open_body(std::size_t bytes) { m_bits_left = 8 * static_cast<std::int64_t>(bytes); }

    /// Whole bytes of the body still to come.
    std::size_t body_left() const { return m_bits_left <= 0 ? 0 : static_cast<std::size_t>(m_bits_left / 8); }

    /// Lets `walk` see a body of its own, of `bytes` bytes, and returns what it returns. Bytes that it leaves are not
    /// skipped.
    template <class Walk>
    bool within(std::size_t bytes, Walk&& walk)
    {
        const std::int64_t outer = m_bits_left;
        open_body(bytes);
        const std::int64_t inner = m_bits_left;
        const bool walked = walk();
        m_bits_left += outer - inner;
        return walked;
    }

protected:
    void passed_bits(std::size_t count) { m_bits_left -= static_cast<std::int64_t>(count); }
    void passed_bytes(std::size_t count) { passed_bits(8 * count); }

private:
    std::int64_t m_bits_left = 0;
};

class SyntaxReader : public SyntaxBody
{
public:
    static constexpr bool reading = true;

    explicit SyntaxReader(ZQSDK::ZQBSReaderT<unsigned char*>& reader) : m_reader(reader) {}

    /// A field of `width` bits, 1 to 64.
    template <class T>
    bool bits(unsigned width, T& field)
    {
        passed_bits(width);
        return m_reader.getBits(width, field);
    }

    /// Reserved bits that nobody keeps: any value is read, ones are written.
    bool reserved(unsigned width)
    {
        std::uint64_t ignored = 0;
        return bits(width, ignored);
    }

    /// A length or count that is kept as it was read, but written as `measured`.
    template <class T>
    bool length(unsigned width, T& field, std::uint64_t /*measured*/)
    {
        return bits(width, field);
    }

    /// Exactly N bytes, at most 8.
    template <std::size_t N>
    bool bytes(std::array<unsigned char, N>& storage)
    {
        static_assert(N <= 8, "read as one field");
        std::uint64_t value = 0;
        if (!bits(8 * N, value))
            return false;
        for (std::size_t at = 0; at < N; ++at)
            storage[at] = static_cast<unsigned char>(value >> (8 * (N - 1 - at)));
        return true;
    }

    /// `count` bytes; an array too small keeps the first of them, and all are consumed.
    template <std::size_t N>
    bool bytes(std::size_t count, std::array<unsigned char, N>& storage)
    {
        return take(count, [&](const unsigned char* data) { std::copy_n(data, std::min(count, N), storage.data()); });
    }

    /// `count` bytes into a vector; written are the bytes that the vector holds.
    bool bytes(std::size_t count, std::vector<unsigned char>& storage)
    {
        return take(count, [&](const unsigned char* data) { storage.assign(data, data + count); });
    }

    /// `count` bytes into a buffer that becomes this long, on an 8-byte boundary; none leave it as it was.
    bool bytes(std::size_t count, ZQSDK::ZQAlignMemory<unsigned char>& storage)
    {
        return count == 0 || take(count, [&](const unsigned char* data) {
                   storage.alloc(count, 8);
                   std::copy_n(data, count, storage.data());
               });
    }

    /// A length field of `width` bits and that many bytes.
    template <class Length, class Storage>
    bool text(unsigned width, Length& length, Storage& storage)
    {
        return bits(width, length) && bytes(length, storage);
    }

    /// All bytes that are left of the body.
    template <class Storage>
    bool rest(Storage& storage)
    {
        return bytes(body_left(), storage);
    }

    /// Entries as long as `size` bytes, the least that an entry takes, are left of the body.
    template <class Entry>
    bool entries(std::size_t size, std::vector<Entry>& list)
    {
        list.clear();
        // Plain records have one size, so that this is their number; others may be far fewer.
        if constexpr (std::is_trivially_copyable_v<Entry>)
            list.reserve(std::min<std::size_t>(body_left(), m_reader.availableBytes()) / size);
        while (body_left() >= size)
            if (!entry(append_to(list)))
                return false;
        return true;
    }

    /// `count` entries; written are the entries that the vector holds.
    template <class Entry>
    bool counted(std::size_t count, std::vector<Entry>& list)
    {
        list.clear();
        while (list.size() < count)
            if (!entry(append_to(list)))
                return false;
        return true;
    }

    /// One nested record by its own syntax.
    template <class Entry>
    bool entry(Entry& record)
    {
        return Entry::syntax(record, *this);
    }

    /// A descriptor loop of exactly `size` bytes, appended to `list`.
    template <class List>
    bool descriptors(std::size_t size, List& list)
    {
        passed_bytes(size);
        return m_reader.readLimited(size, [&list](auto& loop) { return list.read(loop); });
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

/// The verbs of SyntaxReader, writing. Values are cut to the width of their field.
class SyntaxWriter : public SyntaxBody
{
public:
    static constexpr bool reading = false;

    explicit SyntaxWriter(ZQSDK::ZQBSWriterT<unsigned char*>& writer) : m_writer(writer) {}

    template <class T>
    bool bits(unsigned width, T field)
    {
        passed_bits(width);
        return m_writer.putBits(static_cast<std::uint64_t>(field) & ZQSDK::mask_impl[width],
                                static_cast<unsigned char>(width));
    }

    bool reserved(unsigned width) { return bits(width, ~std::uint64_t{0}); }

    template <class T>
    bool length(unsigned width, const T& /*field*/, std::uint64_t measured)
    {
        return bits(width, measured);
    }

    template <std::size_t N>
    bool bytes(const std::array<unsigned char, N>& storage)
    {
        return put(storage.data(), N);
    }

    template <std::size_t N>
    bool bytes(std::size_t count, const std::array<unsigned char, N>& storage)
    {
        return put(storage.data(), std::min(count, N));
    }

    bool bytes(std::size_t /*count*/, const std::vector<unsigned char>& storage)
    {
        return put(storage.data(), storage.size());
    }

    bool bytes(std::size_t count, const ZQSDK::ZQAlignMemory<unsigned char>& storage)
    {
        return put(storage.data(), std::min(count, storage.size()));
    }

    template <class Length, class Storage>
    bool text(unsigned width, const Length& length, const Storage& storage)
    {
        return bits(width, length) && bytes(length, storage);
    }

    template <class Storage>
    bool rest(const Storage& storage)
    {
        return bytes(body_left(), storage);
    }

    template <class Entry>
    bool entries(std::size_t /*size*/, const std::vector<Entry>& list)
    {
        return std::all_of(list.begin(), list.end(), [this](const Entry& record) { return entry(record); });
    }

    template <class Entry>
    bool counted(std::size_t /*count*/, const std::vector<Entry>& list)
    {
        return entries(0, list);
    }

    template <class Entry>
    bool entry(const Entry& record)
    {
        return Entry::syntax(record, *this);
    }

    /// An empty pointer, which only a builder can have put there, is passed over.
    template <class Entry>
    bool entry(const std::shared_ptr<Entry>& record)
    {
        return !record || entry(static_cast<const Entry&>(*record));
    }

    /// The list as it is; what has no room is for the caller of flush() to notice by bytesWritten().
    template <class List>
    bool descriptors(std::size_t /*size*/, const List& list)
    {
        passed_bytes(list.getSize());
        list.write(m_writer);
        return true;
    }

private:
    bool put(const unsigned char* data, std::size_t count)
    {
        passed_bytes(count);
        for (; count >= 8; count -= 8, data += 8)
            if (!m_writer.template putBits<64>(word(data)))
                return false;
        for (; count != 0; --count, ++data)
            if (!m_writer.template putBits<8>(*data))
                return false;
        return true;
    }

    static std::uint64_t word(const unsigned char* data)
    {
        std::uint64_t value = 0;
        for (std::size_t at = 0; at < 8; ++at)
            value = value << 8 | data[at];
        return value;
    }

    ZQSDK::ZQBSWriterT<unsigned char*>& m_writer;
};
} // namespace mpegcore
