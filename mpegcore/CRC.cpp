// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/CRC.h"

namespace mpegcore
{
namespace
{
constexpr std::uint32_t lookup_entry(std::uint32_t byte)
{
    std::uint32_t crc = byte << 24;
    for (int step = 0; step < 8; ++step)
        crc = (crc << 1) ^ ((crc & 0x80000000U) != 0 ? 0x04C11DB7U : 0U);
    return crc;
}

constexpr std::array<std::uint32_t, 256> lookup_table()
{
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t byte = 0; byte < 256; ++byte)
        table[byte] = lookup_entry(byte);
    return table;
}
} // namespace

const std::array<std::uint32_t, 256> g_MPEG2_PSI_CRC_32_Lookup = lookup_table();
} // namespace mpegcore
