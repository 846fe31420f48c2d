// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/syntax/TableSyntax.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace mpegcore
{
/// The first half of a copy: notes the fields of a const object in stream order. Lengths are noted as measured.
class SyntaxNotes : public UntoldKinds<SyntaxNotes>
{
public:
    static constexpr bool reading = false;

    template <class T>
    bool bits(unsigned /*width*/, UnusedName /*name*/, const T& field)
    {
        m_numbers.push_back(field);
        return true;
    }

    template <class T>
    bool length(unsigned width, UnusedName name, const T& /*field*/, std::uint64_t measured)
    {
        return bits(width, name, measured);
    }

    template <class List>
    bool descriptors(std::size_t /*size*/, UnusedName /*name*/, const List& list)
    {
        return note(list);
    }

    template <class Container, class... Walk>
    bool loop(std::size_t /*size*/, UnusedName /*name*/, const Container& entries, Walk&&...)
    {
        return note(entries);
    }

    template <class Container, class Key>
    bool keyed_loop(std::size_t /*size*/, UnusedName /*name*/, const Container& entries, Key&&)
    {
        return note(entries);
    }

private:
    friend class SyntaxCopier;

    template <class Part>
    bool note(const Part& part)
    {
        m_parts.push_back(&part);
        return true;
    }

    std::vector<std::uint64_t> m_numbers;
    std::vector<const void*> m_parts; ///< lists and containers
};

/// The second half: the same walk over an object of the same class gives it what was noted. Descriptors and entries
/// become copies in place of those that were there, but programs, which are added.
class SyntaxCopier : public UntoldKinds<SyntaxCopier>
{
public:
    static constexpr bool reading = true;

    explicit SyntaxCopier(const SyntaxNotes& notes) : m_number(notes.m_numbers.data()), m_part(notes.m_parts.data()) {}

    template <class T>
    bool bits(unsigned /*width*/, UnusedName /*name*/, T& field)
    {
        field = static_cast<T>(*m_number++);
        return true;
    }

    template <class T>
    bool length(unsigned width, UnusedName name, T& field, std::uint64_t /*measured*/)
    {
        return bits(width, name, field);
    }

    template <class List>
    bool descriptors(std::size_t /*size*/, UnusedName /*name*/, List& list)
    {
        replace_descriptors(next<List>(), list);
        return true;
    }

    template <class Container, class... Walk>
    bool loop(std::size_t /*size*/, UnusedName /*name*/, Container& entries, Walk&&...)
    {
        copy_entries(next<Container>(), entries);
        return true;
    }

    template <class Container, class Key>
    bool keyed_loop(std::size_t /*size*/, UnusedName /*name*/, Container& entries, Key&&)
    {
        copy_entries(next<Container>(), entries);
        return true;
    }

private:
    template <class Part>
    const Part& next()
    {
        return *static_cast<const Part*>(*m_part++);
    }

    const std::uint64_t* m_number;
    const void* const* m_part;
};

/// Copies what `walk(object, io)` walks over.
template <class Structure, class Walk>
void copy_walked(const Structure& from, Structure& to, Walk&& walk)
{
    SyntaxNotes notes;
    static_cast<void>(walk(from, notes));
    SyntaxCopier copier(notes);
    static_cast<void>(walk(to, copier));
}

/// The same for the whole syntax of a class.
template <class Structure>
void copy_fields(const Structure& from, Structure& to)
{
    copy_walked(from, to, [](auto& object, auto& io) { return Structure::syntax(object, io); });
}
} // namespace mpegcore
