// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <array>
#include <cstddef>
#include <cstdint>

namespace mpegcore
{
/// Chooses the dictionary, from tag to class, that a list reads with.
enum class ZQDescriptorType
{
    TS = 0,     ///< ISO/IEC 13818-1 and ETSI EN 300 468
    SCTE35 = 1, ///< splice descriptors of ANSI/SCTE 35
};

/// Where a dictionary finds a class: at a tag or, behind the tag 0x7F, at an extension of it.
struct DescriptorPlace
{
    static constexpr std::uint8_t extension_tag = 0x7F;
    static constexpr int any_extension = -1;

    ZQDescriptorType dictionary = ZQDescriptorType::TS;
    std::uint8_t tag = 0;
    /// descriptor_tag_extension behind the tag 0x7F: one of its own, or any that no other class has.
    int extension = any_extension;
};

/// The places of a class that has one and the same tag in these dictionaries.
template <std::size_t N>
constexpr std::array<DescriptorPlace, N> places_of_tag(std::uint8_t tag, const ZQDescriptorType (&dictionaries)[N])
{
    std::array<DescriptorPlace, N> places{};
    for (std::size_t at = 0; at < N; ++at)
        places[at] = {dictionaries[at], tag};
    return places;
}
} // namespace mpegcore
