// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/text/StreamName.h"

#include "mpegcore/text/DVBText.h"
#include "mpegcore/text/Meanings.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace mpegcore
{
namespace
{
constexpr std::uint8_t PES_private_data = 0x06;
constexpr std::uint8_t private_sections = 0x05;
constexpr std::uint8_t first_user_private = 0x80;

// By descriptor_tag; ETSI EN 300 468 and ETSI TS 102 809.
constexpr std::array<std::pair<std::uint8_t, std::string_view>, 9> by_tag{{{0x56, "teletext"},
                                                                           {0x59, "DVB subtitles"},
                                                                           {0x6A, "AC-3 audio"},
                                                                           {0x7A, "E-AC-3 audio"},
                                                                           {0x7B, "DTS audio"},
                                                                           {0x7C, "AAC audio"},
                                                                           {0x45, "VBI data"},
                                                                           {0x46, "VBI teletext"},
                                                                           {0x6F, "AIT"}}};

std::string name_by_descriptors(const ZQDescriptorList& descriptors)
{
    for (const auto& [tag, name] : by_tag)
        if (descriptors.find(tag))
            return std::string(name);
    return {};
}

void add_language(std::string& languages, const std::array<unsigned char, 3>& code)
{
    const std::string text = latin_1_to_utf8(code.data(), code.size());
    if (languages.find(text) != std::string::npos)
        return;
    languages += (languages.empty() ? "" : ",") + text;
}
} // namespace

std::string stream_name(const CBaseStreamTypeMap& stream)
{
    const bool is_open = stream.stream_type == PES_private_data || stream.stream_type == private_sections ||
                         stream.stream_type >= first_user_private;
    if (is_open)
        if (auto name = name_by_descriptors(stream.descriptors); !name.empty())
            return name;
    return std::string(meaning_of("stream_type", stream.stream_type));
}

std::string stream_language(const CBaseStreamTypeMap& stream)
{
    std::string languages;
    for (const auto& descriptor : stream.descriptors) {
        if (const auto* const found = dynamic_cast<const ISO_639_language_descriptor*>(descriptor.get()))
            for (const auto& entry : found->entries)
                add_language(languages, entry.ISO_639_language_code);
        if (const auto* const found = dynamic_cast<const subtitling_descriptor*>(descriptor.get()))
            for (const auto& entry : found->entries)
                add_language(languages, entry.ISO_639_language_code);
        if (const auto* const found = dynamic_cast<const teletext_descriptor*>(descriptor.get()))
            for (const auto& entry : found->entries)
                add_language(languages, entry.ISO_639_language_code);
    }
    return languages;
}
} // namespace mpegcore
