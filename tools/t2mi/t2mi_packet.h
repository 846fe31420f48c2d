// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace t2mi
{
/// Values of packet_type (TS 102 773, 5.1).
enum class packet_type : std::uint8_t
{
    baseband_frame = 0x00,
    auxiliary_stream = 0x01,
    L1_current = 0x10,
    dvb_t2_timestamp = 0x20
};

constexpr std::size_t t2mi_header_size = 6;
constexpr std::size_t t2mi_crc_size = 4;
constexpr std::size_t baseband_prefix_size = 3; ///< frame_idx, plp_id, intl_frame_start
constexpr std::size_t bbheader_size = 10;
constexpr std::size_t data_field_offset = t2mi_header_size + baseband_prefix_size + bbheader_size;

/// The fields of a T2-MI header that do not follow from its payload (TS 102 773, 5.1).
struct t2mi_header
{
    packet_type type = packet_type::baseband_frame;
    std::uint8_t packet_count = 0;
    std::uint8_t superframe_idx = 0; ///< 4 bits
    std::uint8_t t2mi_stream_id = 0; ///< 3 bits
};

/// `packet` holds room for the header and then the whole payload, at most 8191 bytes: writes the header in
/// front, payload_len in bits, and appends the CRC-32.
void finish_packet(std::vector<unsigned char>& packet, const t2mi_header& header);

/// Where a baseband frame stands and what its BBHEADER says (TS 102 773, 5.2.1; EN 302 755, 5.1.7).
struct baseband_header
{
    std::uint8_t frame_idx = 0;
    std::uint8_t plp_id = 0;
    bool intl_frame_start = false; ///< first frame of its PLP in this interleaving frame
    bool single_input = true;      ///< SIS/MIS
    std::uint16_t data_bytes = 0;  ///< DFL / 8
    std::uint16_t syncd_bytes = 0; ///< SYNCD / 8
    bool has_start = true;         ///< else SYNCD says that no packet begins in the data field
    bool normal_mode = false;
    bool NPD = false;
    std::uint16_t UPL = 0; ///< in bits; of normal mode
    bool ISSYI = false;
    std::array<unsigned char, 3> ISSY{}; ///< in the header, of high efficiency mode
};

/// Writes the 13 bytes in front of the data field: MATYPE for a transport stream at constant coding, UPL and SYNC or,
/// in high efficiency mode, ISSY or zeros in their place, DFL, SYNCD and the CRC-8 with the mode in it.
void write_baseband_header(unsigned char* at, const baseband_header& header);

/// Appends the payload of a timestamp packet (TS 102 773, 5.2.7) for an 8 MHz channel (bw 4), where subseconds
/// counts 1/64 microseconds. `start_seconds` is the seconds_since_2000 that belongs to time 0 and makes an
/// absolute timestamp, whose utco is 5 (the leap seconds between 2000 and 2017). With 0 the timestamp is
/// relative: seconds_since_2000 and utco stay 0 and subseconds is the offset within the second.
void append_timestamp(std::vector<unsigned char>& packet, std::uint64_t start_seconds, std::chrono::nanoseconds time);

/// Appends the three fields in front of an auxiliary stream's data (TS 102 773, 5.2.2), aux_id 0.
void append_auxiliary_header(std::vector<unsigned char>& packet, std::uint8_t frame_idx);
} // namespace t2mi
