// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace mpegcore
{
/// What the values from `first` to `last` stand for.
struct Meaning
{
    constexpr Meaning(std::uint32_t value, std::string_view text) : first(value), last(value), meaning(text) {}
    constexpr Meaning(std::uint32_t from, std::uint32_t to, std::string_view text)
        : first(from), last(to), meaning(text)
    {}

    std::uint32_t first;
    std::uint32_t last;
    std::string_view meaning;
};

/// The values of a field, ascending, with what they stand for.
struct MeaningTable
{
    std::string_view structure; ///< where it holds; empty: wherever no other table does
    const Meaning* values;
    std::size_t count;

    [[nodiscard]] std::string_view find(std::uint64_t value) const;
};

/// Field names to tables; '-', '/' and '_' are one letter.
class MeaningIndex
{
public:
    /// All tables of the library.
    [[nodiscard]] static const MeaningIndex& instance();

    template <std::size_t Count>
    void add(std::string_view field, const Meaning (&values)[Count], std::string_view structure = {})
    {
        add(field, {structure, values, Count});
    }
    void add(std::string_view field, const MeaningTable& table) { m_tables[field].push_back(table); }

    /// Null when there is none.
    [[nodiscard]] const MeaningTable* find(std::string_view field, std::string_view structure) const;

    template <class Visit>
    void for_each(Visit&& visit) const
    {
        for (const auto& [field, tables] : m_tables)
            for (const auto& table : tables)
                visit(field, table);
    }

private:
    struct Hash
    {
        std::size_t operator()(std::string_view name) const;
    };
    struct Same
    {
        bool operator()(std::string_view a, std::string_view b) const;
    };

    std::unordered_map<std::string_view, std::vector<MeaningTable>, Hash, Same> m_tables;
};

// One for each file of tables.
void add_table_names(MeaningIndex& index);
void add_descriptor_names(MeaningIndex& index);
void add_stream_meanings(MeaningIndex& index);
void add_service_meanings(MeaningIndex& index);
void add_content_meanings(MeaningIndex& index);
void add_component_meanings(MeaningIndex& index);
void add_delivery_meanings(MeaningIndex& index);
void add_t2_meanings(MeaningIndex& index);
void add_application_meanings(MeaningIndex& index);
void add_splice_meanings(MeaningIndex& index);
void add_owner_names(MeaningIndex& index);
} // namespace mpegcore
