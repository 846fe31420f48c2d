// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/print/Quoted.h"

#include <charconv>

namespace mpegcore
{
namespace
{
constexpr char hex_digits[] = "0123456789abcdef";

/// The letter behind the backslash of a short escape, or 0.
constexpr char short_escape(unsigned char letter)
{
    switch (letter) {
    case '"':
    case '\\':
        return static_cast<char>(letter);
    case '\n':
        return 'n';
    case '\t':
        return 't';
    case '\r':
        return 'r';
    default:
        return 0;
    }
}

constexpr bool is_plain(unsigned char letter)
{
    constexpr unsigned char del = 0x7F;
    return letter >= 0x20 && letter != '"' && letter != '\\' && letter != del;
}

void append_escaped(std::string& out, unsigned char letter)
{
    if (const char escape = short_escape(letter); escape != 0) {
        out += '\\';
        out += escape;
        return;
    }
    out += "\\u00";
    append_hex(out, letter, 2);
}
} // namespace

void append_quoted(std::string& out, std::string_view utf8)
{
    out += '"';
    std::size_t plain = 0;
    for (std::size_t at = 0; at < utf8.size(); ++at) {
        const auto letter = static_cast<unsigned char>(utf8[at]);
        if (is_plain(letter))
            continue;
        out.append(utf8, plain, at - plain);
        append_escaped(out, letter);
        plain = at + 1;
    }
    out.append(utf8, plain, utf8.size() - plain);
    out += '"';
}

void append_hex(std::string& out, const unsigned char* bytes, std::size_t size, char separator)
{
    for (std::size_t at = 0; at < size; ++at) {
        if (separator != 0 && at != 0)
            out += separator;
        out += hex_digits[bytes[at] >> 4];
        out += hex_digits[bytes[at] & 0xF];
    }
}

void append_hex(std::string& out, std::uint64_t value, unsigned digits)
{
    while (digits != 0)
        out += hex_digits[value >> 4 * --digits & 0xF];
}

void append_decimal(std::string& out, std::uint64_t value)
{
    char digits[20];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    out.append(digits, end);
}
} // namespace mpegcore
