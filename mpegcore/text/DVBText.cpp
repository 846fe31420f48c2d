// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/text/DVBText.h"

#include "mpegcore/text/DoubleByteTable.h"
#include "mpegcore/text/SingleByteTables.h"
#include "mpegcore/text/UTF8.h"

#include <algorithm>

namespace mpegcore
{
namespace
{
/// Where decoded characters go: sorts out the control codes of Annex A.1, which are the same for all tables.
class DecodedText
{
public:
    explicit DecodedText(std::size_t size) { m_text.reserve(size); }

    void put(char32_t code)
    {
        if (code >= 0xE080 && code <= 0xE09F)
            code -= 0xE000;
        // 0x0A is no code of the standard, but what a sender of it means is clear.
        if (code == 0x8A || code == '\n')
            m_text.push_back('\n');
        else if (code >= 0xA0 || (code >= 0x20 && code < 0x7F))
            append_utf8(m_text, code);
    }

    std::string take() { return std::move(m_text); }

private:
    std::string m_text;
};

void decode_single_bytes(std::string_view text, TextTable table, DecodedText& out)
{
    const auto& upper = upper_half(table);
    for (const char byte : text) {
        const auto code = static_cast<unsigned char>(byte);
        const char32_t character = code < 0xA0 ? code : upper[code - 0xA0U];
        out.put(code >= 0xA0 && character == 0 ? replacement_character : character);
    }
}

char32_t compose(const DiacriticalMark& mark, char32_t letter)
{
    const auto at = letter > 0xFFFF ? std::u16string_view::npos : mark.letters.find(static_cast<char16_t>(letter));
    return at == std::u16string_view::npos ? 0 : mark.composed[at];
}

void decode_iso_6937(std::string_view text, DecodedText& out)
{
    const auto& upper = upper_half(TextTable::iso_6937);
    for (std::size_t at = 0; at < text.size(); ++at) {
        const auto code = static_cast<unsigned char>(text[at]);
        const auto* const mark = find_diacritical_mark(code);
        if (mark == nullptr) {
            const char32_t character = code < 0xA0 ? code : upper[code - 0xA0U];
            out.put(code >= 0xA0 && character == 0 ? replacement_character : character);
            continue;
        }
        // A mark on nothing that carries it stands alone and takes nothing with it, but for the space that means that.
        const auto next = at + 1 < text.size() ? static_cast<unsigned char>(text[at + 1]) : 0U;
        const char32_t letter = next < 0xA0 ? next : upper[next - 0xA0U];
        if (!carries_mark(letter)) {
            out.put(mark->spacing);
            at += letter == ' ' ? 1 : 0;
            continue;
        }
        ++at;
        if (const char32_t composed = compose(*mark, letter); composed != 0) {
            out.put(composed);
        } else {
            out.put(letter);
            out.put(mark->combining);
        }
    }
}

void decode_ucs_2(std::string_view text, DecodedText& out)
{
    const auto unit_at = [text](std::size_t at) -> char32_t {
        if (at + 2 > text.size())
            return 0;
        return static_cast<char32_t>(static_cast<unsigned char>(text[at]) << 8 |
                                     static_cast<unsigned char>(text[at + 1]));
    };
    std::size_t at = 0;
    for (; at + 2 <= text.size(); at += 2) {
        const char32_t unit = unit_at(at);
        const char32_t next = unit_at(at + 2);
        if (unit >= 0xD800 && unit < 0xDC00 && next >= 0xDC00 && next < 0xE000) {
            out.put(0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00));
            at += 2;
        } else {
            out.put(unit);
        }
    }
    if (at < text.size())
        out.put(replacement_character);
}

void decode_double_bytes(std::string_view text, const DoubleByteTable& table, DecodedText& out)
{
    for (std::size_t at = 0; at < text.size(); ++at) {
        const auto first = static_cast<unsigned char>(text[at]);
        const auto second = at + 1 < text.size() ? static_cast<unsigned char>(text[at + 1]) : 0U;
        if (first <= 0xA0) {
            out.put(first == 0xA0 ? replacement_character : first);
            continue;
        }
        const char32_t control = first << 8 | second;
        const bool is_control = control >= 0xE080 && control <= 0xE09F;
        const char32_t character = is_control ? control : table.character(first, static_cast<unsigned char>(second));
        out.put(character == 0 ? replacement_character : character);
        // An ASCII character behind half a pair is not lost. Every other second byte belongs to the pair.
        if (character != 0 || second >= 0xA1)
            ++at;
    }
}

/// Whether all two-byte units lie where ISO/IEC 10646 has the characters of Big5. The first bytes of Big5 itself, from
/// 0xA1 to 0xF9, do not.
bool is_big5_in_ucs_2(std::string_view text)
{
    if (text.size() % 2 != 0)
        return false;
    for (std::size_t at = 0; at < text.size(); at += 2) {
        const auto high = static_cast<unsigned char>(text[at]);
        const bool symbols = high <= 0x04 || (high >= 0x20 && high <= 0x26) || (high >= 0x30 && high <= 0x33);
        if (!symbols && (high < 0x4E || high > 0x9F) && high != 0xE0 && high < 0xFA)
            return false;
    }
    return true;
}

void decode(std::string_view text, TextTable table, DecodedText& out)
{
    switch (table) {
    case TextTable::iso_6937:
        return decode_iso_6937(text, out);
    case TextTable::ucs_2:
        return decode_ucs_2(text, out);
    case TextTable::ks_x_1001:
        return decode_double_bytes(text, DoubleByteTable::ks_x_1001(), out);
    case TextTable::gb_2312:
        return decode_double_bytes(text, DoubleByteTable::gb_2312(), out);
    case TextTable::big5:
        if (is_big5_in_ucs_2(text))
            return decode_ucs_2(text, out);
        return decode_double_bytes(text, DoubleByteTable::big5(), out);
    case TextTable::utf_8:
        for (std::size_t at = 0; at < text.size();)
            out.put(next_code_point(text, at));
        return;
    case TextTable::private_encoding:
        return out.put(replacement_character);
    default:
        return decode_single_bytes(text, table, out);
    }
}

/// Of the selection 0x10, whose number of a part of ISO/IEC 8859 is in the second and third byte.
TextSelection select_part(const unsigned char* text, std::size_t size, TextTable unmarked)
{
    if (size < 3)
        return {unmarked, size, false};
    const unsigned part = static_cast<unsigned>(text[1] << 8 | text[2]);
    if (part == 0 || part == 12 || part > 15)
        return {unmarked, 3, false};
    return {static_cast<TextTable>(part), 3, true};
}
} // namespace

