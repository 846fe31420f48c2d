// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/monitor/T2MIWatch.h"

#include "mpegcore/syntax/Record.h"

#include <utility>

namespace mpegcore
{
namespace
{
bool is_same(const DVBT2Timestamp& one, const DVBT2Timestamp& other)
{
    return one.bw == other.bw && one.seconds_since_2000 == other.seconds_since_2000 &&
           one.subseconds == other.subseconds && one.utco == other.utco;
}
} // namespace

T2MIWatch::T2MIWatch(std::uint16_t PID, TR101290& checks)
    : m_PID(PID), m_checks(checks), m_demultiplexer(*this), m_frames(PID, checks)
{
    m_demultiplexer.set_PID(PID);
    for (const CheckName& name : TR101290_checks)
        if (name.priority == 0)
            m_checks.applies(name.check);
}

void T2MIWatch::put(const unsigned char* packet, std::uint64_t now)
{
    m_now = now;
    m_demultiplexer.put_packet(packet);
    const auto raise_new = [&](std::uint64_t count, std::uint64_t& raised, Check check, Finding finding,
                               std::uint64_t value) {
        for (; raised != count; ++raised) {
            m_checks.raise(check, now, finding, value, m_PID);
            m_has_timestamp = false; // something is missing in front of the next one
        }
    };
    const T2MICounters& counters = m_demultiplexer.counters();
    raise_new(m_demultiplexer.gatherer_counters().CRC_32_errors, m_CRC_32_errors, Check::T2MI_CRC_error,
              Finding::T2MI_CRC_32, 0);
    raise_new(counters.packet_count_gaps, m_packet_count_gaps, Check::T2MI_packet_count_error, Finding::packet_count,
              0);
    raise_new(counters.payload_errors, m_payload_errors, Check::T2MI_payload_error, Finding::T2MI_payload,
              m_demultiplexer.payload_error_type());
}

void T2MIWatch::reset()
{
    m_demultiplexer.reset();
    m_frames.forget();
    m_has_timestamp = false;
}

void T2MIWatch::on_baseband_frame(const T2MIHeader& header, std::uint8_t frame_idx, std::uint8_t plp_id,
                                  bool intl_frame_start)
{
    if (has_new_gap())
        m_frames.forget();
    m_frames.put_frame({header.superframe_idx, frame_idx}, plp_id, intl_frame_start, m_now);
}

void T2MIWatch::on_T2MI_packet(const T2MIHeader& header, const unsigned char* payload, std::size_t size)
{
    if (!is_known_T2MI_packet_type(header.packet_type))
        m_checks.raise(Check::T2MI_packet_type_error_2, m_now, Finding::packet_type, header.packet_type, m_PID);
    if (has_new_gap())
        m_frames.forget();
    if (header.packet_type == static_cast<std::uint8_t>(T2MIPacketType::L1_current) && m_L1.read(payload, size))
        m_frames.put_L1(header.superframe_idx, m_L1, m_now);
    DVBT2Timestamp timestamp;
    if (header.packet_type == static_cast<std::uint8_t>(T2MIPacketType::DVB_T2_timestamp) &&
        read_record(timestamp, payload, size))
        check_timestamp(header.superframe_idx, timestamp);
}

bool T2MIWatch::has_new_gap() const
{
    return m_demultiplexer.counters().packet_count_gaps != m_packet_count_gaps ||
           m_demultiplexer.gatherer_counters().CRC_32_errors != m_CRC_32_errors;
}

void T2MIWatch::check_timestamp(std::uint8_t superframe_idx, const DVBT2Timestamp& timestamp)
{
    constexpr unsigned superframe_idx_range = 16;
    if (has_new_gap())
        m_has_timestamp = false;
    if (m_has_timestamp && superframe_idx == m_superframe_idx) {
        if (!is_same(timestamp, m_timestamp))
            m_checks.raise(Check::T2MI_DVB_T2_Timestamp_error, m_now, Finding::timestamps_differ, 0, m_PID);
        return; // the first one of the super-frame counts
    }
    if (m_has_timestamp && superframe_idx == (m_superframe_idx + 1) % superframe_idx_range)
        check_step(timestamp);
    m_has_timestamp = true;
    m_superframe_idx = superframe_idx;
    m_timestamp = timestamp;
}

void T2MIWatch::check_step(const DVBT2Timestamp& timestamp)
{
    const std::uint64_t second = timestamp.subseconds_per_second();
    const L1Current* const L1 = m_demultiplexer.L1();
    const std::uint64_t expected = L1 == nullptr ? 0 : L1->superframe_periods() * timestamp.subseconds_per_period();
    if (expected == 0 || second == 0 || timestamp.bw != m_timestamp.bw || timestamp.is_null() ||
        m_timestamp.is_null() || timestamp.is_relative() != m_timestamp.is_relative())
        return;
    // Modulo 2^64, as unsigned numbers are.
    const std::uint64_t step = (timestamp.seconds_since_2000 - m_timestamp.seconds_since_2000) * second +
                               timestamp.subseconds - m_timestamp.subseconds;
    const bool follows = timestamp.is_relative() ? (step + second) % second == expected % second : step == expected;
    if (!follows)
        m_checks.raise(Check::T2MI_DVB_T2_Timestamp_discontinuity, m_now, Finding::timestamp_step,
                       timestamp.is_relative() ? (step + second) % second : step, m_PID);
}

T2MIContents T2MIWatch::contents() const
{
    T2MIContents contents;
    contents.PID = m_PID;
    contents.t2mi_stream_id = m_demultiplexer.stream_id();
    contents.packets = m_demultiplexer.gatherer_counters().packets;
    contents.L1 = m_demultiplexer.L1();
    for (unsigned at = 0; at < m_PLPs.size(); ++at) {
        PLPFigures figures;
        figures.plp_id = static_cast<std::uint8_t>(at);
        figures.L1 = m_demultiplexer.L1_of(figures.plp_id);
        if (!m_PLPs[at] && figures.L1 == nullptr)
            continue;
        if (const UserPacketCounters* const counters = m_demultiplexer.PLP_counters(figures.plp_id)) {
            figures.frames = counters->frames;
            figures.packets = counters->packets;
            figures.header_errors = counters->header_errors;
        }
        contents.PLPs.push_back(figures);
    }
    return contents;
}
} // namespace mpegcore
