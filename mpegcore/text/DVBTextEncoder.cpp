// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/text/DVBText.h"
#include "mpegcore/text/DoubleByteTable.h"
#include "mpegcore/text/SingleByteTables.h"
#include "mpegcore/text/UTF8.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <utility>

namespace mpegcore
{
namespace
{
using Bytes = std::vector<unsigned char>;

constexpr char32_t line_break = 0x8A;

/// The characters of a text, with the standard's line break and without all other control codes.
std::u32string characters_of(std::string_view utf8)
{
    std::u32string characters;
    for (std::size_t at = 0; at < utf8.size();) {
        const char32_t code = next_code_point(utf8, at);
        if (code == '\n')
            characters.push_back(line_break);
        else if ((code >= 0x20 && code < 0x7F) || (code >= 0xA0 && (code < 0xE080 || code > 0xE09F)))
            characters.push_back(code);
    }
    return characters;
}

void put_pair(Bytes& out, std::uint32_t pair)
{
    out.push_back(static_cast<unsigned char>(pair >> 8));
    out.push_back(static_cast<unsigned char>(pair));
}

/// The byte from 0xA0 on, 0 when the table has none.
unsigned char upper_byte(const UpperHalf& upper, char32_t code)
{
    const auto found = std::find(upper.begin(), upper.end(), code);
    return found == upper.end() ? std::uint8_t{0} : static_cast<unsigned char>(0xA0 + (found - upper.begin()));
}

// Each of the following appends one character and returns false when its table does not have it.

bool encode_single_byte(Bytes& out, const UpperHalf& upper, char32_t code)
{
    const bool same = code < 0x80 || code == line_break;
    const unsigned char byte = same ? static_cast<unsigned char>(code) : upper_byte(upper, code);
    out.push_back(byte);
    return byte != 0;
}

bool encode_marked(Bytes& out, char32_t code)
{
    for (const auto& mark : diacritical_marks()) {
        const auto at = code > 0xFFFF ? std::u16string_view::npos : mark.composed.find(static_cast<char16_t>(code));
        if (at != std::u16string_view::npos) {
            out.push_back(mark.byte);
            return encode_single_byte(out, upper_half(TextTable::iso_6937), mark.letters[at]);
        }
        if (code == mark.spacing) {
            put_pair(out, mark.byte * 0x100U + ' ');
            return true;
        }
    }
    return false;
}

/// Where the characters at `at` are a letter and its combining mark, which are one in ISO/IEC 6937; but not g and
/// acute, whose bytes stand for another letter there.
const DiacriticalMark* combining_mark_behind(const std::u32string& text, std::size_t at)
{
    if (at + 1 == text.size() || !carries_mark(text[at]) || (text[at] == 'g' && text[at + 1] == 0x0301))
        return nullptr;
    const auto& marks = diacritical_marks();
    const auto found =
        std::find_if(marks.begin(), marks.end(), [&](const auto& mark) { return mark.combining == text[at + 1]; });
    return found == marks.end() ? nullptr : &*found;
}

bool encode_iso_6937(Bytes& out, const std::u32string& text)
{
    const auto& upper = upper_half(TextTable::iso_6937);
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (const auto* const mark = combining_mark_behind(text, at); mark != nullptr) {
            out.push_back(mark->byte);
            if (!encode_single_byte(out, upper, text[at++]))
                return false;
            continue;
        }
        const std::size_t size = out.size();
        if (encode_single_byte(out, upper, text[at]))
            continue;
        out.resize(size);
        if (!encode_marked(out, text[at]))
            return false;
    }
    return true;
}

bool encode_double_byte(Bytes& out, const DoubleByteTable& table, char32_t code)
{
    if (code < 0x80) {
        out.push_back(static_cast<unsigned char>(code));
        return true;
    }
    const std::uint32_t pair = code == line_break ? 0xE000 + line_break : table.pair_of(code);
    put_pair(out, pair);
    return pair != 0;
}

bool encode_ucs_2(Bytes& out, char32_t code)
{
    put_pair(out, code == line_break ? 0xE000 + line_break : code);
    return code <= 0xFFFF;
}

void encode_utf_8(Bytes& out, const std::u32string& text)
{
    std::string utf8;
    for (const char32_t code : text)
        append_utf8(utf8, code == line_break ? 0xE000 + line_break : code);
    out.insert(out.end(), utf8.begin(), utf8.end());
}

/// Appends `text`; false when the table does not have all of it.
bool encode(Bytes& out, TextTable table, const std::u32string& text)
{
    const auto each = [&text](auto&& encode_one) { return std::all_of(text.begin(), text.end(), encode_one); };
    switch (table) {
    case TextTable::iso_6937:
        return encode_iso_6937(out, text);
    case TextTable::ucs_2:
        return each([&out](char32_t code) { return encode_ucs_2(out, code); });
    case TextTable::ks_x_1001:
        return each([&out](char32_t code) { return encode_double_byte(out, DoubleByteTable::ks_x_1001(), code); });
    case TextTable::gb_2312:
        return each([&out](char32_t code) { return encode_double_byte(out, DoubleByteTable::gb_2312(), code); });
    case TextTable::utf_8:
        encode_utf_8(out, text);
        return true;
    case TextTable::big5: // receivers do not agree on what its selection means
    case TextTable::private_encoding:
        return false;
    default:
        return each([&](char32_t code) { return encode_single_byte(out, upper_half(table), code); });
    }
}

/// The bytes that select a table.
Bytes selection_of(TextTable table)
{
    const auto number = static_cast<unsigned char>(table);
    if (table >= TextTable::ucs_2)
        return {static_cast<unsigned char>(0x11 + number - static_cast<unsigned char>(TextTable::ucs_2))};
    if (table >= TextTable::iso_8859_5)
        return {static_cast<unsigned char>(number - 4)};
    return {0x10, 0x00, number};
}

constexpr std::array choices{TextTable::iso_8859_5,  TextTable::iso_8859_6,  TextTable::iso_8859_7,
                             TextTable::iso_8859_8,  TextTable::iso_8859_9,  TextTable::iso_8859_10,
                             TextTable::iso_8859_11, TextTable::iso_8859_13, TextTable::iso_8859_14,
                             TextTable::iso_8859_15, TextTable::iso_8859_1,  TextTable::iso_8859_2,
                             TextTable::iso_8859_3,  TextTable::iso_8859_4,  TextTable::ucs_2,
                             TextTable::ks_x_1001,   TextTable::gb_2312,     TextTable::utf_8};

constexpr std::array<std::pair<std::string_view, TextTable>, 20> names{{
    {"ISO-6937", TextTable::iso_6937},
    {"ISO-8859-1", TextTable::iso_8859_1},
    {"ISO-8859-2", TextTable::iso_8859_2},
    {"ISO-8859-3", TextTable::iso_8859_3},
    {"ISO-8859-4", TextTable::iso_8859_4},
    {"ISO-8859-5", TextTable::iso_8859_5},
    {"ISO-8859-6", TextTable::iso_8859_6},
    {"ISO-8859-7", TextTable::iso_8859_7},
    {"ISO-8859-8", TextTable::iso_8859_8},
    {"ISO-8859-9", TextTable::iso_8859_9},
    {"ISO-8859-10", TextTable::iso_8859_10},
    {"ISO-8859-11", TextTable::iso_8859_11},
    {"ISO-8859-13", TextTable::iso_8859_13},
    {"ISO-8859-14", TextTable::iso_8859_14},
    {"ISO-8859-15", TextTable::iso_8859_15},
    {"UCS-2", TextTable::ucs_2},
    {"EUC-KR", TextTable::ks_x_1001},
    {"GB2312", TextTable::gb_2312},
    {"BIG5", TextTable::big5},
    {"UTF-8", TextTable::utf_8},
}};
} // namespace

std::vector<unsigned char> from_utf8(std::string_view utf8, TextTable unmarked)
{
    const auto text = characters_of(utf8);
    if (text.empty())
        return {};
    Bytes smallest;
    // A first byte below 0x20, as the tables of two bytes have, would be a selection itself.
    const bool found = encode(smallest, unmarked, text) && smallest[0] >= 0x20;
    if (!found)
        smallest.clear();
    for (const auto table : choices) {
        Bytes marked = selection_of(table);
        if (encode(marked, table, text) && (smallest.empty() || marked.size() < smallest.size()))
            smallest = std::move(marked);
    }
    return smallest;
}

std::optional<TextTable> text_table_of_name(std::string_view name)
{
    const auto same_letter = [](char a, char b) {
        return std::toupper(static_cast<unsigned char>(a)) == std::toupper(static_cast<unsigned char>(b));
    };
    const auto found = std::find_if(names.begin(), names.end(), [&](const auto& entry) {
        return std::equal(entry.first.begin(), entry.first.end(), name.begin(), name.end(), same_letter);
    });
    if (found == names.end())
        return std::nullopt;
    return found->second;
}
} // namespace mpegcore
