// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/PacketFinder.h"
#include "mpegcore/t2mi/DVBT2Timestamp.h"
#include "mpegcore/t2mi/L1Current.h"
#include "mpegcore/t2mi/T2MIHeader.h"
#include "mpegcore/t2mi/T2MIPacketGatherer.h"
#include "mpegcore/t2mi/T2MIProbe.h"
#include "mpegcore/t2mi/T2MIPrograms.h"
#include "mpegcore/t2mi/UserPacketReader.h"

#include <array>
#include <atomic>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

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

    enum class Warning
    {
        scrambled,              ///< packets of the PID are: they are left out
        not_a_transport_stream, ///< the PLP carries GFPS, GCS or GSE: it gives no packets
    };

    /// Called inside put(), put_packet() and finish(), none of which they may call; what pointers lead to holds during
    /// the call.
    class Listener
    {
    public:
        virtual ~Listener() = default;
        /// A packet of a PLP. `is_behind_gap`: something is missing between it and the one before.
        virtual void on_packet(std::uint8_t /*plp_id*/, const UserPacket&, bool /*is_behind_gap*/) {}
        /// The first frame of a chosen PLP came, also after it had gone.
        virtual void on_PLP_appeared(std::uint8_t /*plp_id*/) {}
        /// L1 no longer lists a PLP that it listed.
        virtual void on_PLP_gone(std::uint8_t /*plp_id*/) {}
        /// L1-pre or the configurable part of L1-post is another than before, or the first one.
        virtual void on_L1_changed(const L1Current&) {}
        virtual void on_timestamp(const DVBT2Timestamp&) {}
        /// Any T2-MI packet of the chosen stream that is no baseband frame; `size` in whole bytes.
        virtual void on_T2MI_packet(const T2MIHeader&, const unsigned char* /*payload*/, std::size_t /*size*/) {}
        /// The PID was chosen, or another one.
        virtual void on_PID(std::uint16_t /*PID*/) {}
        /// Told once for a PID or PLP. `id`: that PID or plp_id.
        virtual void on_warning(Warning, unsigned /*id*/) {}
    };

    explicit T2MIDemultiplexer(Listener& listener);
    ~T2MIDemultiplexer();
    T2MIDemultiplexer(const T2MIDemultiplexer&) = delete;
    T2MIDemultiplexer& operator=(const T2MIDemultiplexer&) = delete;

    /// The PID of the T2-MI packets, 0 to 8191, or `any`: to be found.
    void set_PID(int PID);
    /// The T2-MI stream on that PID, 0 to 7, or `any`: the first one.
    void set_stream_id(int t2mi_stream_id);
    /// The PLPs to take; all at first.
    void set_PLPs(const std::bitset<256>& plp_ids) { m_PLP_ids = plp_ids; }
    /// Whether null packets that the sender deleted are put back; on at first.
    void set_restore_nulls(bool restore);

    /// Takes the next bytes of the transport stream: packets of 188, 192 or 204 bytes, cut anywhere.
    void put(const unsigned char* data, std::size_t size);
    /// Takes one transport packet of 188 bytes, for callers who know where packets are; instead of put().
    void put_packet(const unsigned char* packet);
    /// No more bytes will come: gives what put() still held back to be sure where packets are.
    void finish();
    /// What comes next does not follow what came before. PID, PLPs and L1 stay, and so do the counters.
    void reset();

    /// The PID in use, or `any`: none yet.
    int PID() const { return m_PID.load(std::memory_order_relaxed); }
    /// The stream in use, or `any`: none yet.
    int stream_id() const { return m_stream_id.load(std::memory_order_relaxed); }
    /// The L1 signalling that came last with another configuration; null without.
    const L1Current* L1() const { return m_has_L1 ? &m_L1 : nullptr; }
    /// What L1 says of the PLP, or null.
    const L1PostConfigurable::PLP* L1_of(std::uint8_t plp_id) const;
    const T2MIPrograms& programs() const { return m_programs; }

    const T2MICounters& counters() const { return m_counters; }
    const T2MIGathererCounters& gatherer_counters() const { return m_gatherer.counters(); }
    /// Of a chosen PLP of which a frame came, else null. They stay as long as the demultiplexer.
    const UserPacketCounters* PLP_counters(std::uint8_t plp_id) const;

private:
    struct PLP
    {
        UserPacketReader reader;
        bool is_there = false;
        bool is_behind_gap = false;
        bool told_format = false;
    };

    void choose(std::uint16_t PID);
    void leave();
    void follow_programs();
    void probe(std::uint16_t PID, const unsigned char* packet);
    void gather(const unsigned char* packet);
    void note_gap();
    void take(unsigned char* packet, std::size_t size);
    bool follow_packet_count(std::uint8_t t2mi_stream_id, std::uint8_t packet_count);
    void take_frame(unsigned char* payload, std::size_t size);
    PLP& PLP_of(std::uint8_t plp_id);
    void take_L1(const unsigned char* payload, std::size_t size);
    void follow_L1(const L1Current& L1);

    Listener& m_listener;
    int m_wanted_PID = any;
    int m_wanted_stream_id = any;
    std::atomic<int> m_PID{any};
    std::atomic<int> m_stream_id{any};
    std::bitset<256> m_PLP_ids;
    bool m_restores_nulls = true;
    bool m_was_listed = false; ///< the PID in use, by a PMT
    bool m_told_scrambled = false;

    PacketFinder m_finder;
    T2MIPrograms m_programs;
    T2MIProbe m_probe;
    T2MIPacketGatherer m_gatherer;
    T2MICounters m_counters;

    static constexpr int no_count = -1;
    std::array<int, 8> m_packet_counts; ///< that should come next, by t2mi_stream_id
    int m_packet_count = no_count;      ///< the same, were there one counter for the PID
    int m_last_stream_id = any;
    unsigned m_shared_counts = 0; ///< changes of the stream where only one counter for the PID explains what came

    /// Made when the first frame comes; other threads look at their counters.
    std::array<std::atomic<PLP*>, 256> m_PLPs{};
    std::vector<std::uint8_t> m_seen; ///< their ids

    bool m_has_L1 = false;
    L1Current m_L1;
    std::vector<unsigned char> m_L1_bytes; ///< of its configuration
};
} // namespace mpegcore
