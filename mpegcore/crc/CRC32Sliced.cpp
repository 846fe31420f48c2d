// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/CRC.h"
#include "mpegcore/crc/CRC32Kernel.h"

namespace mpegcore::detail
{
namespace
{
constexpr std::size_t step = 16;
using slices = std::array<std::array<std::uint32_t, 256>, step>;

/// tables[k][b] is the register after the byte b and k zero bytes.
constexpr slices derive()
{
    slices tables{};
    tables[0] = g_MPEG2_PSI_CRC_32_Lookup;
    for (std::size_t k = 1; k < step; ++k)
        for (std::size_t b = 0; b < 256; ++b)
            tables[k][b] = (tables[k - 1][b] << 8) ^ tables[0][tables[k - 1][b] >> 24];
    return tables;
}

constexpr slices tables = derive();

std::uint32_t big_endian(const unsigned char* data)
{
    return std::uint32_t{data[0]} << 24 | std::uint32_t{data[1]} << 16 | std::uint32_t{data[2]} << 8 | data[3];
}

/// What the word contributes to the register when `behind` more bytes of the step follow it.
std::uint32_t contribution(std::uint32_t word, std::size_t behind)
{
    return tables[behind + 3][word >> 24] ^ tables[behind + 2][(word >> 16) & 0xFF] ^
           tables[behind + 1][(word >> 8) & 0xFF] ^ tables[behind][word & 0xFF];
}
} // namespace

std::uint32_t crc32_sliced(const unsigned char* data, std::size_t size, std::uint32_t crc)
{
    for (; size >= step; data += step, size -= step) {
        // Only the first word waits for the register.
        const std::uint32_t rest = contribution(big_endian(data + 4), 8) ^ contribution(big_endian(data + 8), 4) ^
                                   contribution(big_endian(data + 12), 0);
        crc = contribution(big_endian(data) ^ crc, 12) ^ rest;
    }
    return crc32_mpeg2_bytewise(data, size, crc);
}
} // namespace mpegcore::detail
