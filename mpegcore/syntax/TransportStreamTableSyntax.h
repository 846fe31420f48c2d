// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/TransportStreamTable.h"
#include "mpegcore/syntax/SectionTableSyntax.h"

#include <cstdint>

namespace mpegcore
{
constexpr std::uint32_t transport_stream_length = 6;

template <class Table, class Entry>
template <class Self, class Io>
bool CTransportStreamTable<Table, Entry>::syntax(Self& t, Io& io)
{
    const auto stream = [&](auto& entry) {
        return CTransportStreamEntry::syntax(entry, io, Table::template descriptors_of<Io>(t, entry));
    };
    auto& first_loop = t.*(Table::first_loop);
    return io.bits(16, Table::id_name, t.*(Table::id)) && io.bits(2, "reserved", t.reserved) &&
           version_and_sections(t, io) && io.bits(4, "reserved_future_use", t.reserved_future_use) &&
           io.length(12, Table::first_loop_length_name, t.*(Table::first_loop_length), first_loop.getSize()) &&
           io.descriptors(t.*(Table::first_loop_length), "descriptors", first_loop) &&
           io.bits(4, "reserved_future_use", t.reserved_future_use2) &&
           io.length(12, "transport_stream_loop_length", t.transport_stream_loop_length,
                     t.calc_transport_stream_loop_length()) &&
           io.within(t.transport_stream_loop_length, [&] {
               return io.loop(transport_stream_length, "transport_streams", t.transport_streams, stream);
           });
}

template <class Table, class Entry>
void CTransportStreamTable<Table, Entry>::Clear()
{
    (table().*(Table::first_loop)).clear();
    transport_streams.clear();
    CBaseMpegTable::Clear();
}

template <class Table, class Entry>
std::uint32_t CTransportStreamTable<Table, Entry>::calc_transport_stream_loop_length() const
{
    std::uint32_t length = 0;
    for (const auto& stream : transport_streams)
        if (stream)
            length += transport_stream_length + Table::template descriptors_of<TableWriter>(table(), *stream).getSize();
    return length;
}

template <class Table, class Entry>
std::uint32_t CTransportStreamTable<Table, Entry>::calc_section_length() const
{
    constexpr std::uint32_t fixed_length = 13;
    return fixed_length + (table().*(Table::first_loop)).getSize() + calc_transport_stream_loop_length();
}
} // namespace mpegcore
