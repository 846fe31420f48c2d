// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstdint>

/// Values of table_id that the checks ask for (ISO/IEC 13818-1, table 2-31; ETSI EN 300 468, table 2; ANSI/SCTE 35).
namespace mpegcore::TableID
{
inline constexpr std::uint8_t PAT = 0x00, CAT = 0x01, PMT = 0x02, TSDT = 0x03;
inline constexpr std::uint8_t NIT_actual = 0x40, NIT_other = 0x41, SDT_actual = 0x42, SDT_other = 0x46, BAT = 0x4A;
inline constexpr std::uint8_t EIT_actual = 0x4E, EIT_other = 0x4F, last_EIT = 0x6F; ///< between them the schedules
inline constexpr std::uint8_t TDT = 0x70, RST = 0x71, ST = 0x72, TOT = 0x73;
inline constexpr std::uint8_t splice_info = 0xFC;
} // namespace mpegcore::TableID
