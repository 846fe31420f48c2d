// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/sections/SectionHeader.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace mpegcore
{
/// What tells a section from another one of its table: its header and its CRC_32.
struct SectionDigest
{
    SectionDigest(const unsigned char* section, std::size_t section_size) : size(std::min(section_size, bytes.size()))
    {
        const auto rest = static_cast<std::ptrdiff_t>(size - std::min(size, long_section_header_size));
        const auto middle = std::copy_n(section, size - static_cast<std::size_t>(rest), bytes.begin());
        std::copy(section + section_size - rest, section + section_size, middle);
    }

    static constexpr std::size_t CRC_32_size = 4;
    std::array<unsigned char, long_section_header_size + CRC_32_size> bytes{};
    std::size_t size;
};
} // namespace mpegcore
