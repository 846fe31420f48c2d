// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <array>
#include <cstdint>

namespace mpegcore
{
/// Bytes of a transport packet and of its header (ISO/IEC 13818-1, 2.4.3.2).
inline constexpr unsigned long ts_packet_size = 188;
inline constexpr unsigned long ts_header_size = 4;
inline constexpr unsigned long ts_payload_size = ts_packet_size - ts_header_size;
inline constexpr unsigned char ts_sync_byte = 0x47;
inline constexpr std::uint16_t null_packet_PID = 0x1FFF;
/// A PID has 13 bits.
inline constexpr unsigned pid_count = 8192;

/// Adaptation field (ISO/IEC 13818-1, 2.4.3.4). A field that its flag does not announce, or for which the packet
/// holds too few bits, is 0. Stuffing is not kept.
struct adaptation_field_record
{
    std::uint8_t adaptation_field_length; ///< bytes behind this one, 0 to 183
    std::uint8_t discontinuity_indicator;
    std::uint8_t random_access_indicator;
    std::uint8_t elementary_stream_priority_indicator;
    std::uint8_t PCR_flag;
    std::uint8_t OPCR_flag;
    std::uint8_t splicing_point_flag;
    std::uint8_t transport_private_data_flag;
    std::uint8_t adaptation_field_extension_flag;

    std::uint64_t program_clock_reference_base; ///< 33 bits of 90 kHz
    std::uint8_t reserved;
    std::uint16_t program_clock_reference_extension; ///< 9 bits of 27 MHz
    std::uint64_t original_program_clock_reference_base;
    std::uint8_t reserved2;
    std::uint16_t original_program_clock_reference_extension;
    std::uint8_t splice_countdown; ///< the 8 bits as read, without their sign

    std::uint8_t transport_private_data_length; ///< 0 to 188; the packet may hold fewer bytes
    std::array<std::uint8_t, 188> private_data_byte;

    std::uint8_t adaptation_field_extension_length;
    std::uint8_t ltw_flag;
    std::uint8_t piecewise_rate_flag;
    std::uint8_t seamless_splice_flag;
    std::uint8_t reserved3;
    std::uint8_t ltw_valid_flag;
    std::uint16_t ltw_offset;
    std::uint8_t reserved4;
    std::uint32_t piecewise_rate;
    std::uint8_t splice_type;
    std::uint8_t DTS_next_AU_32_30;
    std::uint8_t marker_bit;
    std::uint16_t DTS_next_AU_29_15;
    std::uint8_t marker_bit2;
    std::uint16_t DTS_next_AU_14_0;
    std::uint8_t marker_bit3;
};

/// One transport packet (ISO/IEC 13818-1, 2.4.3.2). The pointers lead into the bytes given to the parser and hold
/// during the callback only.
struct transport_packet
{
    std::uint8_t sync_byte;
    std::uint8_t transport_error_indicator;
    std::uint8_t payload_unit_start_indicator;
    std::uint8_t transport_priority;
    std::uint16_t PID;
    std::uint8_t transport_scrambling_control;
    std::uint8_t adaptation_field_control;
    std::uint8_t continuity_counter;
    adaptation_field_record adaptation_field; ///< all zero unless adaptation_field_control is 2 or 3

    unsigned char* packet;     ///< the sync byte
    unsigned long packet_size; ///< 188
    /// Behind the header or, with adaptation_field_control 3, behind the adaptation field. With
    /// adaptation_field_control 2 deliberately still byte 4 and 184 bytes.
    unsigned char* payload;
    unsigned long payload_size;
};
} // namespace mpegcore
