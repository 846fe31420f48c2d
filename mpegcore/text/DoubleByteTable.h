// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <array>
#include <cstdint>
#include <utility>
#include <vector>

namespace mpegcore
{
/// The pairs of a character set that has two bytes from 0xA1 and 0x40 on beside ASCII, taken from iconv(3) as a whole
/// when it is first asked for. Where the C library does not know the set, the table is empty. Immutable, so that any
/// number of threads may read it.
class DoubleByteTable
{
public:
    [[nodiscard]] static const DoubleByteTable& ks_x_1001();
    [[nodiscard]] static const DoubleByteTable& gb_2312();
    [[nodiscard]] static const DoubleByteTable& big5();

    explicit DoubleByteTable(const char* iconv_name);

    [[nodiscard]] bool empty() const { return m_pairs.empty(); }
    /// 0 when the pair stands for no character.
    [[nodiscard]] char16_t character(unsigned char first, unsigned char second) const;
    /// The two bytes of a character as one number; 0 when there is none.
    [[nodiscard]] std::uint16_t pair_of(char32_t character) const;

private:
    static constexpr unsigned first_low = 0xA1, first_high = 0xFE;
    static constexpr unsigned second_low = 0x40, second_high = 0xFE;
    static constexpr unsigned row = second_high - second_low + 1;

    std::vector<char16_t> m_characters;
    std::vector<std::pair<char16_t, std::uint16_t>> m_pairs; ///< by character
};
} // namespace mpegcore
