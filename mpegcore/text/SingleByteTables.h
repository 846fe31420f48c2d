// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/text/DVBText.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace mpegcore
{
/// The characters of the bytes 0xA0 to 0xFF, 0 where there is none. Below, all these tables are ASCII.
using UpperHalf = std::array<char16_t, 96>;

/// For iso_6937 (whose row 0xC0 has marks only, see below) and the parts of ISO/IEC 8859; the others have none.
[[nodiscard]] const UpperHalf& upper_half(TextTable table);

/// A diacritic of ISO/IEC 6937, whose byte stands in front of its letter.
struct DiacriticalMark
{
    std::uint8_t byte;
    char16_t combining;           ///< the character that follows the letter in Unicode
    char16_t spacing;             ///< what the mark in front of a space is
    std::u16string_view letters;  ///< those with which Unicode has a composed form (NFC), ...
    std::u16string_view composed; ///< ... and that form, in the same order
};

[[nodiscard]] const std::array<DiacriticalMark, 13>& diacritical_marks();
/// Null when the byte is no mark.
[[nodiscard]] const DiacriticalMark* find_diacritical_mark(unsigned char byte);
/// Whether a mark may stand on it: the letters of ASCII, and those in the upper half of ISO/IEC 6937.
[[nodiscard]] bool carries_mark(char32_t character);
} // namespace mpegcore