TextSelection select_text_table(const unsigned char* text, std::size_t size, TextTable unmarked)
{
    if (size == 0 || text[0] >= 0x20)
        return {unmarked, 0, true};
    const unsigned char selection = text[0];
    if (selection >= 0x01 && selection <= 0x0B && selection != 0x08)
        return {static_cast<TextTable>(selection + 4), 1, true};
    if (selection == 0x10)
        return select_part(text, size, unmarked);
    if (selection >= 0x11 && selection <= 0x15)
        return {static_cast<TextTable>(static_cast<int>(TextTable::ucs_2) + selection - 0x11), 1, true};
    if (selection == 0x1F)
        return {TextTable::private_encoding, std::min<std::size_t>(size, 2), size > 1};
    return {unmarked, 1, false};
}

std::string to_utf8(const unsigned char* text, std::size_t size, TextTable unmarked)
{
    if (size == 0)
        return {};
    const auto selection = select_text_table(text, size, unmarked);
    DecodedText out(size);
    // A zero is padding rather than a selection.
    if (selection.length == size && !selection.valid && text[0] != 0)
        out.put(replacement_character);
    else
        decode({reinterpret_cast<const char*>(text) + selection.length, size - selection.length}, selection.table, out);
    return out.take();
}

std::string to_utf8(const std::vector<unsigned char>& text, TextTable unmarked)
{
    return to_utf8(text.data(), text.size(), unmarked);
}

std::string latin_1_to_utf8(const unsigned char* text, std::size_t size)
{
    std::string out;
    out.reserve(size);
    for (std::size_t at = 0; at < size; ++at) {
        const bool control = text[at] < 0x20 || (text[at] >= 0x7F && text[at] < 0xA0);
        append_utf8(out, control ? replacement_character : text[at]);
    }
    return out;
}
} // namespace mpegcore
