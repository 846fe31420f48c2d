// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/sections/SectionHeader.h"

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <vector>

namespace mpegcore
{
/// What tells one table of a stream from the others. The last three are 0 where the table has no such field.
struct TableIdentity
{
    std::uint16_t PID = 0;
    std::uint8_t table_id = 0;
    std::uint16_t table_id_extension = 0;  ///< program_number of a PMT, service_id of an EIT
    std::uint16_t transport_stream_id = 0; ///< EIT only, as the next one
    std::uint16_t original_network_id = 0;

    /// Of the section that `header` belongs to.
    static TableIdentity of(std::uint16_t PID, const SectionHeader& header);

    friend bool operator==(const TableIdentity& one, const TableIdentity& other)
    {
        return one.order() == other.order();
    }
    friend bool operator!=(const TableIdentity& one, const TableIdentity& other) { return !(one == other); }
    friend bool operator<(const TableIdentity& one, const TableIdentity& other) { return one.order() < other.order(); }

private:
    std::array<std::uint16_t, 5> order() const
    {
        return {PID, table_id, table_id_extension, transport_stream_id, original_network_id};
    }
};

/// All sections of one version of a table.
struct WholeTable
{
    TableIdentity identity;
    std::uint8_t version_number = 0;
    std::uint8_t last_section_number = 0;
    std::map<std::uint8_t, std::vector<unsigned char>> sections; ///< by section_number, whole, CRC_32 included
};

enum class TableNews
{
    complete,  ///< for the first time all sections are there
    changed,   ///< all sections of another version, or of the same with other bytes, are there
    gone,      ///< it was removed, or did not come for too long
    forgotten, ///< for want of memory; when it comes again, it is complete again
};

/// Puts the sections of tables together and tells what became of each table.
///
/// A table is whole when its sections 0 to last_section_number are there; an EIT when in each segment of 8 sections all
/// up to the segment_last_section_number are (ETSI EN 300 468, 5.2.4). A section that is another than the one before
/// with the same number begins the table anew, also when the version_number is the same; the old one stays until the
/// new one is whole. A section without table_id_extension is a table. Sections with current_next_indicator 0 are left
/// out.
///
/// Memory: at most `memory_limit` by an estimate that includes what containers take. The tables that came least
/// recently are forgotten first.
class WholeTables
{
public:
    /// Called inside the functions below; may call find(), and nothing else. The table holds during the call; it is the
    /// new one for complete and changed, the old one otherwise.
    using Report = std::function<void(TableNews news, const WholeTable& table)>;

    static constexpr std::size_t default_memory_limit = std::size_t{16} << 20;

    explicit WholeTables(Report report, std::size_t memory_limit = default_memory_limit);
    WholeTables(const WholeTables&) = delete;
    WholeTables& operator=(const WholeTables&) = delete;

    /// A whole section whose CRC_32 is good or that needs none. `time`, in any unit, must not go back. True when the
    /// table is whole with this section and no other is being gathered: it would bring no news a second time.
    bool put(std::uint16_t PID, const unsigned char* section, std::size_t size, std::uint64_t time = 0);
    /// The tables of the PID are gone.
    void remove(std::uint16_t PID);
    /// The table is gone.
    void remove(const TableIdentity& identity);
    /// Every table is gone of which no section came at `time` or later.
    void expire(std::uint64_t time);
    /// Back to the beginning, without news.
    void clear();

    /// The table if it was whole once and is not gone, else null. It holds until the next call that is not const.
    const WholeTable* find(const TableIdentity& identity) const;
    /// Bytes in use by the estimate.
    std::size_t memory() const { return m_memory; }

private:
    static constexpr std::size_t segments = 32;

    /// What came of a version that is not whole yet.
    struct Gathering
    {
        WholeTable table;
        std::bitset<256> numbers; ///< of the sections that are there
        std::array<std::uint8_t, segments> segment_last_section_number{};
        bool is_EIT = false;

        [[nodiscard]] bool is_whole() const;
    };
    struct Entry;
    using Entries = std::map<TableIdentity, Entry>;
    struct Entry
    {
        WholeTable current; ///< if is_complete
        Gathering next;     ///< without sections: nothing is being gathered
        bool is_complete = false;
        std::uint64_t time = 0;
        std::list<Entries::iterator>::iterator place; ///< in m_order
    };

    Entries::iterator find_or_add(const TableIdentity& identity, std::uint64_t time);
    static bool is_current(const Entry& entry, const SectionHeader& header, const unsigned char* section,
                           std::size_t size);
    bool gather(Entries::iterator at, const SectionHeader& header, const unsigned char* section, std::size_t size);
    void complete(Entry& entry);
    void restart(Entry& entry);
    void drop_sections(WholeTable& table);
    [[nodiscard]] bool make_room(std::size_t bytes, Entries::iterator keep);
    void take_out(Entries::iterator at, TableNews news);

    Report m_report;
    std::size_t m_memory_limit;
    std::size_t m_memory = 0;
    Entries m_entries;
    std::list<Entries::iterator> m_order; ///< the one whose section came last at the end
};
} // namespace mpegcore
