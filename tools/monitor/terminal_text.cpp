// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/terminal_text.h"

#include "mpegcore/text/UTF8.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

namespace monitor
{
namespace
{
/// Columns that a character takes; the wide ones of East Asia take two.
std::size_t width_of(char32_t code)
{
    const auto is_in = [code](char32_t first, char32_t last) { return code >= first && code <= last; };
    return is_in(0x1100, 0x115F) || is_in(0x2E80, 0xA4CF) || is_in(0xAC00, 0xD7A3) || is_in(0xF900, 0xFAFF) ||
                   is_in(0xFE30, 0xFE6F) || is_in(0xFF00, 0xFF60) || is_in(0x1F300, 0x1FAFF) || is_in(0x20000, 0x3FFFD)
               ? 2
               : 1;
}

/// Control characters, and those that turn the direction of writing around.
bool is_printable(char32_t code)
{
    return code >= 0x20 && (code < 0x7F || code > 0x9F) && (code < 0x200B || code > 0x200F) &&
           (code < 0x2028 || code > 0x202E) && (code < 0x2066 || code > 0x2069) && code != 0xFEFF;
}

/// The beginning of a text that takes no more than so many columns.
struct cut_text
{
    std::string shown;       ///< with '?' for what is not printable
    std::size_t columns = 0; ///< that it takes
    std::size_t bytes = 0;   ///< of the text that are in it
};

cut_text cut_to(std::string_view text, std::size_t columns)
{
    cut_text cut;
    for (std::size_t at = 0; at < text.size(); cut.bytes = at) {
        char32_t code = mpegcore::next_code_point(text, at);
        if (!is_printable(code))
            code = '?';
        if (cut.columns + width_of(code) > columns)
            break;
        cut.columns += width_of(code);
        mpegcore::append_utf8(cut.shown, code);
    }
    return cut;
}
} // namespace

std::string printable(std::string_view text) { return cut_to(text, std::string::npos).shown; }

std::string fitted(std::string_view text, std::size_t columns, bool right)
{
    const auto cut = cut_to(text, columns);
    const std::string blanks(columns - cut.columns, ' ');
    return right ? blanks + cut.shown : cut.shown + blanks;
}

std::vector<std::string> wrapped(std::string_view text, std::size_t columns)
{
    constexpr std::size_t fewest_columns = 8;
    const auto whole = cut_to(text, std::string::npos);
    if (whole.columns <= columns || columns < fewest_columns)
        return {whole.shown};
    const std::size_t begin = std::min(whole.shown.find_first_not_of(' '), whole.shown.size());
    const std::size_t indent = std::min(begin + 2, columns / 4);
    std::vector<std::string> lines;
    std::string line(std::min(begin, indent), ' ');
    std::size_t used = line.size();
    bool has_words = false;
    std::string_view left = std::string_view(whole.shown).substr(begin);
    while (!left.empty()) {
        // No more of it than a line, so that a long one takes no longer than its lines.
        const std::size_t size = std::min(left.find(' '), left.size());
        const auto word = cut_to(left.substr(0, size), columns);
        if (word.bytes == size && used + (has_words ? 1 : 0) + word.columns <= columns) {
            line += (has_words ? " " : "") + word.shown;
            used += (has_words ? 1 : 0) + word.columns;
            has_words = true;
            left.remove_prefix(word.bytes);
        } else {
            if (!has_words) { // wider than a whole line
                const auto cut = cut_to(left, columns - used);
                line += cut.shown;
                left.remove_prefix(cut.bytes);
            }
            lines.push_back(std::exchange(line, std::string(indent, ' ')));
            used = indent;
            has_words = false;
        }
        left.remove_prefix(std::min(left.find_first_not_of(' '), left.size()));
    }
    if (has_words)
        lines.push_back(line);
    return lines;
}

std::string rate_text(std::uint64_t bits)
{
    constexpr std::array<std::pair<double, const char*>, 3> units{{{1e9, "Gbit/s"}, {1e6, "Mbit/s"}, {1e3, "kbit/s"}}};
    std::array<char, 32> text{};
    for (const auto& [size, unit] : units)
        if (static_cast<double>(bits) >= size) {
            std::snprintf(text.data(), text.size(), "%.2f %s", static_cast<double>(bits) / size, unit);
            return text.data();
        }
    return std::to_string(bits) + " bit/s";
}

} // namespace monitor
