// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/syntax/SyntaxBody.h"
#include "zqsdk/ZQAlignMemory.h"
#include "zqsdk/ZQBSWriter.h"
#include "zqsdk/ZQMask.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace mpegcore
{
/// The verbs of SyntaxReader, writing. Values are cut to the width of their field.
class SyntaxWriter : public UntoldKinds<SyntaxWriter>
{
public:
    static constexpr bool reading = false;

    explicit SyntaxWriter(ZQSDK::ZQBSWriterT<unsigned char*>& writer) : m_writer(writer) {}

    template <class T>
    bool bits(unsigned width, UnusedName /*name*/, T field)
    {
        passed_bits(width);
        return m_writer.putBits(static_cast<std::uint64_t>(field) & ZQSDK::mask_impl[width],
                                static_cast<unsigned char>(width));
    }

    bool reserved(unsigned width) { return bits(width, "reserved", ~std::uint64_t{0}); }

    template <class T>
    bool length(unsigned width, UnusedName name, const T& /*field*/, std::uint64_t measured)
    {
        return bits(width, name, measured);
    }

    template <std::size_t N>
    bool bytes(UnusedName /*name*/, const std::array<unsigned char, N>& storage)
    {
        return put(storage.data(), N);
    }

    template <std::size_t N>
    bool bytes(std::size_t count, UnusedName /*name*/, const std::array<unsigned char, N>& storage)
    {
        return put(storage.data(), std::min(count, N));
    }

    bool bytes(std::size_t /*count*/, UnusedName /*name*/, const std::vector<unsigned char>& storage)
    {
        return put(storage.data(), storage.size());
    }

    bool bytes(std::size_t count, UnusedName /*name*/, const ZQSDK::ZQAlignMemory<unsigned char>& storage)
    {
        return put(storage.data(), std::min(count, storage.size()));
    }

    template <class Entry>
    bool entries(std::size_t /*size*/, UnusedName name, const std::vector<Entry>& list)
    {
        return std::all_of(list.begin(), list.end(), [&](const Entry& record) { return entry(name, record); });
    }

    template <class Entry>
    bool counted(std::size_t /*count*/, UnusedName name, const std::vector<Entry>& list)
    {
        return entries(0, name, list);
    }

    template <class Entry>
    bool entry(UnusedName /*name*/, const Entry& record)
    {
        return Entry::syntax(record, *this);
    }

    /// An empty pointer, which only a builder can have put there, is passed over.
    template <class Entry>
    bool entry(UnusedName name, const std::shared_ptr<Entry>& record)
    {
        return !record || entry(name, static_cast<const Entry&>(*record));
    }

    /// The list as it is; what has no room is for the caller of flush() to notice by bytesWritten().
    template <class List>
    bool descriptors(std::size_t /*size*/, UnusedName /*name*/, const List& list)
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
