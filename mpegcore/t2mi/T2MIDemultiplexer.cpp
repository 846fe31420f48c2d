// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/t2mi/T2MIDemultiplexer.h"

#include "mpegcore/syntax/Record.h"

#include <algorithm>

namespace mpegcore
{
namespace
{
/// PIDs below are for tables.
constexpr std::uint16_t first_free_PID = 0x20;
constexpr unsigned good_packets_needed = 2;
constexpr std::chrono::seconds longest_search{5};
} // namespace

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
        m_PLPs.flush();
        m_PLPs.note_gap();
    }
}

void T2MIDemultiplexer::put(const unsigned char* data, std::size_t size)
{
    m_finder.put(data, size, [this](const unsigned char* packet) { put_packet(packet); });
}

void T2MIDemultiplexer::finish()
{
    m_finder.finish([this](const unsigned char* packet) { put_packet(packet); });
    m_PLPs.flush();
}

void T2MIDemultiplexer::reset()
{
    m_finder = {};
    m_PLPs.flush();
    m_gatherer.reset();
    m_probe.clear();
    m_packet_counts.reset();
    m_PLPs.note_gap();
}

void T2MIDemultiplexer::put_packet(const unsigned char* packet)
{
    ++m_counters.transport_packets;
    if (m_gatherer.counters().packets == 0 && !m_told_missing)
        note_age(packet);
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

void T2MIDemultiplexer::note_age(const unsigned char* packet)
{
    m_age.put(packet);
    if (m_age.passed() < longest_search)
        return;
    m_told_missing = true;
    m_listener.on_warning(Warning::no_T2MI, 0);
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
                m_PLPs.note_gap();
            take(packet.bytes.data(), packet.bytes.size());
        }
        if (is_gap)
            m_PLPs.note_gap();
    }
    m_probe.clear();
}

void T2MIDemultiplexer::leave()
{
    m_PID = any;
    m_stream_id = m_wanted_stream_id;
    m_was_listed = m_told_scrambled = false;
    m_gatherer.reset();
    m_packet_counts.reset();
    m_PLPs.flush();
    m_PLPs.note_gap();
}

void T2MIDemultiplexer::gather(const unsigned char* packet)
{
    m_gatherer.put(
        packet, [this](unsigned char* data, std::size_t size) { take(data, size); }, [this] { m_PLPs.note_gap(); });
    const bool is_scrambled = (packet[3] & 0xC0U) != 0;
    if (is_scrambled && !m_told_scrambled) {
        m_told_scrambled = true;
        m_listener.on_warning(Warning::scrambled, static_cast<unsigned>(PID()));
    }
}

void T2MIDemultiplexer::take(unsigned char* packet, std::size_t size)
{
    const std::uint8_t packet_type = packet[0], t2mi_stream_id = packet[3] & 7U;
    ++m_counters.packets_by_stream_id[t2mi_stream_id];
    const auto step = m_packet_counts.follow(t2mi_stream_id, packet[1]);
    if (step != T2MIPacketCounts::Step::goes_on) {
        ++m_counters.packet_count_gaps;
        if (t2mi_stream_id == stream_id() || step == T2MIPacketCounts::Step::gap_anywhere)
            m_PLPs.note_gap();
    }
    if (stream_id() == any)
        m_stream_id = t2mi_stream_id;
    if (t2mi_stream_id != stream_id())
        return;
    ++m_counters.packets_by_type[packet_type];
    unsigned char* const payload = packet + T2MIHeader::size;
    const std::size_t payload_size = size - T2MIHeader::size - T2MIHeader::crc_size;
    T2MIHeader header;
    const bool has_header = read_record(header, packet, T2MIHeader::size);
    if (packet_type == static_cast<std::uint8_t>(T2MIPacketType::baseband_frame)) {
        constexpr std::size_t prefix_size = 3;
        if (has_header && payload_size >= prefix_size)
            m_listener.on_baseband_frame(header, payload[0], payload[1], (payload[2] & 0x80U) != 0);
        if (!m_PLPs.take_frame(payload, payload_size))
            note_payload_error(packet_type);
        return;
    }
    if (!is_known_T2MI_packet_type(packet_type))
        ++m_counters.unknown_types;
    if (has_header)
        m_listener.on_T2MI_packet(header, payload, payload_size);
    if (packet_type == static_cast<std::uint8_t>(T2MIPacketType::L1_current) && !m_PLPs.take_L1(payload, payload_size))
        note_payload_error(packet_type);
    if (packet_type == static_cast<std::uint8_t>(T2MIPacketType::DVB_T2_timestamp)) {
        DVBT2Timestamp timestamp;
        if (read_record(timestamp, payload, payload_size))
            m_listener.on_timestamp(timestamp);
        else
            note_payload_error(packet_type);
    }
}

void T2MIDemultiplexer::note_payload_error(std::uint8_t packet_type)
{
    ++m_counters.payload_errors;
    m_payload_error_type = packet_type;
}
} // namespace mpegcore
