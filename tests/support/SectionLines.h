// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/sections/SectionHeader.h"
#include "support/TableLines.h"

#include <cstddef>
#include <string>

namespace zqtest
{
/// A line of NAME.sections.txt: index of the packet that completes the section, PID, table_id, section_length,
/// table_id_extension, version_number, current_next_indicator, section_number, last_section_number ("-" each without
/// section_syntax_indicator), and the section's last four bytes.
inline std::string section_line(std::size_t packet, unsigned PID, const unsigned char* section, std::size_t size)
{
    const mpegcore::SectionHeader header(section, size);
    std::string line =
        std::to_string(packet) + formatted(" %04x %02x %u ", PID, static_cast<unsigned>(header.table_id()),
                                           static_cast<unsigned>(header.section_length()));
    if (header.has_extension())
        line += formatted("%04x %u %u %u %u ", static_cast<unsigned>(header.table_id_extension()),
                          static_cast<unsigned>(header.version_number()), header.current_next_indicator() ? 1U : 0U,
                          static_cast<unsigned>(header.section_number()),
                          static_cast<unsigned>(header.last_section_number()));
    else
        line += "- - - - - ";
    for (std::size_t at = size - 4; at < size; ++at)
        line += formatted("%02x", static_cast<unsigned>(section[at]));
    return line;
}
} // namespace zqtest
