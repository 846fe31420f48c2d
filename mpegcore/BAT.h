// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/BaseMpegTable.h"
#include "mpegcore/zqdescriptorlist.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace mpegcore
{
/// One transport stream of a bouquet association section. The list that it derives from is not used by the library.
class CBouquetAssociationStream : public ZQDescriptorList
{
public:
    CBouquetAssociationStream() : ZQDescriptorList(ZQDescriptorType::TS) {}

    /// Copies the fields and adds copies of the descriptors to those of `target`. Deliberately, the target's
    /// transport_descriptors_length becomes that of the whole entry, 6 more than its descriptors take.
    void copyTo(CBouquetAssociationStream* target) const;

    /// The loop of descriptors is `descriptors` or another list in its place.
    template <class Self, class Io, class List>
    static bool syntax(Self& s, Io& io, List& transport_descriptors)
    {
        return io.bits(16, s.transport_stream_id) && io.bits(16, s.original_network_id) &&
               io.bits(4, s.reserved_future_use) &&
               io.length(12, s.transport_descriptors_length, transport_descriptors.getSize()) &&
               io.descriptors(s.transport_descriptors_length, transport_descriptors);
    }

    std::uint16_t transport_stream_id = 0;
    std::uint16_t original_network_id = 0;
    std::uint8_t reserved_future_use = 0;           ///< 4 bits
    std::uint16_t transport_descriptors_length = 0; ///< as read; written is the size of `transport_descriptors`
    ZQDescriptorList transport_descriptors{ZQDescriptorType::TS};
};

/// Bouquet association section (ETSI EN 300 468, 5.2.2).
class CBAT : public CBaseMpegTable
{
public:
    using CBaseMpegTable::CBaseMpegTable;

    void Clear() override;
    /// Deliberately, the descriptors of the transport streams are read into `bouquet_descriptors` too, behind its own
    /// and in stream order; the lists of the entries stay empty.
    bool read(Reader& reader) override;
    std::uint32_t calc_section_length() const override;
    /// Bytes of the transport stream loop.
    std::uint32_t calc_transport_stream_loop_length() const;
    /// One section. False, with `used` 0, when it does not fit `buffer` or 4095 bytes of section_length.
    [[nodiscard]] bool RenderTable();
    void copyTo(CBAT* target) const;

    std::uint16_t bouquet_id = 0;
    std::uint8_t reserved = 0; ///< 2 bits, behind bouquet_id
    std::uint8_t version_number = 0;
    std::uint8_t current_next_indicator = 0;
    std::uint8_t section_number = 0;
    std::uint8_t last_section_number = 0;
    std::uint8_t reserved_future_use = 0;         ///< 4 bits, in front of bouquet_descriptors_length
    std::uint16_t bouquet_descriptors_length = 0; ///< as read; written is the size of `bouquet_descriptors`
    ZQDescriptorList bouquet_descriptors{ZQDescriptorType::TS};
    std::uint8_t reserved_future_use2 = 0;          ///< 4 bits, in front of transport_stream_loop_length
    std::uint16_t transport_stream_loop_length = 0; ///< as read; written is what the entries need
    std::vector<std::shared_ptr<CBouquetAssociationStream>> transport_streams; ///< in stream order, doubles too
    std::uint32_t CRC_32 = 0;

private:
    template <class Self, class Io>
    static bool syntax(Self& t, Io& io);
};
} // namespace mpegcore
