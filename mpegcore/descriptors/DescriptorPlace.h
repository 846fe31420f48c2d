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

    // By the standards, with every class there is. A descriptor takes its descriptor_length, no more and no less: bytes
    // behind the syntax are kept and written back, a body that does not hold the syntax is kept raw, and so are empty
    // descriptors, at the end of a loop too. The values leave room: those next to the first two stay unknown.
    Standard = 0x100,       ///< loops of transport streams
    StandardSCTE35 = 0x101, ///< loops of splice_info_section
    StandardAIT = 0x102,    ///< loops of the application information table, ETSI TS 102 809
};

/// Where a dictionary finds a class: at a tag, at an extension of the tag 0x7F, or at a tag of some private owner.
struct DescriptorPlace
{
    static constexpr std::uint8_t extension_tag = 0x7F;
    static constexpr int any_extension = -1;

    ZQDescriptorType dictionary = ZQDescriptorType::TS;
    std::uint8_t tag = 0;
    /// descriptor_tag_extension behind the tag 0x7F: one of its own, or any that no other class has.
    int extension = any_extension;
    /// Behind the tags 0x80 to 0xFE of Standard: the values of private_data_specifier that the class belongs to, the
    /// one that stands before it in its loop. 0 is none.
    std::uint32_t first_specifier = 0;
    std::uint32_t last_specifier = first_specifier;
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
