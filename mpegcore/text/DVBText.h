// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mpegcore
{
/// The character tables of ETSI EN 300 468, Annex A. An ISO/IEC 8859 part has its own number as value.
enum class TextTable : std::uint8_t
{
    iso_6937 = 0, ///< the standard's default: ISO/IEC 6937 with the euro at 0xA4
    iso_8859_1 = 1,
    iso_8859_2,
    iso_8859_3,
    iso_8859_4,
    iso_8859_5,
    iso_8859_6,
    iso_8859_7,
    iso_8859_8,
    iso_8859_9,
    iso_8859_10,
    iso_8859_11,
    iso_8859_13 = 13,
    iso_8859_14,
    iso_8859_15,
    ucs_2,     ///< two bytes a character, most significant first; surrogate pairs are taken, too
    ks_x_1001, ///< Korean, EUC-KR
    gb_2312,   ///< simplified Chinese, EUC-CN
    big5,      ///< traditional Chinese: the Big5 subset of ISO/IEC 10646, or Big5 itself, told apart by the bytes
    utf_8,
    private_encoding ///< behind 0x1F: by an encoding_type_id that somebody registered
};

/// Which table a text chooses, and how many of its first bytes say so.
struct TextSelection
{
    TextTable table;
    std::size_t length;
    bool valid; ///< false for a reserved selection, which is skipped, and for one that is cut off
};

/// Looks at the first bytes of one text field. `unmarked` is the table of texts that choose none: the standard says
/// ISO/IEC 6937, many networks send a part of ISO/IEC 8859 instead. A reserved selection yields it, too.
[[nodiscard]] TextSelection select_text_table(const unsigned char* text, std::size_t size,
                                              TextTable unmarked = TextTable::iso_6937);

/// One text field in UTF-8 (Annex A). Accents are composed (NFC), line breaks become "\n", emphasis and all other
/// control codes are left out. What stands for no character becomes U+FFFD, a privately encoded text as a whole. Always
/// valid UTF-8, at most three times as long as `size`. The East Asian tables come from iconv(3):
/// where the C library does not know one, its characters are U+FFFD.
[[nodiscard]] std::string to_utf8(const unsigned char* text, std::size_t size,
                                  TextTable unmarked = TextTable::iso_6937);
[[nodiscard]] std::string to_utf8(const std::vector<unsigned char>& text, TextTable unmarked = TextTable::iso_6937);

/// The bytes of a code, not a text (language and country codes, URLs): each is the character of its number. Control
/// characters become U+FFFD.
[[nodiscard]] std::string latin_1_to_utf8(const unsigned char* text, std::size_t size);

/// A text field that to_utf8() turns into `utf8`, in the table that takes the fewest bytes with its selection; of two
/// as small, first `unmarked`, then the one that comes first in the standard. "\n" becomes the standard's line break;
/// other control characters are left out; what is not UTF-8 becomes U+FFFD.
[[nodiscard]] std::vector<unsigned char> from_utf8(std::string_view utf8, TextTable unmarked = TextTable::iso_6937);

/// A table by its usual name, in any case: "ISO-6937", "ISO-8859-1" ..., "UTF-8", "UCS-2", "EUC-KR", "GB2312", "BIG5".
[[nodiscard]] std::optional<TextTable> text_table_of_name(std::string_view name);
} // namespace mpegcore
