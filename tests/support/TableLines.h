// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/BaseMpegParser.h"
#include "mpegcore/TablePrinter.h"

#include <cstdio>
#include <string>

/// One line of text per table, with the fields and the tags of its descriptors.
namespace zqtest
{
template <class... Numbers>
std::string formatted(const char* format, Numbers... numbers)
{
    char line[256];
    std::snprintf(line, sizeof line, format, numbers...);
    return line;
}

/// "n[a,b,c]" of what `item` makes of each entry.
template <class Container, class Item>
std::string list_text(const Container& entries, Item item)
{
    std::string line;
    for (const auto& entry : entries)
        line += (line.empty() ? "" : ",") + item(entry);
    return "[" + line + "]";
}

template <class Container, class Item>
std::string counted_text(const Container& entries, Item item)
{
    return std::to_string(entries.size()) + list_text(entries, item);
}

inline std::string tags(const mpegcore::ZQDescriptorList& list)
{
    return list_text(list, [](const auto& descriptor) { return formatted("%02x", descriptor->descriptor_tag); });
}

inline std::string header_text(const mpegcore::CBaseMpegTable& table)
{
    return formatted("table_id=0x%02x section_length=%u ", table.table_id, table.section_length);
}

template <class Table>
std::string version_text(const Table& t)
{
    return formatted(" version=%u current=%u section=%u last=%u", t.version_number, t.current_next_indicator,
                     t.section_number, t.last_section_number);
}

inline std::string crc_text(std::uint32_t crc) { return formatted(" crc_32=0x%08x", crc); }

/// All fields, of a table that no callback tells of.
inline std::string fields_text(const mpegcore::CBaseMpegTable& t) { return mpegcore::to_text(t); }

inline std::string fields_text(const mpegcore::CPAT& t)
{
    return header_text(t) + formatted("tsid=%u", t.transport_stream_id) + version_text(t) + " programs=" +
           counted_text(t.programs,
                        [](const auto& p) { return formatted("0x%04x:%u", p.first, p.second.program_number); }) +
           crc_text(t.CRC_32);
}

inline std::string fields_text(const mpegcore::CPMT& t)
{
    const auto stream = [](const auto& s) {
        return formatted("0x%04x:0x%02x", s.first, s.second->stream_type) + tags(s.second->descriptors);
    };
    return header_text(t) + formatted("program=%u", t.program_number) + version_text(t) +
           formatted(" pcr_pid=0x%04x", t.PCR_PID) + " descriptors=" + tags(t.descriptors) +
           " streams=" + counted_text(t.streams, stream) + crc_text(t.CRC_32);
}

inline std::string fields_text(const mpegcore::CDescriptorTable& t)
{
    std::string ca;
    for (const auto& descriptor : t.descriptors)
        if (const auto* found = dynamic_cast<const mpegcore::CA_descriptor*>(descriptor.get()))
            ca += (ca.empty() ? "" : ",") + formatted("0x%04x:0x%04x", found->CA_system_ID, found->CA_PID);
    return header_text(t) + version_text(t).substr(1) + " descriptors=" + tags(t.descriptors) + " ca=[" + ca + "]" +
           crc_text(t.CRC_32);
}

inline std::string fields_text(const mpegcore::CSDT& t)
{
    const auto service = [](const auto& s) {
        return formatted("%u:%u%u%u%u", s.first, s.second->EIT_schedule_flag, s.second->EIT_present_following_flag,
                         s.second->running_status, s.second->free_CA_mode) +
               tags(s.second->descriptors);
    };
    return header_text(t) + formatted("tsid=%u", t.transport_stream_id) + version_text(t) +
           formatted(" onid=%u", t.original_network_id) + " services=" + counted_text(t.services, service) +
           crc_text(t.CRC_32);
}

template <class Stream>
std::string stream_text(const Stream& s, const mpegcore::ZQDescriptorList& list)
{
    return formatted("%u:%u:%u", s.transport_stream_id, s.original_network_id, s.transport_descriptors_length) +
           tags(list);
}

inline std::string fields_text(const mpegcore::CNIT& t)
{
    return header_text(t) + formatted("id=%u", t.network_id) + version_text(t) +
           " descriptors=" + tags(t.network_descriptors) + " streams=" +
           counted_text(t.transport_streams, [](const auto& s) { return stream_text(*s, s->descriptors); }) +
           crc_text(t.CRC_32);
}

inline std::string fields_text(const mpegcore::CBAT& t)
{
    return header_text(t) + formatted("id=%u", t.bouquet_id) + version_text(t) +
           " descriptors=" + tags(t.bouquet_descriptors) + " streams=" +
           counted_text(t.transport_streams, [](const auto& s) { return stream_text(*s, s->transport_descriptors); }) +
           crc_text(t.CRC_32);
}

inline std::string fields_text(const mpegcore::CEIT& t)
{
    const auto event = [](const auto& e) {
        return formatted("%u:%010lx:%06x:%u:%u", e->event_id, e->start_time, e->duration, e->running_status,
                         e->free_CA_mode) +
               tags(e->descriptors);
    };
    return header_text(t) + formatted("service=%u", t.service_id) + version_text(t) +
           formatted(" tsid=%u onid=%u segment_last=%u last_table_id=0x%02x", t.transport_stream_id,
                     t.original_network_id, t.segment_last_section_number, t.last_table_id) +
           " events=" + counted_text(t.events, event) + crc_text(t.CRC_32);
}

inline std::string fields_text(const mpegcore::CTDT& t)
{
    return header_text(t) + formatted("utc=0x%010lx", t.UTC_time);
}

inline std::string fields_text(const mpegcore::CTOT& t)
{
    return header_text(t) + formatted("utc=0x%010lx loop=%u", t.UTC_time, t.descriptors_loop_length) +
           " descriptors=" + tags(t.descriptors) + crc_text(t.CRC_32);
}
} // namespace zqtest
