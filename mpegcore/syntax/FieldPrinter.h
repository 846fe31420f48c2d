// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstddef>
#include <cstdint>

namespace mpegcore
{
/// Where a SyntaxPrinter puts the fields of a walk, in stream order; JSON and text are two of them. Names are the
/// standards', made of letters, digits, "_" and "-". They may repeat within one record, as "reserved" does.
class FieldPrinter
{
public:
    FieldPrinter() = default;
    virtual ~FieldPrinter() = default;
    FieldPrinter(const FieldPrinter&) = delete;
    FieldPrinter& operator=(const FieldPrinter&) = delete;

    /// A field of `width` bits, 1 to 64.
    virtual void number(const char* name, unsigned width, std::uint64_t value) = 0;
    /// Opaque bytes.
    virtual void data(const char* name, const unsigned char* bytes, std::size_t size) = 0;
    /// Letters, such as a language code.
    virtual void code(const char* name, const unsigned char* letters, std::size_t size) = 0;
    /// A text as transmitted (ETSI EN 300 468, Annex A).
    virtual void text(const char* name, const unsigned char* bytes, std::size_t size) = 0;
    /// 40 bits: MJD and BCD hhmmss, UTC.
    virtual void time(const char* name, std::uint64_t value) = 0;
    /// 24 bits: BCD hhmmss.
    virtual void duration(const char* name, std::uint32_t value) = 0;

    /// A list; each of its records is opened and closed without a name.
    virtual void open_list(const char* name) = 0;
    virtual void close_list() = 0;
    /// A record with fields of its own; `name` is null in a list.
    virtual void open_record(const char* name) = 0;
    virtual void close_record() = 0;
};
} // namespace mpegcore
