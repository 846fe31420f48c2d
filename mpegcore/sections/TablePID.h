// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstdint>

/// PIDs that tables come on (ISO/IEC 13818-1, table 2-3; ETSI EN 300 468, table 1).
namespace mpegcore::TablePID
{
inline constexpr std::uint16_t PAT = 0x0000, CAT = 0x0001;
inline constexpr std::uint16_t NIT = 0x0010, SDT = 0x0011, EIT = 0x0012, RST = 0x0013, TDT = 0x0014;
} // namespace mpegcore::TablePID
