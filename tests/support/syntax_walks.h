// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"
#include "mpegcore/syntax/Syntax.h"

#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace zqtest
{
/// Walks a syntax over an object and hands every field to `Visit`: as (width, field) for numbers and as bytes of width
/// 8. Vectors are visited as long as they are, arrays whole, wherever the stored lengths end them.
template <class Visit>
class FieldWalk : public mpegcore::UntoldKinds<FieldWalk<Visit>>
{
public:
    static constexpr bool reading = false;

    explicit FieldWalk(Visit visit) : m_visit(std::move(visit)) {}

    template <class T>
    bool bits(unsigned width, mpegcore::UnusedName /*name*/, T& field)
    {
        this->passed_bits(width);
        m_visit(width, field);
        return true;
    }

    bool reserved(unsigned width)
    {
        this->passed_bits(width);
        return true;
    }

    template <class T>
    bool length(unsigned width, mpegcore::UnusedName name, T& field, std::uint64_t /*measured*/)
    {
        return bits(width, name, field);
    }

    template <class Storage>
    bool bytes(mpegcore::UnusedName name, Storage& storage)
    {
        return bytes(storage.size(), name, storage);
    }

    template <class Storage>
    bool bytes(std::size_t count, mpegcore::UnusedName /*name*/, Storage& storage)
    {
        this->passed_bytes(count);
        for (auto& byte : storage)
            m_visit(8, byte);
        return true;
    }

    template <class List>
    bool entries(std::size_t /*size*/, mpegcore::UnusedName /*name*/, List& list)
    {
        for (auto& record : list)
            walk(record, record);
        return true;
    }

    template <class List>
    bool counted(std::size_t /*count*/, mpegcore::UnusedName name, List& list)
    {
        return entries(0, name, list);
    }

    template <class Record>
    bool entry(mpegcore::UnusedName /*name*/, Record& record)
    {
        walk(record, record);
        return true;
    }

private:
    // The second argument only chooses the overload: a shared entry is walked where it lies.
    template <class Entry, class Record>
    void walk(Entry& record, const Record& /*itself*/)
    {
        Record::syntax(record, *this);
    }

    template <class Entry, class Record>
    void walk(Entry& record, const std::shared_ptr<Record>& /*itself*/)
    {
        Record::syntax(*record, *this);
    }

    Visit m_visit;
};

/// Tag, stored length and every field that the syntax of `d` walks over, for comparing objects.
template <class T>
std::vector<std::uint64_t> fields(const T& d)
{
    std::vector<std::uint64_t> values{d.descriptor_tag, d.descriptor_length};
    FieldWalk io([&values](unsigned /*width*/, const auto& field) { values.push_back(field); });
    io.open_body(d.descriptor_length);
    T::syntax(d, io);
    return values;
}

/// Changes every field that the syntax of `d` walks over, in place, and its stored length.
template <class T>
void change(T& d)
{
    FieldWalk io(
        [](unsigned /*width*/, auto& field) { field = static_cast<std::decay_t<decltype(field)>>(field ^ 1U); });
    io.open_body(d.descriptor_length);
    T::syntax(d, io);
    d.descriptor_length ^= 1U;
}
} // namespace zqtest
