// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/t2mi/input_clock.h"

#include "mpegcore/BaseMpegParser.h"

#include <algorithm>

namespace t2mi
{
namespace
{
using namespace std::chrono_literals;
using fine_time = std::chrono::duration<double, std::nano>;

constexpr double packet_bits = mpegcore::ts_packet_size * 8;
constexpr std::uint64_t pcr_range = (std::uint64_t{1} << 33) * 300;

fine_time duration_of(std::uint64_t pcr_ticks) { return fine_time(static_cast<double>(pcr_ticks) * 1000 / 27); }
} // namespace

input_clock::input_clock(std::uint64_t bitrate) : m_spacing(packet_bits * 1e9 / static_cast<double>(bitrate)) {}

std::chrono::nanoseconds input_clock::stamp(unsigned char* ts_packet)
{
    mpegcore::transport_packet packet{};
    packet.PID = static_cast<std::uint16_t>((ts_packet[1] & 0x1F) << 8 | ts_packet[2]);
    packet.payload = ts_packet + mpegcore::ts_header_size;
    packet.payload_size = mpegcore::ts_payload_size;
    const auto& field = packet.adaptation_field;
    const bool has_field = (ts_packet[3] & 0x20) != 0 && mpegcore::CBaseMpegParser::ParserAdaptationField(packet);
    if (has_field && field.adaptation_field_length != 0 && field.PCR_flag != 0 &&
        (m_PCR_PID < 0 || m_PCR_PID == packet.PID))
    {
        const bool first = m_PCR_PID < 0;
        m_PCR_PID = packet.PID;
        take_PCR(field.program_clock_reference_base * 300 + field.program_clock_reference_extension,
                 first || field.discontinuity_indicator != 0);
    }
    m_time = std::max(m_time, std::chrono::duration_cast<std::chrono::nanoseconds>(m_next));
    m_next += m_spacing;
    ++m_packets_since_PCR;
    return m_time;
}

void input_clock::take_PCR(std::uint64_t pcr, bool discontinuity)
{
    const fine_time passed = duration_of((pcr + pcr_range - m_last_PCR) % pcr_range);
    if (!discontinuity && passed > 0ns && passed <= 1s) {
        m_spacing = passed / static_cast<double>(m_packets_since_PCR);
        m_next = m_PCR_time + passed;
    }
    m_last_PCR = pcr;
    m_PCR_time = m_next;
    m_packets_since_PCR = 0;
}
} // namespace t2mi
