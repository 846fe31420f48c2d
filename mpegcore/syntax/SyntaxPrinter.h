// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/syntax/FieldPrinter.h"
#include "mpegcore/syntax/SyntaxBody.h"
#include "zqsdk/ZQAlignMemory.h"
#include "zqsdk/ZQMask.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace mpegcore
{
/// The verbs of SyntaxReader and TableReader, handing each field of a const object to a FieldPrinter. Always true. What
/// is printed is what a writer would write, but for lengths, which are printed as stored.
class SyntaxPrinter : public SyntaxBody
{
public:
    static constexpr bool reading = false;

    explicit SyntaxPrinter(FieldPrinter& printer) : m_printer(printer) {}

    template <class T>
    bool bits(unsigned width, const char* name, const T& field)
    {
        passed_bits(width);
        m_printer.number(name, width, static_cast<std::uint64_t>(field) & ZQSDK::mask_impl[width]);
        return true;
    }

    /// Nobody kept them: there is nothing to print.
    bool reserved(unsigned width)
    {
        passed_bits(width);
        return true;
    }

    template <class T>
    bool length(unsigned width, const char* name, const T& field, std::uint64_t /*measured*/)
    {
        return bits(width, name, field);
    }

    template <std::size_t N>
    bool bytes(const char* name, const std::array<unsigned char, N>& storage)
    {
        return bytes(N, name, storage);
    }

    template <class Storage>
    bool bytes(std::size_t count, const char* name, const Storage& storage)
    {
        const std::size_t size = passed(count, storage);
        m_printer.data(name, storage.data(), size);
        return true;
    }

    template <std::size_t N>
    bool code(const char* name, const std::array<unsigned char, N>& letters)
    {
        passed_bytes(N);
        m_printer.code(name, letters.data(), N);
        return true;
    }

    bool time(const char* name, std::uint64_t field)
    {
        passed_bits(40);
        m_printer.time(name, field & ZQSDK::mask_impl[40]);
        return true;
    }

    bool duration(const char* name, std::uint32_t field)
    {
        passed_bits(24);
        m_printer.duration(name, field & 0xFFFFFFU);
        return true;
    }

    template <class Length, class Storage>
    bool data(unsigned width, const char* name, const Length& length, const Storage& storage)
    {
        return length_of(width, name, length) && bytes(length, name, storage);
    }

    template <class Length, class Storage>
    bool text(unsigned width, const char* name, const Length& length, const Storage& storage)
    {
        return length_of(width, name, length) && text_bytes(length, name, storage);
    }

    template <class Storage>
    bool rest(const char* name, const Storage& storage)
    {
        return bytes(body_left(), name, storage);
    }

    template <class Storage>
    bool rest_text(const char* name, const Storage& storage)
    {
        return text_bytes(body_left(), name, storage);
    }

    template <class Entry>
    bool entries(std::size_t /*size*/, const char* name, const std::vector<Entry>& list)
    {
        m_printer.open_list(name);
        for (const auto& record : list)
            entry(nullptr, record);
        m_printer.close_list();
        return true;
    }

    template <class Entry>
    bool counted(std::size_t /*count*/, const char* name, const std::vector<Entry>& list)
    {
        return entries(0, name, list);
    }

    template <class Entry>
    bool entry(const char* name, const Entry& record)
    {
        return walk_record(name, [&] { return Entry::syntax(record, *this); });
    }

    /// An empty pointer is passed over.
    template <class Entry>
    bool entry(const char* name, const std::shared_ptr<Entry>& record)
    {
        return !record || entry(name, static_cast<const Entry&>(*record));
    }

    template <class List>
    bool descriptors(std::size_t /*size*/, const char* name, const List& list)
    {
        passed_bytes(list.getSize());
        m_printer.open_list(name);
        for (const auto& descriptor : list)
            walk_record(nullptr, [&] { return descriptor->print(m_printer), true; });
        m_printer.close_list();
        return true;
    }

    template <class Entry, class Walk>
    bool loop(std::size_t /*size*/, const char* name, const std::vector<std::shared_ptr<Entry>>& list, Walk&& walk)
    {
        m_printer.open_list(name);
        for (const auto& record : list)
            if (record)
                walk_record(nullptr, [&] { return walk(static_cast<const Entry&>(*record)); });
        m_printer.close_list();
        return true;
    }

    template <class Entry>
    bool loop(std::size_t size, const char* name, const std::vector<std::shared_ptr<Entry>>& list)
    {
        return entries(size, name, list);
    }

    template <class Entry, class Key, class Class>
    bool keyed_loop(std::size_t /*size*/, const char* name, const std::map<Key, Entry>& entries, Key Class::*)
    {
        m_printer.open_list(name);
        for (const auto& item : entries)
            entry(nullptr, item.second);
        m_printer.close_list();
        return true;
    }

private:
    template <class Storage>
    std::size_t passed(std::size_t count, const Storage& storage)
    {
        const std::size_t size = std::min(count, storage.size());
        passed_bytes(size);
        return size;
    }

    /// A vector is as long as it is, as in writing.
    std::size_t passed(std::size_t /*count*/, const std::vector<unsigned char>& storage)
    {
        passed_bytes(storage.size());
        return storage.size();
    }

    template <class Length>
    bool length_of(unsigned width, const char* name, const Length& length)
    {
        m_length_name.assign(name).append("_length");
        return bits(width, m_length_name.c_str(), length);
    }

    template <class Storage>
    bool text_bytes(std::size_t count, const char* name, const Storage& storage)
    {
        const std::size_t size = passed(count, storage);
        m_printer.text(name, storage.data(), size);
        return true;
    }

    template <class Walk>
    bool walk_record(const char* name, Walk&& walk)
    {
        m_printer.open_record(name);
        static_cast<void>(walk());
        m_printer.close_record();
        return true;
    }

    FieldPrinter& m_printer;
    std::string m_length_name;
};
} // namespace mpegcore
