// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstddef>
#include <cstdint>

namespace mpegcore
{
/// The values of packet_type (ETSI TS 102 773, table 1); all others are reserved for future use.
enum class T2MIPacketType : std::uint8_t
{
    baseband_frame = 0x00,
    auxiliary_stream = 0x01,
    arbitrary_cells = 0x02,
    L1_current = 0x10,
    L1_future = 0x11,
    P2_bias_balancing = 0x12,
    DVB_T2_timestamp = 0x20,
    individual_addressing = 0x21,
    FEF_null = 0x30,
    FEF_IQ = 0x31,
    FEF_composite = 0x32,
    FEF_sub_part = 0x33,
};

/// Whether table 1 has a meaning for this packet_type.
bool is_known_T2MI_packet_type(std::uint8_t packet_type);

/// What stands in front of the payload of a T2-MI packet (ETSI TS 102 773, 5.1).
struct T2MIHeader
{
    static constexpr std::size_t size = 6;     ///< bytes
    static constexpr std::size_t crc_size = 4; ///< bytes of the crc32 behind payload and pad

    template <class Self, class Io>
    static bool syntax(Self& h, Io& io)
    {
        return io.bits(8, "packet_type", h.packet_type) && io.bits(8, "packet_count", h.packet_count) &&
               io.bits(4, "superframe_idx", h.superframe_idx) && io.bits(9, "rfu", h.rfu) &&
               io.bits(3, "t2mi_stream_id", h.t2mi_stream_id) && io.bits(16, "payload_len", h.payload_len);
    }

    std::uint8_t packet_type = 0;
    std::uint8_t packet_count = 0;
    std::uint8_t superframe_idx = 0; ///< 4 bits
    std::uint16_t rfu = 0;           ///< 9 bits
    std::uint8_t t2mi_stream_id = 0; ///< 3 bits
    std::uint16_t payload_len = 0;   ///< in bits
};
} // namespace mpegcore
