// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/TablePrinter.h"
#include "mpegcore/print/RecordMeanings.h"
#include "mpegcore/syntax/FieldPrinter.h"

#include <cstddef>
#include <string>

namespace mpegcore
{
/// Appends the fields of a walk to a text, one a line. The records of a list start with a dash, which stands left of
/// their first field.
class TextPrinter final : public FieldPrinter
{
public:
    TextPrinter(std::string& text, unsigned indent, const PrintOptions& options)
        : m_text(text), m_options(options), m_indent(indent)
    {}

    void number(const char* name, unsigned width, std::uint64_t value) override;
    void data(const char* name, const unsigned char* bytes, std::size_t size) override;
    void code(const char* name, const unsigned char* letters, std::size_t size) override;
    void text(const char* name, const unsigned char* bytes, std::size_t size) override;
    void time(const char* name, std::uint64_t value) override;
    void duration(const char* name, std::uint32_t value) override;
    void open_list(const char* name) override;
    void close_list() override;
    void open_record(const char* name) override;
    void close_record() override;

private:
    static constexpr unsigned step = 2;

    void start_line(const char* name);

    std::string& m_text;
    const PrintOptions& m_options;
    RecordMeanings m_meanings;
    unsigned m_indent;
    unsigned m_depth = 0;       ///< open records
    bool m_dash_is_due = false; ///< in front of the next line
};
} // namespace mpegcore
