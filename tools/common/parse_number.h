// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <charconv>
#include <string_view>
#include <system_error>

namespace tools
{
/// Decimal, or hexadecimal behind 0x. False when the text is anything else or exceeds the type.
template <class T>
[[nodiscard]] bool parse_number(std::string_view text, T& number)
{
    const bool hexadecimal = text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X";
    if (hexadecimal)
        text.remove_prefix(2);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, hexadecimal ? 16 : 10);
    return error == std::errc{} && end == text.data() + text.size();
}
} // namespace tools
