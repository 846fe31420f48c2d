// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/t2mi/L1Current.h"
#include "tools/t2mi/baseband_framer.h"
#include "tools/t2mi/program_tables.h"
#include "tools/t2mi/t2mi_options.h"
#include "tools/t2mi/t2mi_packetizer.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <random>
#include <vector>

namespace t2mi
{
/// Makes one transport stream with PAT, PMT and T2-MI (TS 102 773) out of the transport streams of several PLPs, in
/// step with the packets it is given.
///
/// A frame leaves when its data field is full, in the order in which they fill up. Memory stays below a frame a PLP.
/// Without a bit rate everything that leaves is payload; with one, `advance` fills the time that passed with null
/// packets.
class t2mi_encapsulator
{
public:
    /// `options` must be without fault (see find_fault). `sink` gets every packet of the stream, inside the calls
    /// below.
    t2mi_encapsulator(const t2mi_options& options, ts_sink sink);
    /// Makes another T2-MI stream on the PID of `carrier`, to be told apart by its t2mi_stream_id. `options` about PID,
    /// program, packing and rate do not count. Each stream counts its T2-MI packets for itself or, if they
    /// `count_together`, all of them as one. The carrier must live longer, and be flushed last.
    t2mi_encapsulator(const t2mi_options& options, t2mi_encapsulator& carrier, bool count_together);
    t2mi_encapsulator(const t2mi_encapsulator&) = delete;
    t2mi_encapsulator& operator=(const t2mi_encapsulator&) = delete;

    /// To be called for all PLPs in front of the first packet, as the frames tell whether there are several. False
    /// when the PLP is already there.
    [[nodiscard]] bool add_plp(std::uint8_t plp_id);
    /// Takes a packet of 188 bytes. False, and nothing is taken, when the PLP was not added or the first byte is not
    /// 0x47.
    [[nodiscard]] bool push(std::uint8_t plp_id, const unsigned char* packet);
    /// Sets the time since the start of the stream, which must not go back: the time of the timestamps, up to which
    /// null packets make the bit rate constant.
    void advance(std::chrono::nanoseconds time);
    /// Sends all that waits, in frames that are not full, and a timestamp packet behind it: a receiver takes a T2-MI
    /// packet for whole only when the next one begins. More packets may follow.
    void flush();

    std::uint64_t packets_sent() const { return m_packets_sent; }
    std::uint64_t null_packets_sent() const { return m_null_packets_sent; }
    /// How far what was sent, at the constant bit rate, runs ahead of the time; 0 without a bit rate. When this grows
    /// without end the bit rate is too low for the PLPs.
    std::chrono::nanoseconds lead() const;

private:
    struct plp_state
    {
        baseband_framer framer;
        unsigned frames_since_empty_one = 0;
        std::uint16_t frames_in_t2_frame = 0;      // of this PLP, in the T2 frame that is being sent
        std::uint64_t next_interleaving_frame = 0; // T2 frame whose first frame of this PLP sets intl_frame_start
    };

    void send(const unsigned char* packet);
    void count_and_sink(const unsigned char* packet);
    void send_frame(plp_state& plp);
    void send_baseband_frame(plp_state& plp, std::vector<unsigned char>& frame);
    std::uint64_t ISCR() const;
    void begin_t2_frame();
    void end_t2_frame();
    void send_L1();
    mpegcore::L1Current L1() const;
    void send_timestamp();
    void send_auxiliary();
    void send_packet(packet_type type, std::vector<unsigned char>& packet);
    std::size_t next_data_field_bytes();
    std::uint8_t frame_idx() const
    {
        return static_cast<std::uint8_t>(m_t2_frame % m_options.t2_frames_per_superframe);
    }

    t2mi_options m_options;
    ts_sink m_sink;
    program_tables m_tables;
    t2mi_packetizer m_packetizer;
    std::map<std::uint8_t, plp_state> m_plps;
    std::mt19937 m_random;
    std::chrono::nanoseconds m_time{0};
    std::chrono::nanoseconds m_superframe_time{0}; // at which the superframe began
    std::vector<unsigned char> m_small_packet;
    bool m_open_end = false;      // the last T2-MI packet sent is a baseband frame, which needs another one behind it
    std::uint64_t m_t2_frame = 0; // T2 frames completed
    unsigned m_frames_in_t2_frame = 0; // baseband frames of the T2 frame that is being sent
    std::uint8_t m_packet_count = 0;
    t2mi_encapsulator* const m_carrier = nullptr; // of another stream on whose PID this one goes
    const bool m_counts_with_carrier = false;
    std::uint64_t m_table_interval;  // packets between two PATs
    std::uint64_t m_next_tables = 0; // value of m_packets_sent at which PAT and PMT are due
    std::uint64_t m_packets_sent = 0;
    std::uint64_t m_null_packets_sent = 0;
};
} // namespace t2mi
