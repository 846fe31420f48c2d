// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/CRC.h"

namespace mpegcore
{
namespace
{
/// `Register` has the width of the CRC; entry i is i in its top 8 bits after 8 steps of `polynomial`.
template <class Register>
constexpr std::array<Register, 256> lookup_table(Register polynomial)
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

constexpr std::array<std::uint8_t, 256> crc8_lookup = lookup_table<std::uint8_t>(0xD5);
} // namespace

constexpr std::array<std::uint32_t, 256> g_MPEG2_PSI_CRC_32_Lookup = lookup_table<std::uint32_t>(0x04C11DB7);

std::uint32_t crc32_mpeg2_bytewise(const unsigned char* data, std::size_t size, std::uint32_t crc)
{
    for (const unsigned char* const end = data + size; data != end; ++data)
        crc = (crc << 8) ^ g_MPEG2_PSI_CRC_32_Lookup[(crc >> 24) ^ *data];
    return crc;
}

std::uint32_t crc32_mpeg2(const unsigned char* data, std::size_t size, std::uint32_t crc)
{
    return crc32_mpeg2_bytewise(data, size, crc);
}

std::uint8_t crc8_dvb(const unsigned char* data, std::size_t size, std::uint8_t crc)
{
    for (const unsigned char* const end = data + size; data != end; ++data)
        crc = crc8_lookup[crc ^ *data];
    return crc;
}
} // namespace mpegcore
