// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace mpegcore
{
/// Appends `utf8`, which is valid UTF-8, as a JSON string with its quotation marks.
void append_quoted(std::string& out, std::string_view utf8);
/// Appends two lower-case hex digits for each byte, with `separator` between two bytes unless it is 0.
void append_hex(std::string& out, const unsigned char* bytes, std::size_t size, char separator = 0);
/// Appends the low `digits` hex digits of `value`.
void append_hex(std::string& out, std::uint64_t value, unsigned digits);
void append_decimal(std::string& out, std::uint64_t value);
} // namespace mpegcore
