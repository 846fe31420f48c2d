// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/SectionTable.h"
#include "mpegcore/zqdescriptorlist.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace mpegcore
{
/// One transport stream of a network information or bouquet association section, without its descriptors.
class CTransportStreamEntry
{
public:
    template <class Self, class Io, class List>
    static bool syntax(Self& s, Io& io, List& transport_descriptors)
    {
        return io.bits(16, "transport_stream_id", s.transport_stream_id) &&
               io.bits(16, "original_network_id", s.original_network_id) &&
               io.bits(4, "reserved_future_use", s.reserved_future_use) &&
               io.length(12, "transport_descriptors_length", s.transport_descriptors_length,
                         transport_descriptors.getSize()) &&
               io.descriptors(s.transport_descriptors_length, "descriptors", transport_descriptors);
    }

    std::uint16_t transport_stream_id = 0;
    std::uint16_t original_network_id = 0;
    std::uint8_t reserved_future_use = 0;           ///< 4 bits
    std::uint16_t transport_descriptors_length = 0; ///< as read; written is the size of the descriptors
};

/// What network information and bouquet association sections (ETSI EN 300 468, 5.2.1 and 5.2.2) share: the long header,
/// and a loop of transport streams behind one of descriptors. `Table`, which derives from it, has the table id
/// extension and that first loop under names of its own, and tells which list holds the descriptors of an entry.
template <class Table, class Entry>
class CTransportStreamTable : public CSectionTable<Table>
{
public:
    using CSectionTable<Table>::CSectionTable;

    void Clear() override;
    std::uint32_t calc_section_length() const override;
    /// Bytes of the transport stream loop.
    std::uint32_t calc_transport_stream_loop_length() const;

    std::uint8_t reserved = 0;                             ///< 2 bits, behind the table id extension
    std::uint8_t reserved_future_use = 0;                  ///< 4 bits, in front of the first loop's length
    std::uint8_t reserved_future_use2 = 0;                 ///< 4 bits, in front of transport_stream_loop_length
    std::uint16_t transport_stream_loop_length = 0;        ///< as read; written is what the entries need
    std::vector<std::shared_ptr<Entry>> transport_streams; ///< in stream order, doubles too

private:
    friend CSectionTable<Table>;
    using CSectionTable<Table>::table;

    template <class Self, class Io>
    static bool syntax(Self& t, Io& io);
};
} // namespace mpegcore
