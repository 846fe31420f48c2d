// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/BaseMpegTable.h"
#include "mpegcore/zqdescriptorlist.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace mpegcore
{
/// One transport stream of a network information section.
class CBaseTransportStream
{
public:
    CBaseTransportStream() = default;
    virtual ~CBaseTransportStream() = default;
    CBaseTransportStream(const CBaseTransportStream&) = delete;
    CBaseTransportStream& operator=(const CBaseTransportStream&) = delete;

    /// Replaces the fields and the descriptors of `target`, with transport_descriptors_length as they need it.
    void copyTo(CBaseTransportStream* target) const;

    template <class Self, class Io>
    static bool syntax(Self& s, Io& io)
    {
        return io.bits(16, s.transport_stream_id) && io.bits(16, s.original_network_id) &&
               io.bits(4, s.reserved_future_use) &&
               io.length(12, s.transport_descriptors_length, s.descriptors.getSize()) &&
               io.descriptors(s.transport_descriptors_length, s.descriptors);
    }

    std::uint16_t transport_stream_id = 0;
    std::uint16_t original_network_id = 0;
    std::uint8_t reserved_future_use = 0;           ///< 4 bits
    std::uint16_t transport_descriptors_length = 0; ///< as read; written is the size of `descriptors`
    ZQDescriptorList descriptors{ZQDescriptorType::TS};
};

/// Network information section (ETSI EN 300 468, 5.2.1).
class CNIT : public CBaseMpegTable
{
public:
    using CBaseMpegTable::CBaseMpegTable;

    void Clear() override;
    bool read(Reader& reader) override;
    std::uint32_t calc_section_length() const override;
    /// Bytes of the transport stream loop.
    std::uint32_t calc_transport_stream_loop_length() const;
    /// One section. False, with `used` 0, when it does not fit `buffer` or 4095 bytes of section_length.
    [[nodiscard]] bool RenderTable();
    void copyTo(CNIT* target) const;

    std::uint16_t network_id = 0;
    std::uint8_t reserved = 0; ///< 2 bits, behind network_id
    std::uint8_t version_number = 0;
    std::uint8_t current_next_indicator = 0;
    std::uint8_t section_number = 0;
    std::uint8_t last_section_number = 0;
    std::uint8_t reserved_future_use = 0;         ///< 4 bits, in front of network_descriptors_length
    std::uint16_t network_descriptors_length = 0; ///< as read; written is the size of `network_descriptors`
    ZQDescriptorList network_descriptors{ZQDescriptorType::TS};
    std::uint8_t reserved_future_use2 = 0;          ///< 4 bits, in front of transport_stream_loop_length
    std::uint16_t transport_stream_loop_length = 0; ///< as read; written is what the entries need
    std::vector<std::shared_ptr<CBaseTransportStream>> transport_streams; ///< in stream order, doubles too
    std::uint32_t CRC_32 = 0;

private:
    template <class Self, class Io>
    static bool syntax(Self& t, Io& io);
};
} // namespace mpegcore
