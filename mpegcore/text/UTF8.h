// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstddef>
#include <string>
#include <string_view>

namespace mpegcore
{
/// Stands for what is no character.
inline constexpr char32_t replacement_character = 0xFFFD;

/// Appends one code point; one that UTF-8 cannot hold (a surrogate, above 0x10FFFF) as U+FFFD.
inline void append_utf8(std::string& text, char32_t code)
{
    if (code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
        code = replacement_character;
    const auto put = [&text](char32_t byte) { text.push_back(static_cast<char>(byte)); };
    if (code < 0x80)
        return put(code);
    if (code < 0x800) {
        put(0xC0 | code >> 6);
    } else {
        if (code < 0x10000) {
            put(0xE0 | code >> 12);
        } else {
            put(0xF0 | code >> 18);
            put(0x80 | (code >> 12 & 0x3F));
        }
        put(0x80 | (code >> 6 & 0x3F));
    }
    put(0x80 | (code & 0x3F));
}

/// The code point that starts at `at`, which is moved behind it. U+FFFD, one for each longest start of a sequence,
/// where the bytes are no UTF-8 (The Unicode Standard, 3.9, table 3-7). `at` lies inside `text`.
inline char32_t next_code_point(std::string_view text, std::size_t& at)
{
    const auto byte_at = [text](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const unsigned char first = byte_at(at++);
    if (first < 0x80)
        return first;
    if (first < 0xC2 || first > 0xF4)
        return replacement_character;
    const int following = first < 0xE0 ? 1 : first < 0xF0 ? 2 : 3;
    char32_t code = first & (0x3FU >> following);
    // The second byte's range keeps out overlong forms, surrogates and what lies above 0x10FFFF.
    unsigned char lowest = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
    unsigned char highest = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
    for (int count = 0; count < following; ++count, ++at) {
        if (at == text.size() || byte_at(at) < lowest || byte_at(at) > highest)
            return replacement_character;
        code = code << 6 | (byte_at(at) & 0x3FU);
        lowest = 0x80;
        highest = 0xBF;
    }
    return code;
}
} // namespace mpegcore
