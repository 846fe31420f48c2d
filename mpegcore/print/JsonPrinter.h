// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/TablePrinter.h"
#include "mpegcore/print/RecordMeanings.h"
#include "mpegcore/syntax/FieldPrinter.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace mpegcore
{
/// Appends the fields of a walk to a line of JSON; TablePrinter.h says in which form.
class JsonPrinter final : public FieldPrinter
{
public:
    JsonPrinter(std::string& line, const PrintOptions& options) : m_line(line), m_options(options) {}

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
    /// A key of a record that is open, in m_line.
    struct Key
    {
        std::size_t start;
        std::size_t length;
    };

    void key(std::string_view name, std::string_view suffix = {});
    bool is_taken(std::string_view candidate) const;
    void separate();
    /// The bits of a time that is none.
    void raw(const char* name, std::uint64_t value, unsigned digits);

    std::string& m_line;
    const PrintOptions& m_options;
    RecordMeanings m_meanings;
    std::vector<Key> m_keys;            ///< of all open records
    std::vector<std::size_t> m_records; ///< where in m_keys those of each open record start
};
} // namespace mpegcore
