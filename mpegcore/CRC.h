// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <array>
#include <cstdint>

namespace mpegcore
{
/// CRC-32 of MPEG-2 PSI (ISO/IEC 13818-1, Annex A): entry i is the register after the byte i, placed in
/// its top 8 bits, went through 8 steps of 0x04C11DB7.
extern const std::array<std::uint32_t, 256> g_MPEG2_PSI_CRC_32_Lookup;
} // namespace mpegcore
