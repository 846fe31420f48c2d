// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/sections/WholeTables.h"

#include <algorithm>
#include <utility>

namespace mpegcore
{
namespace
{
constexpr unsigned segment_size = 8;
/// What containers take beside the bytes, with room for how an allocator rounds.
constexpr std::size_t entry_cost = 640, section_cost = 128;

/// The numbers of a section; a table without the long header is a single section of version 0.
struct Numbers
{
    explicit Numbers(const SectionHeader& header)
    {
        if (!header.has_extension())
            return;
        version = header.version_number();
        number = header.section_number();
        last = header.last_section_number();
    }

    std::uint8_t version = 0, number = 0, last = 0;
};

bool same_bytes(const std::vector<unsigned char>& stored, const unsigned char* section, std::size_t size)
{
    return stored.size() == size && std::equal(stored.begin(), stored.end(), section);
}

bool belongs_to(const WholeTable& table, const Numbers& numbers)
{
    return table.version_number == numbers.version && table.last_section_number == numbers.last;
}
} // namespace

TableIdentity TableIdentity::of(std::uint16_t PID, const SectionHeader& header)
{
    TableIdentity identity;
    identity.PID = PID;
    identity.table_id = header.table_id();
    if (header.has_extension())
        identity.table_id_extension = header.table_id_extension();
    if (header.is_EIT()) {
        identity.transport_stream_id = header.EIT_transport_stream_id();
        identity.original_network_id = header.EIT_original_network_id();
    }
    return identity;
}

bool WholeTables::Gathering::is_whole() const
{
    const unsigned last = table.last_section_number;
    if (!is_EIT)
        return numbers.count() == last + 1U;
    for (unsigned first = 0; first <= last; first += segment_size) {
        const unsigned segment_end = std::min(first + segment_size - 1, last);
        const unsigned stated = segment_last_section_number[first / segment_size];
        // One that is not of the segment says nothing.
        const unsigned end = stated >= first && stated <= segment_end ? stated : segment_end;
        for (unsigned number = first; number <= end; ++number)
            if (!numbers[number])
                return false;
    }
    return true;
}

WholeTables::WholeTables(Report report, std::size_t memory_limit)
    : m_report(std::move(report)), m_memory_limit(memory_limit)
{}

bool WholeTables::put(std::uint16_t PID, const unsigned char* section, std::size_t size, std::uint64_t time)
{
    const SectionHeader header(section, size);
    if (header.section_syntax_indicator() && !header.has_extension())
        return false;
    if (header.has_extension() &&
        (!header.current_next_indicator() || header.section_number() > header.last_section_number()))
        return false;
    const auto at = find_or_add(TableIdentity::of(PID, header), time);
    Entry& entry = at->second;
    if (is_current(entry, header, section, size) &&
        (entry.next.table.sections.empty() || !belongs_to(entry.next.table, Numbers(header))))
    {
        restart(entry); // the version that was to follow does not
        return true;
    }
    return gather(at, header, section, size);
}

bool WholeTables::is_current(const Entry& entry, const SectionHeader& header, const unsigned char* section,
                             std::size_t size)
{
    const Numbers numbers(header);
    if (!entry.is_complete || !belongs_to(entry.current, numbers))
        return false;
    const auto found = entry.current.sections.find(numbers.number);
    return found != entry.current.sections.end() && same_bytes(found->second, section, size);
}

bool WholeTables::gather(Entries::iterator at, const SectionHeader& header, const unsigned char* section,
                         std::size_t size)
{
    Entry& entry = at->second;
    Gathering& next = entry.next;
    const Numbers numbers(header);
    const auto found = next.table.sections.find(numbers.number);
    if (found != next.table.sections.end() && belongs_to(next.table, numbers) &&
        same_bytes(found->second, section, size))
        return false;
    if (found != next.table.sections.end() || !belongs_to(next.table, numbers))
        restart(entry);
    if (!make_room(size + section_cost, at)) {
        if (!entry.is_complete)
            take_out(at, TableNews::forgotten);
        else
            restart(entry);
        return false;
    }
    m_memory += size + section_cost;
    next.table.identity = at->first;
    next.table.version_number = numbers.version;
    next.table.last_section_number = numbers.last;
    next.table.sections[numbers.number].assign(section, section + size);
    next.numbers.set(numbers.number);
    next.is_EIT = header.is_EIT();
    if (next.is_EIT)
        next.segment_last_section_number[numbers.number / segment_size] = header.segment_last_section_number();
    const bool is_whole = next.is_whole();
    if (is_whole)
        complete(entry);
    return is_whole;
}

void WholeTables::complete(Entry& entry)
{
    WholeTable whole = std::move(entry.next.table);
    entry.next = Gathering{};
    // The version_number and last_section_number stand in the sections.
    if (entry.is_complete && whole.sections == entry.current.sections) {
        drop_sections(whole);
        return;
    }
    const TableNews news = entry.is_complete ? TableNews::changed : TableNews::complete;
    drop_sections(entry.current);
    entry.current = std::move(whole);
    entry.is_complete = true;
    m_report(news, entry.current);
}

void WholeTables::restart(Entry& entry)
{
    if (entry.next.table.sections.empty())
        return;
    drop_sections(entry.next.table);
    entry.next = Gathering{};
}

void WholeTables::drop_sections(WholeTable& table)
{
    for (const auto& section : table.sections)
        m_memory -= section.second.size() + section_cost;
    table.sections.clear();
}

WholeTables::Entries::iterator WholeTables::find_or_add(const TableIdentity& identity, std::uint64_t time)
{
    const auto [at, is_new] = m_entries.try_emplace(identity);
    if (is_new) {
        m_memory += entry_cost;
        at->second.place = m_order.insert(m_order.end(), at);
    } else {
        m_order.splice(m_order.end(), m_order, at->second.place);
    }
    at->second.time = time;
    return at;
}

bool WholeTables::make_room(std::size_t bytes, Entries::iterator keep)
{
    while (m_memory + bytes > m_memory_limit) {
        if (m_order.front() == keep)
            return false;
        take_out(m_order.front(), TableNews::forgotten);
    }
    return true;
}

void WholeTables::take_out(Entries::iterator at, TableNews news)
{
    m_order.erase(at->second.place);
    auto node = m_entries.extract(at);
    Entry& entry = node.mapped();
    restart(entry);
    if (entry.is_complete)
        m_report(news, entry.current);
    drop_sections(entry.current);
    m_memory -= entry_cost;
}

void WholeTables::remove(std::uint16_t PID)
{
    TableIdentity first;
    first.PID = PID;
    for (auto at = m_entries.lower_bound(first); at != m_entries.end() && at->first.PID == PID;)
        take_out(at++, TableNews::gone);
}

void WholeTables::remove(const TableIdentity& identity)
{
    const auto at = m_entries.find(identity);
    if (at != m_entries.end())
        take_out(at, TableNews::gone);
}

void WholeTables::expire(std::uint64_t time)
{
    while (!m_order.empty() && m_order.front()->second.time < time)
        take_out(m_order.front(), TableNews::gone);
}

void WholeTables::clear()
{
    m_order.clear();
    m_entries.clear();
    m_memory = 0;
}

const WholeTable* WholeTables::find(const TableIdentity& identity) const
{
    const auto at = m_entries.find(identity);
    return at != m_entries.end() && at->second.is_complete ? &at->second.current : nullptr;
}
} // namespace mpegcore
