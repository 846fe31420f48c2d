// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/text/Meanings.h"

#include "mpegcore/text/MeaningIndex.h"

#include <algorithm>

namespace mpegcore
{
namespace
{
constexpr char folded(char letter) { return letter == '-' || letter == '/' ? '_' : letter; }
} // namespace

std::string_view MeaningTable::find(std::uint64_t value) const
{
    const auto* const end = values + count;
    const auto* const found =
        std::lower_bound(values, end, value, [](const Meaning& m, std::uint64_t v) { return m.last < v; });
    return found == end || found->first > value ? std::string_view() : found->meaning;
}

std::size_t MeaningIndex::Hash::operator()(std::string_view name) const
{
    // FNV-1a.
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const char letter : name)
        hash = (hash ^ static_cast<unsigned char>(folded(letter))) * 0x100000001B3;
    return static_cast<std::size_t>(hash);
}

bool MeaningIndex::Same::operator()(std::string_view a, std::string_view b) const
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return folded(x) == folded(y); });
}

const MeaningIndex& MeaningIndex::instance()
{
    static const MeaningIndex index = [] {
        MeaningIndex all;
        add_table_names(all);
        add_descriptor_names(all);
        add_stream_meanings(all);
        add_service_meanings(all);
        add_content_meanings(all);
        add_component_meanings(all);
        add_delivery_meanings(all);
        add_t2_meanings(all);
        add_application_meanings(all);
        add_splice_meanings(all);
        add_owner_names(all);
        return all;
    }();
    return index;
}

const MeaningTable* MeaningIndex::find(std::string_view field, std::string_view structure) const
{
    const auto tables = m_tables.find(field);
    if (tables == m_tables.end())
        return nullptr;
    const MeaningTable* anywhere = nullptr;
    for (const auto& table : tables->second) {
        if (!table.structure.empty() && Same()(table.structure, structure))
            return &table;
        if (table.structure.empty())
            anywhere = &table;
    }
    return anywhere;
}

std::string_view meaning_of(std::string_view field, std::uint64_t value, std::string_view structure, unsigned qualifier)
{
    // Two fields that have the component types of one stream_content.
    if (field == "subtitling_type")
        return meaning_of("component_type", value, {}, 3);
    if (field == "AAC_type")
        return meaning_of("component_type", value, {}, 6);
    const auto* const table = MeaningIndex::instance().find(field, structure);
    if (table == nullptr)
        return {};
    // Up to stream_content 8 its extension means nothing.
    if ((qualifier & 0xF) <= 8)
        qualifier &= 0xF;
    return table->find(value | std::uint64_t{qualifier} << 8);
}

std::string_view FieldMeanings::next(std::string_view field, std::uint64_t value)
{
    if (field == "content_nibble_level_1")
        m_content_nibble_level_1 = static_cast<unsigned>(value);
    else if (field == "stream_content_ext")
        m_stream_content_ext = static_cast<unsigned>(value);
    else if (field == "stream_content")
        m_stream_content = static_cast<unsigned>(value);
    unsigned qualifier = 0;
    if (field == "content_nibble_level_2")
        qualifier = m_content_nibble_level_1;
    else if (field == "component_type" && m_structure == "component_descriptor")
        qualifier = m_stream_content_ext << 4 | m_stream_content;
    return meaning_of(field, value, m_structure, qualifier);
}

std::string_view descriptor_name(std::uint8_t tag, std::uint8_t extension)
{
    if (tag == 0x7F || tag == 0x3F) {
        const auto name = meaning_of(tag == 0x7F ? "descriptor_tag_extension" : "extension_descriptor_tag", extension);
        if (!name.empty())
            return name;
    }
    return meaning_of("descriptor_tag", tag);
}
} // namespace mpegcore
