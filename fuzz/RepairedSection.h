// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/CRC.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zqfuzz
{
constexpr std::size_t largest_section = 1024;

/// The first byte picks a class out of `classes`, the rest is a section whose length and CRC_32 are put right.
struct RepairedSection
{
    RepairedSection(const std::uint8_t* data, std::size_t input_size, unsigned classes)
        : pick(data[0] % classes), size(input_size - 1 + 4)
    {
        const std::size_t body = input_size - 1;
        std::memcpy(bytes.data(), data + 1, body);
        // The second class is that of PMTs, which refuse other headers.
        if (pick == 1) {
            bytes[0] = 0x02;
            bytes[1] &= 0xBF;
        }
        // With a high first byte the length stays as the input has it.
        if (data[0] < 0xC8) {
            const std::size_t length = size - 3;
            bytes[1] = static_cast<unsigned char>((bytes[1] & 0xF0U) | length >> 8);
            bytes[2] = static_cast<unsigned char>(length);
        }
        const std::uint32_t crc = mpegcore::crc32_mpeg2(bytes.data(), body);
        for (unsigned at = 0; at < 4; ++at)
            bytes[body + at] = static_cast<unsigned char>(crc >> (24 - 8 * at));
    }

    static bool takes(std::size_t input_size) { return input_size >= 4 && input_size <= 1 + largest_section - 4; }

    unsigned pick;
    std::size_t size;
    std::array<unsigned char, largest_section> bytes{};
};
} // namespace zqfuzz
