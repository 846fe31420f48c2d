// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/CRC.h"
#include "mpegcore/parser/TableRegistry.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace zqfuzz
{
constexpr std::size_t largest_section = 1024;

template <class... Tables>
struct TableKinds
{
    static constexpr unsigned count = sizeof...(Tables);
    static constexpr bool is_PMT[]{std::is_same_v<Tables, mpegcore::CPMT>...};
    static constexpr bool has_CRC_32[]{Tables::has_CRC_32...};
};
/// What is to be known of the table classes, in the order of the registry.
using table_kinds = mpegcore::table_classes<TableKinds>;

/// The first byte picks one of `classes`, of which the first are the table classes of the registry; the rest is a
/// section whose length and CRC_32 are put right.
struct RepairedSection
{
    RepairedSection(const std::uint8_t* data, std::size_t input_size, unsigned classes)
        : pick(data[0] % classes), size(input_size - 1)
    {
        std::memcpy(bytes.data(), data + 1, size);
        if (pick < table_kinds::count && table_kinds::is_PMT[pick]) { // which refuse other headers
            bytes[0] = 0x02;
            bytes[1] &= 0xBF;
        }
        const bool has_CRC_32 = pick >= table_kinds::count || table_kinds::has_CRC_32[pick];
        // With a high first byte the length stays as the input has it.
        if (data[0] < 0xC8) {
            const std::size_t length = size - 3 + (has_CRC_32 ? 4 : 0);
            bytes[1] = static_cast<unsigned char>((bytes[1] & 0xF0U) | length >> 8);
            bytes[2] = static_cast<unsigned char>(length);
        }
        if (!has_CRC_32)
            return;
        const std::uint32_t crc = mpegcore::crc32_mpeg2(bytes.data(), size);
        for (unsigned at = 0; at < 4; ++at)
            bytes[size++] = static_cast<unsigned char>(crc >> (24 - 8 * at));
    }

    static bool takes(std::size_t input_size) { return input_size >= 4 && input_size <= 1 + largest_section - 4; }

    unsigned pick;
    std::size_t size;
    std::array<unsigned char, largest_section> bytes{};
};
} // namespace zqfuzz
