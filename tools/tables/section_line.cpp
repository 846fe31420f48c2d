// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/tables/section_line.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>

namespace tables
{
std::string section_line(const heard_section& section)
{
    const mpegcore::SectionHeader header(section.data, section.size);
    std::array<char, 80> text{};
    std::snprintf(text.data(), text.size(), "%" PRIu64 " %04x %02x %u ", section.packet, section.PID, header.table_id(),
                  header.section_length());
    std::string line = text.data();
    if (header.has_extension()) {
        std::snprintf(text.data(), text.size(), "%04x %u %d %u %u ", header.table_id_extension(),
                      header.version_number(), header.current_next_indicator() ? 1 : 0, header.section_number(),
                      header.last_section_number());
        line += text.data();
    } else {
        line += "- - - - - ";
    }
    for (std::size_t at = section.size - std::min<std::size_t>(section.size, 4); at < section.size; ++at) {
        std::snprintf(text.data(), text.size(), "%02x", section.data[at]);
        line += text.data();
    }
    return line;
}
} // namespace tables
