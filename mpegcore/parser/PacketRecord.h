// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/TransportPacket.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

/// How the parser makes the record of a packet.
namespace mpegcore
{
/// The header of a packet without its continuity_counter, for comparison only.
inline std::uint32_t header_at(const unsigned char* packet)
{
    constexpr unsigned char counted[4] = {0xFF, 0xFF, 0xFF, 0xF0};
    std::uint32_t header = 0, mask = 0;
    std::memcpy(&header, packet, sizeof(header));
    std::memcpy(&mask, counted, sizeof(mask));
    return header & mask;
}

inline unsigned short PID_at(const unsigned char* packet)
{
    return static_cast<unsigned short>((packet[1] << 8 | packet[2]) & 0x1FFF);
}

/// The header fields that lie side by side in a record, for every value of the bits they come from.
struct HeaderFields
{
    std::array<std::uint8_t, 4> first[8];   // sync_byte to transport_priority, by the top 3 bits of byte 1
    std::array<std::uint8_t, 2> second[16]; // transport_scrambling_control and adaptation_field_control, by byte 3
};
static_assert(offsetof(transport_packet, sync_byte) == 0 && offsetof(transport_packet, transport_priority) == 3);
static_assert(offsetof(transport_packet, adaptation_field_control) ==
              offsetof(transport_packet, transport_scrambling_control) + 1);

constexpr HeaderFields make_header_fields()
{
    HeaderFields fields{};
    for (unsigned bits = 0; bits < 8; ++bits) {
        fields.first[bits] = {ts_sync_byte, static_cast<std::uint8_t>(bits >> 2),
                              static_cast<std::uint8_t>(bits >> 1 & 1U), static_cast<std::uint8_t>(bits & 1U)};
    }
    for (unsigned bits = 0; bits < 16; ++bits)
        fields.second[bits] = {static_cast<std::uint8_t>(bits >> 2), static_cast<std::uint8_t>(bits & 3U)};
    return fields;
}

inline constexpr HeaderFields known_fields = make_header_fields();

/// The fields that differ from packet to packet, or that handling a packet changes.
inline void fill_rest(transport_packet& packet, unsigned char* data)
{
    packet.continuity_counter = data[3] & 0x0FU;
    packet.packet = data;
    packet.packet_size = ts_packet_size;
    packet.payload = data + ts_header_size;
    packet.payload_size = ts_payload_size;
}

/// Makes `packet` the record of the one at `data`, but for the adaptation field. There is a sync byte.
inline void fill(transport_packet& packet, unsigned char* data)
{
    auto* const record = reinterpret_cast<unsigned char*>(&packet);
    std::memcpy(record, &known_fields.first[data[1] >> 5], 4);
    packet.PID = PID_at(data);
    std::memcpy(record + offsetof(transport_packet, transport_scrambling_control), &known_fields.second[data[3] >> 4],
                2);
    fill_rest(packet, data);
}

/// The same behind a packet with the same header, from whose record `fields` were taken.
inline void fill_same(transport_packet& packet, unsigned char* data, const std::array<unsigned char, 8>& fields)
{
    static_assert(offsetof(transport_packet, adaptation_field_control) == 7);
    std::memcpy(reinterpret_cast<unsigned char*>(&packet), fields.data(), fields.size());
    fill_rest(packet, data);
}

/// Makes a field all zero whatever it has. In pieces that become plain stores: of the whole, GCC makes a loop or a
/// "rep stos", which take longer than the rest of a null packet.
inline void clear_field(adaptation_field_record& field)
{
    constexpr std::size_t piece = 64;
    static_assert(std::is_trivially_copyable_v<adaptation_field_record>);
    static_assert(sizeof(field) > 3 * piece && sizeof(field) < 5 * piece);
    auto* const bytes = reinterpret_cast<unsigned char*>(&field);
    std::memset(bytes, 0, piece);
    std::memset(bytes + piece, 0, piece);
    std::memset(bytes + 2 * piece, 0, piece);
    std::memset(bytes + 3 * piece, 0, std::min(piece, sizeof(field) - 3 * piece));
    if constexpr (sizeof(field) > 4 * piece)
        std::memset(bytes + 4 * piece, 0, sizeof(field) - 4 * piece);
}

/// Makes a field all zero that has what the parser wrote: nothing behind the PCR without its flag.
inline void clear_field_as_read(adaptation_field_record& field)
{
    constexpr std::size_t PCR_end = offsetof(adaptation_field_record, original_program_clock_reference_base);
    if ((field.OPCR_flag | field.splicing_point_flag | field.transport_private_data_flag |
         field.adaptation_field_extension_flag) != 0)
        clear_field(field);
    else
        std::memset(&field, 0, PCR_end);
}
} // namespace mpegcore
