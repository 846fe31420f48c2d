// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstdint>
#include <string_view>

namespace mpegcore
{
/// What the standards say that a value of a field stands for, in a few words; empty where they say nothing (most
/// fields are plain numbers) or have reserved the value. The text lives as long as the program.
///
/// `field` is the standard's name; '-', '/' and '_' are taken for one another. `structure` is needed for fields that
/// mean different things in different places, and is the standard's name, too: of the descriptor that holds the field
/// ("T2_delivery_system_descriptor"), of the section for a descriptor_tag ("application_information_section"; without
/// one the tag is that of a transport stream). `qualifier` is the value of another field that a meaning hangs on:
/// content_nibble_level_1 for content_nibble_level_2, and for component_type, but in the AC-3
/// descriptors, stream_content_ext * 16 + stream_content.
[[nodiscard]] std::string_view meaning_of(std::string_view field, std::uint64_t value, std::string_view structure = {},
                                          unsigned qualifier = 0);

/// The same for somebody who walks a structure in stream order: remembers the qualifiers.
class FieldMeanings
{
public:
    /// From here on fields belong to this structure; the text must outlive the walk through it.
    void enter(std::string_view structure) { m_structure = structure; }
    /// The meaning of the next field. Every number is to come by here, in stream order.
    [[nodiscard]] std::string_view next(std::string_view field, std::uint64_t value);

private:
    std::string_view m_structure;
    unsigned m_content_nibble_level_1 = 0;
    unsigned m_stream_content_ext = 0;
    unsigned m_stream_content = 0;
};

/// The standard's name of a descriptor, "network_name_descriptor", empty when the tag is nobody's. `extension` is the
/// descriptor_tag_extension behind the tags 0x7F (EN 300 468) and 0x3F (ISO/IEC 13818-1), for other tags anything.
[[nodiscard]] std::string_view descriptor_name(std::uint8_t tag, std::uint8_t extension = 0xFF);
} // namespace mpegcore
