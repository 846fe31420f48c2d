// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace monitor
{
/// `text` with '?' for control characters, so that nothing from the air steers the terminal; valid UTF-8.
[[nodiscard]] std::string printable(std::string_view text);
/// `text` cut or filled up to so many columns, printable.
[[nodiscard]] std::string fitted(std::string_view text, std::size_t columns, bool right = false);
/// `text` as lines of at most so many columns, broken at blanks where there are any; what goes on is indented further
/// than its beginning. In one where it fits, and for less than 8 columns, where nothing could be read. Printable.
[[nodiscard]] std::vector<std::string> wrapped(std::string_view text, std::size_t columns);
/// "9.98 Mbit/s"
[[nodiscard]] std::string rate_text(std::uint64_t bits);
} // namespace monitor
