// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/sections/SectionHeader.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace mpegcore
{
/// Calls `visit(program_number, PID)` for each entry of a PAT section, CRC_32 included (ISO/IEC 13818-1, 2.4.4.3): the
/// PID of a PMT, or with program_number 0 the network_PID.
template <class Visit>
void for_each_PAT_entry(const unsigned char* section, std::size_t size, Visit visit)
{
    constexpr std::size_t CRC_32_size = 4, PAT_entry_size = 4;
    for (std::size_t at = long_section_header_size; at + PAT_entry_size + CRC_32_size <= size; at += PAT_entry_size) {
        const auto program_number = static_cast<std::uint16_t>(section[at] << 8 | section[at + 1]);
        const auto PID = static_cast<std::uint16_t>((section[at + 2] & 0x1FU) << 8 | section[at + 3]);
        visit(program_number, PID);
    }
}

/// Calls `visit(program_number, PID of its PMT)` for each program of a PAT section. The network_PID is left out.
template <class Visit>
void for_each_program(const unsigned char* section, std::size_t size, Visit visit)
{
    for_each_PAT_entry(section, size, [&visit](std::uint16_t program_number, std::uint16_t PID) {
        if (program_number != 0)
            visit(program_number, PID);
    });
}

/// The network_PID of a PAT section, CRC_32 included, if it has one: where the NIT is (ISO/IEC 13818-1, 2.4.4.3).
[[nodiscard]] inline std::optional<std::uint16_t> network_PID_of(const unsigned char* section, std::size_t size)
{
    std::optional<std::uint16_t> network_PID;
    for_each_PAT_entry(section, size, [&](std::uint16_t program_number, std::uint16_t PID) {
        if (program_number == 0)
            network_PID = PID;
    });
    return network_PID;
}

/// Calls `visit(stream_type, elementary_PID, descriptors, size of them)` for each elementary stream of a PMT section,
/// CRC_32 included (ISO/IEC 13818-1, 2.4.4.9). A loop that announces more than there is ends the section.
template <class Visit>
void for_each_elementary_stream(const unsigned char* section, std::size_t size, Visit visit)
{
    constexpr std::size_t CRC_32_size = 4, program_info_at = 10, entry_size = 5;
    if (size < program_info_at + 2 + CRC_32_size)
        return;
    const auto length_at = [section](std::size_t at) {
        return static_cast<std::size_t>((section[at] & 0x0FU) << 8 | section[at + 1]);
    };
    const std::size_t end = size - CRC_32_size;
    std::size_t at = program_info_at + 2 + length_at(program_info_at);
    while (at + entry_size <= end) {
        const std::size_t ES_info_length = length_at(at + 3);
        const unsigned char* const entry = section + at;
        at += entry_size;
        if (ES_info_length > end - at)
            return;
        visit(entry[0], static_cast<std::uint16_t>((entry[1] & 0x1FU) << 8 | entry[2]), section + at, ES_info_length);
        at += ES_info_length;
    }
}
} // namespace mpegcore
