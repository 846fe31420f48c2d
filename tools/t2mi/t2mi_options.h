// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

namespace t2mi
{
/// How a T2-MI stream is made. The defaults give a stream that any T2-MI receiver should find and follow.
struct t2mi_options
{
    std::uint16_t transport_stream_id = 1;
    std::uint16_t program_number = 1; ///< 1 to 65535
    std::uint16_t pmt_PID = 0x0100;
    std::uint16_t t2mi_PID = 0x1000;
    std::uint8_t t2mi_stream_id = 0; ///< 0 to 7

    /// Bytes of each baseband frame's data field, drawn at random between both bounds, 187 to 8178. From 187
    /// on a user packet begins in every frame. 5370 is what a 64 800-bit LDPC block at code rate 2/3 holds
    /// (EN 302 755, 6.1).
    std::size_t data_field_bytes_min = 5370;
    std::size_t data_field_bytes_max = 5370;

    unsigned baseband_frames_per_t2_frame = 8; ///< 1 or more
    unsigned t2_frames_per_superframe = 2;     ///< 1 to 256

    bool timestamps = true;           ///< a timestamp packet (0x20) in front of every superframe
    std::size_t auxiliary_bytes = 16; ///< random data in an auxiliary packet (0x01) a T2 frame, 0 to 8188; 0: none

    /// seconds_since_2000 of the first packet; 0 makes relative timestamps, see append_timestamp.
    std::uint64_t start_seconds = 0;

    /// T2-MI packets follow one another without stuffing, any number of them in a payload. Otherwise one begins in a
    /// payload at most, for receivers that take all bytes between two starts for one packet.
    bool continuous = false;
    /// A timestamp and an L1-current packet behind the frames of every T2 frame, in place of `timestamps`. The
    /// modulation that L1 tells is made up: 256-QAM 2/3 for every PLP.
    bool L1_signalling = false;
    bool T2MI_descriptor = false; ///< in the PMT
    /// With L1 signalling: the id of the PLP that is the common one of a group with all others; -1: none. The packets
    /// that go into it, and null packets in their place in the others, are the caller's.
    int common_plp = -1;
    /// Behind each so many frames of a PLP comes one without data (DFL 0), as for content that is inserted on the way;
    /// 0: none.
    unsigned frames_between_empty_ones = 0;

    // How the packets of all PLPs are put into baseband frames.
    bool normal_mode = false;  ///< with a CRC-8 in each packet's sync place, else high efficiency mode
    unsigned ISSY_bytes = 0;   ///< 0, 2 or 3; in high efficiency mode 0 or 3
    bool delete_nulls = false; ///< null packets are counted and left out
    /// Bytes that a packet takes in the data field.
    std::size_t user_packet_bytes() const { return 187 + (normal_mode ? 1 + ISSY_bytes : 0) + (delete_nulls ? 1 : 0); }

    std::uint64_t bitrate = 0; ///< bit/s of the whole stream, reached with null packets; 0: no null packets
    std::uint32_t seed = 1;    ///< of the frame sizes and the auxiliary data
};

/// Says in words what is wrong with `options`; empty when a stream can be made from them.
[[nodiscard]] std::string find_fault(const t2mi_options& options);
} // namespace t2mi
