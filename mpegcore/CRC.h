// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <array>
#include <cstddef>
#include <cstdint>

namespace mpegcore
{
/// CRC-32 of MPEG-2 PSI (ISO/IEC 13818-1, Annex A): entry i is the register after the byte i, placed in
/// its top 8 bits, went through 8 steps of 0x04C11DB7.
extern const std::array<std::uint32_t, 256> g_MPEG2_PSI_CRC_32_Lookup;

/// CRC-32 register after `size` bytes at `data`, `crc` being the register before. Over a section with a good CRC_32
/// field the result is 0. Takes the fastest way that the processor offers; safe from any number of threads.
[[nodiscard]] std::uint32_t crc32_mpeg2(const unsigned char* data, std::size_t size, std::uint32_t crc = 0xFFFFFFFF);

/// The same, one look-up per byte: the reference that the fast ways are held against.
[[nodiscard]] std::uint32_t crc32_mpeg2_bytewise(const unsigned char* data, std::size_t size,
                                                 std::uint32_t crc = 0xFFFFFFFF);

/// CRC-8 of DVB baseband headers (ETSI EN 302 755, 5.1.4): polynomial 0xD5, most significant bit first.
[[nodiscard]] std::uint8_t crc8_dvb(const unsigned char* data, std::size_t size, std::uint8_t crc = 0);
} // namespace mpegcore
