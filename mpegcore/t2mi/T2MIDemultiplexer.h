// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/PacketFinder.h"
#include "mpegcore/t2mi/StreamAge.h"
#include "mpegcore/t2mi/T2MIListener.h"
#include "mpegcore/t2mi/T2MIPLPs.h"
#include "mpegcore/t2mi/T2MIPacketCounts.h"
#include "mpegcore/t2mi/T2MIPacketGatherer.h"
#include "mpegcore/t2mi/T2MIProbe.h"
#include "mpegcore/t2mi/T2MIPrograms.h"

#include <array>
#include <atomic>
#include <bitset>
#include <cstddef>
#include <cstdint>

namespace mpegcore
{
/// What demultiplexing came to, but for the figures of T2MIGathererCounters; any thread may read them.
struct T2MICounters
{
    RelaxedCounter transport_packets;                   ///< of all PIDs
    std::array<RelaxedCounter, 256> packets_by_type;    ///< T2-MI packets of the chosen stream, by packet_type
    RelaxedCounter unknown_types;                       ///< of these: reserved values of packet_type
    std::array<RelaxedCounter, 8> packets_by_stream_id; ///< all T2-MI packets of the PID
    RelaxedCounter packet_count_gaps;                   ///< T2-MI packets whose packet_count does not follow
    RelaxedCounter payload_errors;                      ///< T2-MI packets too short for their type, or L1 that is bad
};

/// Turns a transport stream that carries T2-MI (ETSI TS 102 773) into the transport streams of its PLPs.
///
/// The PID is the one that is set; else the one with a T2-MI descriptor; else one whose T2-MI packets have good
/// CRC-32s: two of them if a PMT lists it or the PMTs are not all known, more otherwise. Changes of the PMTs are
/// followed. Of several T2-MI streams on the PID one is taken: the one that is set, else the first that comes.
///
/// What is missing in the input costs the packets that it touches: parts that were begun in front of a gap (of
/// continuity_counter, CRC-32, packet_count or SYNCD) are dropped.
///
/// Memory: 40 KiB, 1 KiB for each PLP seen, what T2MIPrograms and, up to the choice of the PID, T2MIProbe take. With
/// PID and PLPs known there is no allocation, except when L1 changes.
///
/// One thread at a time may call it, but for the counters.
class T2MIDemultiplexer
{
public:
    static constexpr int any = -1;

    using Warning = T2MIListener::Warning;
    using Listener = T2MIListener;

    explicit T2MIDemultiplexer(Listener& listener) : m_listener(listener), m_PLPs(listener) {}
    T2MIDemultiplexer(const T2MIDemultiplexer&) = delete;
    T2MIDemultiplexer& operator=(const T2MIDemultiplexer&) = delete;

    /// The PID of the T2-MI packets, 0 to 8191, or `any`: to be found.
    void set_PID(int PID);
    /// The T2-MI stream on that PID, 0 to 7, or `any`: the first one.
    void set_stream_id(int t2mi_stream_id);
    /// The PLPs to take; all at first.
    void set_PLPs(const std::bitset<256>& plp_ids) { m_PLPs.choose(plp_ids); }
    /// Whether null packets that the sender deleted are put back; on at first.
    void set_restore_nulls(bool restore) { m_PLPs.set_restore_nulls(restore); }
    /// Whether the packets of a common PLP are put into the data PLPs of its group, in place of null packets, as far as
    /// CommonPLPMerger can tell where; off at first. The common PLP comes out as well if it is chosen. Without L1 there
    /// are no groups.
    void set_merge_common_PLPs(bool merge) { m_PLPs.set_merge_common_PLPs(merge); }

    /// Takes the next bytes of the transport stream: packets of 188, 192 or 204 bytes, cut anywhere.
    void put(const unsigned char* data, std::size_t size);
    /// Takes one transport packet of 188 bytes, for callers who know where packets are; instead of put().
    void put_packet(const unsigned char* packet);
    /// Bytes of put() up to where the next packet should begin; 0 where one should, or nobody knows yet.
    [[nodiscard]] std::size_t awaited() const { return m_finder.awaited(); }
    /// No more bytes will come: gives what put() still held back to be sure where packets are.
    void finish();
    /// What comes next does not follow what came before. PID, PLPs and L1 stay, and so do the counters.
    void reset();

    /// The PID in use, or `any`: none yet.
    int PID() const { return m_PID.load(std::memory_order_relaxed); }
    /// The stream in use, or `any`: none yet.
    int stream_id() const { return m_stream_id.load(std::memory_order_relaxed); }
    /// The L1 signalling that came last with another configuration; null without.
    const L1Current* L1() const { return m_PLPs.L1(); }
    /// What L1 says of the PLP, or null.
    const L1PostConfigurable::PLP* L1_of(std::uint8_t plp_id) const { return m_PLPs.L1_of(plp_id); }
    const T2MIPrograms& programs() const { return m_programs; }

    const T2MICounters& counters() const { return m_counters; }
    /// packet_type of the last one that counters().payload_errors counted; for the thread that puts.
    std::uint8_t payload_error_type() const { return m_payload_error_type; }
    const T2MIGathererCounters& gatherer_counters() const { return m_gatherer.counters(); }
    /// Of a chosen PLP of which a frame came, else null. They stay as long as the demultiplexer.
    const UserPacketCounters* PLP_counters(std::uint8_t plp_id) const { return m_PLPs.counters(plp_id); }
    /// Packets of common PLPs that were put into data PLPs, since merging is on; any thread may ask.
    std::uint64_t merged_packets() const { return m_PLPs.merged_packets(); }

private:
    void note_age(const unsigned char* packet);
    void choose(std::uint16_t PID);
    void leave();
    void follow_programs();
    void probe(std::uint16_t PID, const unsigned char* packet);
    void gather(const unsigned char* packet);
    void take(unsigned char* packet, std::size_t size);
    void note_payload_error(std::uint8_t packet_type);

    Listener& m_listener;
    int m_wanted_PID = any;
    int m_wanted_stream_id = any;
    std::atomic<int> m_PID{any};
    std::atomic<int> m_stream_id{any};
    bool m_was_listed = false; ///< the PID in use, by a PMT
    bool m_told_scrambled = false;
    bool m_told_missing = false;

    PacketFinder m_finder;
    T2MIPrograms m_programs;
    T2MIProbe m_probe;
    T2MIPacketGatherer m_gatherer;
    T2MICounters m_counters;
    std::uint8_t m_payload_error_type = 0;

    T2MIPacketCounts m_packet_counts;
    StreamAge m_age; ///< while no T2-MI packet has come

    T2MIPLPs m_PLPs;
};
} // namespace mpegcore
