// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/sections/SectionHeader.h"

#include "mpegcore/CRC.h"

namespace mpegcore
{
bool SectionHeader::has_CRC_32() const
{
    const unsigned id = table_id();
    switch (id) {
    case 0x70: // TDT
    case 0x71: // RST
    case 0x72: // ST
    case 0x7E: // DIT
        return false;
    case 0x73: // TOT
    case 0x74: // AIT
    case 0x7F: // SIT
    case 0xFC: // splice_info_section
        return true;
    default: // 0x00 to 0x03: PAT, CAT, PMT, TSDT; 0x40 to 0x6F: NIT to EIT
        return id <= 0x03 || (id >= 0x40 && id <= 0x6F) || section_syntax_indicator();
    }
}

bool section_CRC_is_good(const unsigned char* section, std::size_t size)
{
    constexpr std::size_t CRC_32_size = 4;
    if (!SectionHeader(section, size).has_CRC_32())
        return true;
    return size >= section_header_size + CRC_32_size && crc32_mpeg2(section, size) == 0;
}
} // namespace mpegcore
