// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <array>
#include <cstddef>
#include <cstdint>

namespace mpegcore
{
namespace detail
{
/// Entry i is the register after the byte i, placed in its top 8 bits, went through 8 steps of `polynomial`, the most
/// significant bit first. The register is as wide as the polynomial.
template <class Register>
constexpr std::array<Register, 256> crc_lookup_table(Register polynomial)
{
    constexpr unsigned width = 8 * sizeof(Register);
    std::array<Register, 256> table{};
    for (unsigned byte = 0; byte < 256; ++byte) {
        auto crc = static_cast<Register>(static_cast<Register>(byte) << (width - 8));
        for (int step = 0; step < 8; ++step)
            crc = static_cast<Register>((crc << 1) ^ ((crc >> (width - 1)) != 0 ? polynomial : Register{0}));
        table[byte] = crc;
    }
    return table;
}

inline constexpr std::uint32_t crc32_polynomial = 0x04C11DB7;
} // namespace detail

/// The look-up table of the CRC-32 of MPEG-2 PSI (ISO/IEC 13818-1, Annex A).
inline constexpr std::array<std::uint32_t, 256> g_MPEG2_PSI_CRC_32_Lookup =
    detail::crc_lookup_table(detail::crc32_polynomial);

/// CRC-32 register after `size` bytes at `data`, `crc` being the register before. Over a section with a good CRC_32
/// field the result is 0. Takes the fastest way that the processor offers; safe from any number of threads.
[[nodiscard]] std::uint32_t crc32_mpeg2(const unsigned char* data, std::size_t size, std::uint32_t crc = 0xFFFFFFFF);

/// The same, one look-up per byte: the reference that the fast ways are held against.
[[nodiscard]] std::uint32_t crc32_mpeg2_bytewise(const unsigned char* data, std::size_t size,
                                                 std::uint32_t crc = 0xFFFFFFFF);

/// CRC-8 of DVB baseband headers (ETSI EN 302 755, 5.1.4): polynomial 0xD5, most significant bit first.
[[nodiscard]] std::uint8_t crc8_dvb(const unsigned char* data, std::size_t size, std::uint8_t crc = 0);
} // namespace mpegcore
