// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/text/Meanings.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace mpegcore
{
/// Knows for each number of a walk what structure it stands in, and from that its meaning.
class RecordMeanings
{
public:
    void open_record() { m_structures.push_back(structure()); }
    void close_record()
    {
        m_structures.pop_back();
        m_meanings.enter(structure());
    }

    /// The meaning of the next number, or nothing.
    [[nodiscard]] std::string_view number(std::string_view name, std::uint64_t value)
    {
        const std::string_view meaning = m_meanings.next(name, value);
        if (name == "table_id")
            enter(section_name(value));
        else if (!meaning.empty() && (name == "descriptor_tag" || name == "descriptor_tag_extension"))
            enter(meaning);
        return meaning;
    }

private:
    /// Those sections whose descriptors have tags of their own.
    static std::string_view section_name(std::uint64_t table_id)
    {
        switch (table_id) {
        case 0x74:
            return "application_information_section";
        case 0xFC:
            return "splice_info_section";
        default:
            return {};
        }
    }

    std::string_view structure() const { return m_structures.empty() ? std::string_view() : m_structures.back(); }
    void enter(std::string_view structure)
    {
        if (!m_structures.empty())
            m_structures.back() = structure;
        m_meanings.enter(structure);
    }

    FieldMeanings m_meanings;
    std::vector<std::string_view> m_structures; ///< of the open records
};
} // namespace mpegcore
