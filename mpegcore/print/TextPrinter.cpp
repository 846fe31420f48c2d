// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/print/TextPrinter.h"

#include "mpegcore/print/PrintedTime.h"
#include "mpegcore/print/Quoted.h"

#include <string_view>

namespace mpegcore
{
void TextPrinter::start_line(const char* name)
{
    m_text.append(m_indent, ' ');
    if (m_dash_is_due) {
        m_text.replace(m_text.size() - step, step, "- ");
        m_dash_is_due = false;
    }
    m_text.append(name).append(":");
}

void TextPrinter::number(const char* name, unsigned width, std::uint64_t value)
{
    const std::string_view meaning = m_meanings.number(name, value);
    constexpr unsigned one_digit = 4;
    constexpr std::string_view reserved = "reserved";
    if (std::string_view(name).substr(0, reserved.size()) == reserved)
        return;
    start_line(name);
    m_text += ' ';
    append_decimal(m_text, value);
    if (width > one_digit) {
        m_text += " (0x";
        append_hex(m_text, value, (width + 3) / 4);
        m_text += ')';
    }
    if (!meaning.empty())
        m_text.append(" ").append(meaning);
    m_text += '\n';
}

void TextPrinter::data(const char* name, const unsigned char* bytes, std::size_t size)
{
    start_line(name);
    if (size != 0)
        m_text += ' ';
    append_hex(m_text, bytes, size, ' ');
    m_text += '\n';
}

void TextPrinter::code(const char* name, const unsigned char* letters, std::size_t size)
{
    start_line(name);
    m_text += ' ';
    append_quoted(m_text, latin_1_to_utf8(letters, size));
    m_text += '\n';
}

void TextPrinter::text(const char* name, const unsigned char* bytes, std::size_t size)
{
    start_line(name);
    m_text += ' ';
    append_quoted(m_text, to_utf8(bytes, size, m_options.unmarked));
    m_text += '\n';
}

void TextPrinter::time(const char* name, std::uint64_t value)
{
    start_line(name);
    if (const auto instant = utc_of(value)) {
        m_text.append(" ").append(printed_time(*instant, m_options)).append("\n");
        return;
    }
    m_text += " undefined (0x";
    append_hex(m_text, value, 10);
    m_text += ")\n";
}

void TextPrinter::duration(const char* name, std::uint32_t value)
{
    start_line(name);
    if (const auto seconds = duration_of(value)) {
        m_text.append(" ").append(to_iso_8601(*seconds)).append("\n");
        return;
    }
    m_text += " undefined (0x";
    append_hex(m_text, value, 6);
    m_text += ")\n";
}

void TextPrinter::open_list(const char* name)
{
    start_line(name);
    m_text += '\n';
    m_indent += step;
}

void TextPrinter::close_list() { m_indent -= step; }

void TextPrinter::open_record(const char* name)
{
    m_meanings.open_record();
    if (m_depth++ == 0)
        return;
    if (name != nullptr) {
        start_line(name);
        m_text += '\n';
    } else {
        m_dash_is_due = true;
    }
    m_indent += step;
}

void TextPrinter::close_record()
{
    m_meanings.close_record();
    if (--m_depth == 0)
        return;
    m_indent -= step;
    m_dash_is_due = false;
}
} // namespace mpegcore
