// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/print/JsonPrinter.h"

#include "mpegcore/print/PrintedTime.h"
#include "mpegcore/print/Quoted.h"

#include <algorithm>

namespace mpegcore
{
void JsonPrinter::number(const char* name, unsigned /*width*/, std::uint64_t value)
{
    key(name);
    append_decimal(m_line, value);
    const std::string_view meaning = m_meanings.number(name, value);
    if (meaning.empty())
        return;
    key(name, "_name");
    append_quoted(m_line, meaning);
}

void JsonPrinter::data(const char* name, const unsigned char* bytes, std::size_t size)
{
    key(name);
    m_line += '"';
    append_hex(m_line, bytes, size);
    m_line += '"';
}

void JsonPrinter::code(const char* name, const unsigned char* letters, std::size_t size)
{
    key(name);
    append_quoted(m_line, latin_1_to_utf8(letters, size));
}

void JsonPrinter::text(const char* name, const unsigned char* bytes, std::size_t size)
{
    const std::string utf8 = to_utf8(bytes, size, m_options.unmarked);
    key(name);
    append_quoted(m_line, utf8);
    const auto same = [](char letter, unsigned char byte) { return static_cast<unsigned char>(letter) == byte; };
    if (std::equal(utf8.begin(), utf8.end(), bytes, bytes + size, same))
        return;
    key(name, "_raw");
    m_line += '"';
    append_hex(m_line, bytes, size);
    m_line += '"';
}

void JsonPrinter::time(const char* name, std::uint64_t value)
{
    key(name);
    if (const auto instant = utc_of(value))
        append_quoted(m_line, printed_time(*instant, m_options));
    else
        raw(name, value, 10);
}

void JsonPrinter::duration(const char* name, std::uint32_t value)
{
    key(name);
    if (const auto seconds = duration_of(value))
        append_quoted(m_line, to_iso_8601(*seconds));
    else
        raw(name, value, 6);
}

void JsonPrinter::raw(const char* name, std::uint64_t value, unsigned digits)
{
    m_line += "null";
    key(name, "_raw");
    m_line += '"';
    append_hex(m_line, value, digits);
    m_line += '"';
}

void JsonPrinter::open_list(const char* name)
{
    key(name);
    m_line += '[';
}

void JsonPrinter::close_list() { m_line += ']'; }

void JsonPrinter::open_record(const char* name)
{
    if (name != nullptr)
        key(name);
    else
        separate();
    m_line += '{';
    m_records.push_back(m_keys.size());
    m_meanings.open_record();
}

void JsonPrinter::close_record()
{
    m_line += '}';
    m_keys.resize(m_records.back());
    m_records.pop_back();
    m_meanings.close_record();
}

void JsonPrinter::key(std::string_view name, std::string_view suffix)
{
    separate();
    m_line += '"';
    const std::size_t start = m_line.size();
    m_line.append(name).append(suffix);
    const std::size_t length = m_line.size() - start;
    for (unsigned copy = 2; is_taken(std::string_view(m_line).substr(start)); ++copy) {
        m_line.resize(start + length);
        append_decimal(m_line, copy);
    }
    m_keys.push_back({start, m_line.size() - start});
    m_line += "\":";
}

bool JsonPrinter::is_taken(std::string_view candidate) const
{
    const std::string_view line = m_line;
    return std::any_of(m_keys.begin() + static_cast<std::ptrdiff_t>(m_records.back()), m_keys.end(), [&](Key known) {
        return known.length == candidate.size() && line.substr(known.start, known.length) == candidate;
    });
}

// What ends in a bracket has just been opened: all values end in other characters.
void JsonPrinter::separate()
{
    if (!m_records.empty() && m_line.back() != '{' && m_line.back() != '[')
        m_line += ',';
}
} // namespace mpegcore
