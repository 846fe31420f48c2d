// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstddef>
#include <cstdint>
#include <utility>

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

    /// within() for an inner length that its contents must fill: a reader refuses it when `walk` ends before or behind.
    template <class Walk>
    bool exactly(std::size_t bytes, Walk&& walk)
    {
        return within(bytes, std::forward<Walk>(walk));
    }

protected:
    bool body_is_at_its_end() const { return m_bits_left == 0; }
    void passed_bits(std::size_t count) { m_bits_left -= static_cast<std::int64_t>(count); }
    void passed_bytes(std::size_t count) { passed_bits(8 * count); }

private:
    std::int64_t m_bits_left = 0;
};
/// The name of a field, for walkers without use for it: an empty class, so that handing it over costs nothing.
struct UnusedName
{
    constexpr UnusedName(const char* /*name*/) {}
};

/// The verbs that tell a printer what kind of field a row is, for a `Walker` to whom they are all numbers and bytes.
template <class Walker>
class UntoldKinds : public SyntaxBody
{
public:
    /// Letters in a field of their own, such as a language code.
    template <class Code>
    bool code(UnusedName name, Code& letters)
    {
        return walker().bytes(name, letters);
    }

    /// 40 bits: modified Julian date and BCD hhmmss, UTC.
    template <class Time>
    bool time(UnusedName name, Time& field)
    {
        return walker().bits(40, name, field);
    }

    /// 24 bits: BCD hhmmss.
    template <class Duration>
    bool duration(UnusedName name, Duration& field)
    {
        return walker().bits(24, name, field);
    }

    /// A length field of `width` bits, whose name has "_length" behind that of the bytes, and that many bytes.
    template <class Length, class Storage>
    bool data(unsigned width, UnusedName name, Length& length, Storage& storage)
    {
        return walker().bits(width, name, length) && walker().bytes(length, name, storage);
    }

    /// The same with a text (ETSI EN 300 468, Annex A).
    template <class Length, class Storage>
    bool text(unsigned width, UnusedName name, Length& length, Storage& storage)
    {
        return data(width, name, length, storage);
    }

    /// All bytes that are left of the body.
    template <class Storage>
    bool rest(UnusedName name, Storage& storage)
    {
        return walker().bytes(body_left(), name, storage);
    }

    /// The same with a text (ETSI EN 300 468, Annex A).
    template <class Storage>
    bool rest_text(UnusedName name, Storage& storage)
    {
        return rest(name, storage);
    }

private:
    Walker& walker() { return static_cast<Walker&>(*this); }
};
} // namespace mpegcore
