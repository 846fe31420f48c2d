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

/// A record whose adaptation field begins with a cache line: a store across the end of one takes as long as two.
struct alignas(64) AlignedRecord
{
    std::array<unsigned char, 64 - offsetof(transport_packet, adaptation_field)> unused;
    transport_packet packet;
};
static_assert(offsetof(AlignedRecord, packet) + offsetof(transport_packet, adaptation_field) == 64);

/// How much of a field one store of this processor clears: there is time for few behind each packet.
enum class FieldStores
{
    usual,
    half_lines, ///< of a cache line: AVX
    lines       ///< AVX-512, where it does not slow down the processor
};

inline FieldStores widest_field_stores()
{
#if defined(__x86_64__)
    // The second came with the processors that run AVX-512 at full speed.
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("vpclmulqdq"))
        return FieldStores::lines;
    if (__builtin_cpu_supports("avx"))
        return FieldStores::half_lines;
#endif
    return FieldStores::usual;
}

/// Makes a field all zero whatever it has; one that is no AlignedRecord's with the usual stores only.
inline void clear_field(adaptation_field_record& field, [[maybe_unused]] FieldStores stores = FieldStores::usual)
{
    constexpr std::size_t line = 64, in_lines = sizeof(field) / line * line;
    static_assert(std::is_trivially_copyable_v<adaptation_field_record>);
    static_assert(in_lines >= 3 * line && in_lines <= 4 * line);
    auto* const bytes = reinterpret_cast<unsigned char*>(&field);
    std::memset(bytes + in_lines, 0, sizeof(field) - in_lines);
#if defined(__x86_64__)
    static_assert(in_lines == 4 * line);
    // By hand: a function for other processors than its caller is not inlined.
    if (stores == FieldStores::lines) {
        auto* const lines = reinterpret_cast<unsigned char(*)[line]>(bytes);
        asm("vpxor %%xmm0, %%xmm0, %%xmm0\n\t"
            "vmovdqa64 %%zmm0, %0\n\t"
            "vmovdqa64 %%zmm0, %1\n\t"
            "vmovdqa64 %%zmm0, %2\n\t"
            "vmovdqa64 %%zmm0, %3"
            : "=m"(lines[0]), "=m"(lines[1]), "=m"(lines[2]), "=m"(lines[3])
            :
            : "xmm0");
        return;
    }
    if (stores == FieldStores::half_lines) {
        auto* const half = reinterpret_cast<unsigned char(*)[line / 2]>(bytes);
        asm("vpxor %%xmm0, %%xmm0, %%xmm0\n\t"
            "vmovdqa %%ymm0, %0\n\t"
            "vmovdqa %%ymm0, %1\n\t"
            "vmovdqa %%ymm0, %2\n\t"
            "vmovdqa %%ymm0, %3\n\t"
            "vmovdqa %%ymm0, %4\n\t"
            "vmovdqa %%ymm0, %5\n\t"
            "vmovdqa %%ymm0, %6\n\t"
            "vmovdqa %%ymm0, %7"
            : "=m"(half[0]), "=m"(half[1]), "=m"(half[2]), "=m"(half[3]), "=m"(half[4]), "=m"(half[5]), "=m"(half[6]),
              "=m"(half[7])
            :
            : "xmm0");
        return;
    }
#endif
    // In pieces that become plain stores: of the whole, GCC makes a loop or a "rep stos", which take longer than the
    // rest of a null packet.
    for (std::size_t at = 0; at < in_lines; at += line)
        std::memset(bytes + at, 0, line);
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
