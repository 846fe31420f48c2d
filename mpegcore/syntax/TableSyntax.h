// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/syntax/BlockAllocator.h"
#include "mpegcore/syntax/Syntax.h"
#include "mpegcore/zqdescriptorlist.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace mpegcore
{
/// SyntaxReader with the loops of tables. They end when fewer than `size` bytes, the least that an entry takes, are
/// left of the body; unlike descriptor loops they add to what the container holds.
class TableReader : public SyntaxReader
{
public:
    explicit TableReader(ZQSDK::ZQBSReaderT<unsigned char*>& reader, ZQDescriptorType dictionary = ZQDescriptorType::TS)
        : SyntaxReader(reader), m_dictionary(dictionary)
    {}

    /// As in SyntaxReader, with the dictionary of the walk unless that is the stated one of the lists themselves.
    template <class List>
    bool descriptors(std::size_t size, UnusedName name, List& list)
    {
        if (m_dictionary == ZQDescriptorType::TS)
            return SyntaxReader::descriptors(size, name, list);
        return descriptor_loop(size, [&](auto& loop) { return list.readStandard(loop, m_dictionary); });
    }

    /// Calls `walk(entry)` for each new entry of `list`; entries that fail are not kept.
    template <class Entry, class Walk>
    bool loop(std::size_t size, UnusedName /*name*/, std::vector<std::shared_ptr<Entry>>& list, Walk&& walk)
    {
        while (body_left() >= size) {
            auto record = std::allocate_shared<Entry>(BlockAllocator<Entry>());
            if (!walk(*record))
                return false;
            list.push_back(std::move(record));
        }
        return true;
    }

    template <class Entry>
    bool loop(std::size_t size, UnusedName name, std::vector<std::shared_ptr<Entry>>& list)
    {
        return loop(size, name, list, [this](Entry& record) { return Entry::syntax(record, *this); });
    }

    /// Entries under their member `key`; the last one of a key stays.
    template <class Entry, class Key>
    bool keyed_loop(std::size_t size, UnusedName /*name*/, std::map<Key, std::shared_ptr<Entry>>& entries,
                    Key Entry::*key)
    {
        while (body_left() >= size) {
            auto record = std::allocate_shared<Entry>(BlockAllocator<Entry>());
            if (!Entry::syntax(*record, *this))
                return false;
            entries[(*record).*key] = std::move(record);
        }
        return true;
    }

    template <class Entry, class Key>
    bool keyed_loop(std::size_t size, UnusedName /*name*/, std::map<Key, Entry>& entries, Key Entry::*key)
    {
        while (body_left() >= size) {
            Entry record;
            if (!Entry::syntax(record, *this))
                return false;
            record.copyTo(&entries[record.*key]);
        }
        return true;
    }

private:
    const ZQDescriptorType m_dictionary;
};

/// SyntaxWriter with the same loops, in the order of the container. An empty pointer, which only a builder can have
/// put there, is passed over.
class TableWriter : public SyntaxWriter
{
public:
    using SyntaxWriter::SyntaxWriter;

    template <class Entry, class Walk>
    bool loop(std::size_t /*size*/, UnusedName /*name*/, const std::vector<std::shared_ptr<Entry>>& list, Walk&& walk)
    {
        for (const auto& record : list)
            if (record && !walk(static_cast<const Entry&>(*record)))
                return false;
        return true;
    }

    template <class Entry>
    bool loop(std::size_t size, UnusedName name, const std::vector<std::shared_ptr<Entry>>& list)
    {
        return loop(size, name, list, [this](const Entry& record) { return Entry::syntax(record, *this); });
    }

    template <class Entry, class Key>
    bool keyed_loop(std::size_t /*size*/, UnusedName /*name*/, const std::map<Key, std::shared_ptr<Entry>>& entries,
                    Key Entry::*)
    {
        for (const auto& item : entries)
            if (item.second && !Entry::syntax(static_cast<const Entry&>(*item.second), *this))
                return false;
        return true;
    }

    template <class Entry, class Key>
    bool keyed_loop(std::size_t /*size*/, UnusedName /*name*/, const std::map<Key, Entry>& entries, Key Entry::*)
    {
        for (const auto& item : entries)
            if (!Entry::syntax(item.second, *this))
                return false;
        return true;
    }
};

/// version_number to last_section_number, as every table with the long header has them.
template <class Table, class Io>
bool version_and_sections(Table& t, Io& io)
{
    return io.bits(5, "version_number", t.version_number) &&
           io.bits(1, "current_next_indicator", t.current_next_indicator) &&
           io.bits(8, "section_number", t.section_number) && io.bits(8, "last_section_number", t.last_section_number);
}

/// Calls `walk(TableReader&)` with the body between section_length and CRC_32 of a section, which reads descriptor
/// loops with `dictionary`, and reads CRC_32 from the section's last 4 bytes.
template <class Walk>
[[nodiscard]] bool read_body(ZQSDK::ZQBSReaderT<unsigned char*>& section, ZQDescriptorType dictionary,
                             std::uint32_t& CRC_32, Walk&& walk)
{
    constexpr std::uint64_t CRC_size = 4;
    const std::uint64_t size = section.availableBytes();
    const std::uint64_t body_size = size > CRC_size ? size - CRC_size : 0;
    return section.readLimited(body_size, [&](auto& body) {
        TableReader io(body, dictionary);
        io.open_body(body_size);
        return walk(io);
    }) && section.template getBits<32>(CRC_32);
}

/// Puts copies of `from` in place of the descriptors of `to`; returns the bytes they take.
inline std::uint32_t replace_descriptors(const ZQDescriptorList& from, ZQDescriptorList& to)
{
    to.clear();
    from.copyTo(to);
    return to.getSize();
}

/// Puts copies of the entries of `from` in place of those of `to`.
template <class Entry>
void copy_entries(const std::vector<std::shared_ptr<Entry>>& from, std::vector<std::shared_ptr<Entry>>& to)
{
    to.clear();
    for (const auto& entry : from)
        if (entry)
            entry->copyTo(to.emplace_back(std::make_shared<Entry>()).get());
}

template <class Key, class Entry>
void copy_entries(const std::map<Key, std::shared_ptr<Entry>>& from, std::map<Key, std::shared_ptr<Entry>>& to)
{
    to.clear();
    for (const auto& item : from)
        if (item.second)
            item.second->copyTo((to[item.first] = std::make_shared<Entry>()).get());
}

/// Adds copies of those entries of `from` whose keys `to` does not have.
template <class Key, class Entry>
void copy_entries(const std::map<Key, Entry>& from, std::map<Key, Entry>& to)
{
    to.insert(from.begin(), from.end());
}

template <class... Fields>
void set_to_zero(Fields&... fields)
{
    ((fields = 0), ...);
}
} // namespace mpegcore
