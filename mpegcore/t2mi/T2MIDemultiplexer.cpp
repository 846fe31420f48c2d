// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/t2mi/T2MIDemultiplexer.h"

#include "mpegcore/syntax/Record.h"

#include <algorithm>

namespace mpegcore
{
namespace
{
/// frame_idx, plp_id, intl_frame_start and rfu.
constexpr std::size_t frame_prefix_size = 3;
/// PIDs below are for tables.
constexpr std::uint16_t first_free_PID = 0x20;
constexpr unsigned good_packets_needed = 2;

std::uint64_t losses(const UserPacketCounters& counters)
{
    return counters.dropped_parts + counters.header_errors + counters.SYNCD_disagreements;
}

const L1PostConfigurable::PLP* find_PLP(const L1Current& L1, std::uint8_t plp_id)
{
    const auto& PLPs = L1.L1CONF.PLPs;
    const auto found =
        std::find_if(PLPs.begin(), PLPs.end(), [plp_id](const auto& plp) { return plp.PLP_ID == plp_id; });
    return found != PLPs.end() ? &*found : nullptr;
}
} // namespace

T2MIDemultiplexer::T2MIDemultiplexer(Listener& listener) : m_listener(listener)
{
    m_PLP_ids.set();
    m_packet_counts.fill(no_count);
}

T2MIDemultiplexer::~T2MIDemultiplexer()
{
    for (auto& plp : m_PLPs)
        delete plp.load(std::memory_order_relaxed);
}

void T2MIDemultiplexer::set_PID(int PID)
{
    m_wanted_PID = PID;
    if (PID != any && PID != this->PID())
        choose(static_cast<std::uint16_t>(PID));
    if (PID == any)
        follow_programs();
}

void T2MIDemultiplexer::set_stream_id(int t2mi_stream_id)
{
    m_wanted_stream_id = t2mi_stream_id;
    m_probe.set_stream_id(t2mi_stream_id);
    if (t2mi_stream_id != any && t2mi_stream_id != stream_id()) {
        m_stream_id = t2mi_stream_id;
        note_gap();
    }
}

void T2MIDemultiplexer::set_restore_nulls(bool restore)
{
    m_restores_nulls = restore;
    for (const std::uint8_t plp_id : m_seen)
        PLP_of(plp_id).reader.set_restore_nulls(restore);
}

void T2MIDemultiplexer::put(const unsigned char* data, std::size_t size)
{
    m_finder.put(data, size, [this](const unsigned char* packet) { put_packet(packet); });
}

void T2MIDemultiplexer::finish()
{
    m_finder.finish([this](const unsigned char* packet) { put_packet(packet); });
}

void T2MIDemultiplexer::reset()
{
    m_finder = {};
    m_gatherer.reset();
    m_probe.clear();
    m_packet_counts.fill(no_count);
    m_packet_count = no_count;
    note_gap();
}

void T2MIDemultiplexer::put_packet(const unsigned char* packet)
{
    ++m_counters.transport_packets;
    const auto PID = static_cast<std::uint16_t>((packet[1] & 0x1FU) << 8 | packet[2]);
    if (PID == this->PID()) {
        gather(packet);
        return;
    }
    if (PID == null_packet_PID || m_wanted_PID != any)
        return;
    if (m_programs.wants(PID)) {
        if (m_programs.put(PID, packet))
            follow_programs();
        return;
    }
    if (this->PID() == any && PID >= first_free_PID)
        probe(PID, packet);
}

void T2MIDemultiplexer::follow_programs()
{
    if (m_wanted_PID != any)
        return;
    const int current = PID();
    const bool is_listed = current != any && m_programs.lists(static_cast<std::uint16_t>(current));
    if (current != any && m_programs.describes(static_cast<std::uint16_t>(current), m_wanted_stream_id)) {
        m_was_listed = true;
        return;
    }
    const auto described = m_programs.described_PID(m_wanted_stream_id);
    // A descriptor of another stream is no reason to leave a PID that was proved.
    if (described && (!is_listed || m_programs.describes(*described, m_wanted_stream_id))) {
        if (*described != current)
            choose(*described);
        m_was_listed = true;
    } else if (is_listed) {
        m_was_listed = true;
    } else if (m_was_listed && m_programs.is_complete()) {
        leave();
    }
}

void T2MIDemultiplexer::probe(std::uint16_t PID, const unsigned char* packet)
{
    const T2MIProbe::Candidate* const candidate = m_probe.put(PID, packet);
    if (candidate == nullptr || candidate->good < good_packets_needed)
        return;
    const bool is_listed = m_programs.lists(PID);
    if (!is_listed && m_programs.is_complete() && candidate->good < T2MIProbe::enough)
        return;
    choose(PID);
    m_was_listed = is_listed;
}

void T2MIDemultiplexer::choose(std::uint16_t PID)
{
    leave();
    m_PID = PID;
    m_listener.on_PID(PID);
    if (auto* const candidate = m_probe.find(PID)) {
        m_gatherer.take_over(candidate->gatherer);
        const auto packets = std::move(candidate->packets);
        const bool is_gap = candidate->is_gap;
        for (auto packet : packets) {
            if (packet.is_behind_gap)
                note_gap();
            take(packet.bytes.data(), packet.bytes.size());
        }
        if (is_gap)
            note_gap();
    }
    m_probe.clear();
}

void T2MIDemultiplexer::leave()
{
    m_PID = any;
    m_stream_id = m_wanted_stream_id;
    m_was_listed = m_told_scrambled = false;
    m_gatherer.reset();
    m_packet_counts.fill(no_count);
    m_packet_count = no_count;
    note_gap();
}

void T2MIDemultiplexer::gather(const unsigned char* packet)
{
    m_gatherer.put(
        packet, [this](unsigned char* data, std::size_t size) { take(data, size); }, [this] { note_gap(); });
    const bool is_scrambled = (packet[3] & 0xC0U) != 0;
    if (is_scrambled && !m_told_scrambled) {
        m_told_scrambled = true;
        m_listener.on_warning(Warning::scrambled, static_cast<unsigned>(PID()));
    }
}

void T2MIDemultiplexer::note_gap()
{
    for (const std::uint8_t plp_id : m_seen) {
        PLP& plp = PLP_of(plp_id);
        plp.reader.drop_part();
        plp.is_behind_gap = true;
    }
}

void T2MIDemultiplexer::take(unsigned char* packet, std::size_t size)
{
    const std::uint8_t packet_type = packet[0], t2mi_stream_id = packet[3] & 7U;
    ++m_counters.packets_by_stream_id[t2mi_stream_id];
    if (!follow_packet_count(t2mi_stream_id, packet[1])) {
        ++m_counters.packet_count_gaps;
        note_gap();
    }
    if (stream_id() == any)
        m_stream_id = t2mi_stream_id;
    if (t2mi_stream_id != stream_id())
        return;
    ++m_counters.packets_by_type[packet_type];
    unsigned char* const payload = packet + T2MIHeader::size;
    const std::size_t payload_size = size - T2MIHeader::size - T2MIHeader::crc_size;
    if (packet_type == static_cast<std::uint8_t>(T2MIPacketType::baseband_frame)) {
        take_frame(payload, payload_size);
        return;
    }
    if (!is_known_T2MI_packet_type(packet_type))
        ++m_counters.unknown_types;
    T2MIHeader header;
    if (read_record(header, packet, T2MIHeader::size))
        m_listener.on_T2MI_packet(header, payload, payload_size);
    if (packet_type == static_cast<std::uint8_t>(T2MIPacketType::L1_current))
        take_L1(payload, payload_size);
    if (packet_type == static_cast<std::uint8_t>(T2MIPacketType::DVB_T2_timestamp)) {
        DVBT2Timestamp timestamp;
        if (read_record(timestamp, payload, payload_size))
            m_listener.on_timestamp(timestamp);
        else
            ++m_counters.payload_errors;
    }
}

/// False at a gap. Several streams on a PID may count together or each for itself; until the former is sure, only the
/// latter counts.
bool T2MIDemultiplexer::follow_packet_count(std::uint8_t t2mi_stream_id, std::uint8_t packet_count)
{
    constexpr unsigned sure = 4;
    int& own = m_packet_counts[t2mi_stream_id];
    const bool fits_own = own == no_count || packet_count == own;
    const bool fits_all = m_packet_count == no_count || packet_count == m_packet_count;
    if (m_last_stream_id != t2mi_stream_id && own != no_count) {
        if (fits_all && !fits_own)
            ++m_shared_counts;
        else if (fits_own && !fits_all)
            m_shared_counts = 0;
    }
    m_last_stream_id = t2mi_stream_id;
    own = m_packet_count = (packet_count + 1) & 0xFF;
    return m_shared_counts >= sure ? fits_all : fits_own;
}

void T2MIDemultiplexer::take_frame(unsigned char* payload, std::size_t size)
{
    if (size < frame_prefix_size) {
        ++m_counters.payload_errors;
        return;
    }
    const std::uint8_t plp_id = payload[1];
    if (!m_PLP_ids[plp_id])
        return;
    PLP& plp = PLP_of(plp_id);
    if (!plp.is_there) {
        plp.is_there = true;
        m_listener.on_PLP_appeared(plp_id);
    }
    const auto& counters = plp.reader.counters();
    const std::uint64_t losses_before = losses(counters), formats_before = counters.other_formats;
    bool is_first = true;
    const bool is_taken =
        plp.reader.put(payload + frame_prefix_size, size - frame_prefix_size, [&](const UserPacket& packet) {
            // What a frame drops, it drops in front of its first packet.
            const bool is_behind_gap = is_first && (plp.is_behind_gap || losses(counters) != losses_before);
            if (is_first)
                is_first = plp.is_behind_gap = false;
            m_listener.on_packet(plp_id, packet, is_behind_gap);
        });
    if (is_first && losses(counters) != losses_before)
        plp.is_behind_gap = true;
    if (!is_taken && counters.other_formats != formats_before && !plp.told_format) {
        plp.told_format = true;
        m_listener.on_warning(Warning::not_a_transport_stream, plp_id);
    }
}

T2MIDemultiplexer::PLP& T2MIDemultiplexer::PLP_of(std::uint8_t plp_id)
{
    PLP* plp = m_PLPs[plp_id].load(std::memory_order_relaxed);
    if (plp == nullptr) {
        m_seen.push_back(plp_id);
        plp = new PLP;
        plp->reader.set_restore_nulls(m_restores_nulls);
        m_PLPs[plp_id].store(plp, std::memory_order_release);
    }
    return *plp;
}

const UserPacketCounters* T2MIDemultiplexer::PLP_counters(std::uint8_t plp_id) const
{
    const PLP* const plp = m_PLPs[plp_id].load(std::memory_order_acquire);
    return plp != nullptr ? &plp->reader.counters() : nullptr;
}

const L1PostConfigurable::PLP* T2MIDemultiplexer::L1_of(std::uint8_t plp_id) const
{
    return m_has_L1 ? find_PLP(m_L1, plp_id) : nullptr;
}

void T2MIDemultiplexer::take_L1(const unsigned char* payload, std::size_t size)
{
    // Behind frame_idx and freq_source; the dynamic part is another in every frame.
    constexpr std::size_t configuration_at = 2, L1PRE_size = 21, behind_length = configuration_at + L1PRE_size + 2;
    if (size < behind_length) {
        ++m_counters.payload_errors;
        return;
    }
    const std::size_t bits = static_cast<std::size_t>(payload[behind_length - 2] << 8 | payload[behind_length - 1]);
    const std::size_t end = std::min(size, behind_length + (bits + 7) / 8);
    const unsigned char* const configuration = payload + configuration_at;
    if (m_has_L1 && std::equal(configuration, payload + end, m_L1_bytes.begin(), m_L1_bytes.end()))
        return;
    L1Current L1;
    if (!L1.read(payload, size)) {
        ++m_counters.payload_errors;
        return;
    }
    m_L1_bytes.assign(configuration, payload + end);
    follow_L1(L1);
}

void T2MIDemultiplexer::follow_L1(const L1Current& L1)
{
    const L1Current before = std::exchange(m_L1, L1);
    const bool had_L1 = std::exchange(m_has_L1, true);
    m_listener.on_L1_changed(m_L1);
    for (const std::uint8_t plp_id : m_seen) {
        PLP& plp = PLP_of(plp_id);
        if (!plp.is_there || !had_L1 || find_PLP(before, plp_id) == nullptr || find_PLP(m_L1, plp_id) != nullptr)
            continue;
        plp.is_there = false;
        plp.reader.drop_part();
        plp.is_behind_gap = true;
        m_listener.on_PLP_gone(plp_id);
    }
}
} // namespace mpegcore
