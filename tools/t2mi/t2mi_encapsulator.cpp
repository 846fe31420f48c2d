// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/t2mi/t2mi_encapsulator.h"

#include "mpegcore/sections/PacketTime.h"

#include <algorithm>
#include <array>
#include <utility>

namespace t2mi
{
namespace
{
using namespace std::chrono_literals;

constexpr std::uint64_t bits_a_packet = mpegcore::ts_packet_size * 8;

constexpr ts_packet make_null_packet()
{
    ts_packet packet{0x47, 0x1F, 0xFF, 0x10};
    for (std::size_t at = 4; at < packet.size(); ++at)
        packet[at] = 0xFF;
    return packet;
}
constexpr auto null_packet = make_null_packet();

/// Ten times a second at a constant rate, which is what receivers expect at least; without one every 500 packets.
std::uint64_t table_interval(std::uint64_t bitrate)
{
    return bitrate == 0 ? 500 : std::max<std::uint64_t>(bitrate / bits_a_packet / 10, 4);
}
} // namespace

t2mi_encapsulator::t2mi_encapsulator(const t2mi_options& options, ts_sink sink)
    : m_options(options),
      m_sink(std::move(sink)),
      m_tables(options),
      m_packetizer(
          options.t2mi_PID, [this](const unsigned char* packet) { send(packet); }, options.continuous),
      m_random(options.seed),
      m_table_interval(table_interval(options.bitrate))
{}

t2mi_encapsulator::t2mi_encapsulator(const t2mi_options& options, t2mi_encapsulator& carrier, bool count_together)
    : m_options(options),
      m_tables(options),
      m_packetizer(options.t2mi_PID, {}),
      m_random(options.seed),
      m_carrier(&carrier),
      m_counts_with_carrier(count_together),
      m_table_interval(table_interval(0))
{
    m_options.bitrate = 0;
}

bool t2mi_encapsulator::add_plp(std::uint8_t plp_id)
{
    return m_plps.emplace(plp_id, plp_state{baseband_framer(plp_id, m_options)}).second;
}

bool t2mi_encapsulator::push(std::uint8_t plp_id, const unsigned char* packet)
{
    const auto found = m_plps.find(plp_id);
    if (found == m_plps.end() || packet[0] != mpegcore::ts_sync_byte)
        return false;
    auto& plp = found->second;
    if (plp.framer.closed())
        plp.framer.open(next_data_field_bytes());
    plp.framer.put(packet, ISCR());
    if (plp.framer.full())
        send_frame(plp);
    return true;
}

std::uint64_t t2mi_encapsulator::ISCR() const
{
    // Elementary periods of an 8 MHz channel are 7/64 us.
    return static_cast<std::uint64_t>(m_time.count()) * 64 / 7000;
}

void t2mi_encapsulator::advance(std::chrono::nanoseconds time)
{
    m_time = time;
    while (m_options.bitrate != 0 && lead() < 0ns) {
        send(null_packet.data());
        ++m_null_packets_sent;
    }
}

void t2mi_encapsulator::flush()
{
    for (auto& entry : m_plps) {
        auto& plp = entry.second;
        if (plp.framer.owes_nulls()) {
            if (plp.framer.closed())
                plp.framer.open(next_data_field_bytes());
            plp.framer.put_owed_null(null_packet.data(), ISCR());
            if (plp.framer.full())
                send_frame(plp);
        }
        if (plp.framer.idle())
            continue;
        if (plp.framer.closed())
            plp.framer.open(next_data_field_bytes());
        send_frame(plp);
    }
    if (m_options.L1_signalling && m_frames_in_t2_frame != 0)
        end_t2_frame();
    if (m_open_end)
        send_timestamp();
    if (m_carrier == nullptr)
        m_packetizer.flush();
}

std::chrono::nanoseconds t2mi_encapsulator::lead() const
{
    if (m_options.bitrate == 0)
        return 0ns;
    return mpegcore::packets_time(m_packets_sent, m_options.bitrate) - m_time;
}

void t2mi_encapsulator::send(const unsigned char* packet)
{
    if (m_packets_sent >= m_next_tables) {
        m_next_tables = m_packets_sent + m_table_interval;
        m_tables.send([this](const unsigned char* table) { count_and_sink(table); });
    }
    count_and_sink(packet);
}

void t2mi_encapsulator::count_and_sink(const unsigned char* packet)
{
    ++m_packets_sent;
    m_sink(packet);
}

void t2mi_encapsulator::send_frame(plp_state& plp)
{
    if (m_frames_in_t2_frame == 0)
        begin_t2_frame();
    const bool single_input = m_plps.size() == 1;
    send_baseband_frame(plp, plp.framer.close(frame_idx(), m_t2_frame >= plp.next_interleaving_frame, single_input));
    if (++plp.frames_since_empty_one != m_options.frames_between_empty_ones)
        return;
    plp.frames_since_empty_one = 0;
    if (m_frames_in_t2_frame == 0)
        begin_t2_frame();
    auto empty = plp.framer.empty_frame(next_data_field_bytes(), frame_idx(), m_t2_frame >= plp.next_interleaving_frame,
                                        single_input);
    send_baseband_frame(plp, empty);
}

void t2mi_encapsulator::send_baseband_frame(plp_state& plp, std::vector<unsigned char>& frame)
{
    plp.next_interleaving_frame = m_t2_frame + 1;
    send_packet(packet_type::baseband_frame, frame);
    ++plp.frames_in_t2_frame;
    if (++m_frames_in_t2_frame == m_options.baseband_frames_per_t2_frame)
        end_t2_frame();
}

void t2mi_encapsulator::end_t2_frame()
{
    if (m_options.L1_signalling) {
        send_timestamp();
        send_L1();
    }
    for (auto& plp : m_plps)
        plp.second.frames_in_t2_frame = 0;
    m_frames_in_t2_frame = 0;
    ++m_t2_frame;
}

void t2mi_encapsulator::begin_t2_frame()
{
    if (frame_idx() == 0)
        m_superframe_time = m_time;
    if (m_options.timestamps && !m_options.L1_signalling && frame_idx() == 0)
        send_timestamp();
    if (m_options.auxiliary_bytes != 0)
        send_auxiliary();
}

void t2mi_encapsulator::send_timestamp()
{
    m_small_packet.assign(t2mi_header_size, 0);
    append_timestamp(m_small_packet, m_options.start_seconds, m_options.L1_signalling ? m_superframe_time : m_time);
    send_packet(packet_type::dvb_t2_timestamp, m_small_packet);
}

void t2mi_encapsulator::send_L1()
{
    m_small_packet.assign(t2mi_header_size, 0);
    const auto payload = L1().payload();
    m_small_packet.insert(m_small_packet.end(), payload.begin(), payload.end());
    send_packet(packet_type::L1_current, m_small_packet);
}

/// That of an 8 MHz channel with 32K, guard interval 1/128, and what the options say.
mpegcore::L1Current t2mi_encapsulator::L1() const
{
    mpegcore::L1Current L1;
    L1.frame_idx = L1.L1DYN_CURR.FRAME_IDX = frame_idx();
    L1.L1PRE.BWT_EXT = 1;
    L1.L1PRE.S2 = 14;
    L1.L1PRE.GUARD_INTERVAL = 4;
    L1.L1PRE.L1_MOD = 3;
    L1.L1PRE.PILOT_PATTERN = 6;
    L1.L1PRE.NETWORK_ID = L1.L1PRE.T2_SYSTEM_ID = 1;
    // There is no room for 256, which is the most.
    L1.L1PRE.NUM_T2_FRAMES = static_cast<std::uint8_t>(std::min(m_options.t2_frames_per_superframe, 255U));
    L1.L1PRE.NUM_DATA_SYMBOLS = 59;
    L1.L1PRE.T2_VERSION = 2;
    L1.L1CONF.SUB_SLICES_PER_FRAME = 1;
    L1.L1CONF.RFs.resize(1);
    for (const auto& entry : m_plps) {
        mpegcore::L1PostConfigurable::PLP plp;
        plp.PLP_ID = entry.first;
        plp.PLP_TYPE = entry.first == m_options.common_plp ? 0 : 1;
        plp.PLP_PAYLOAD_TYPE = 3;
        plp.PLP_COD = 2;
        plp.PLP_MOD = 3;
        plp.PLP_FEC_TYPE = 1;
        plp.PLP_NUM_BLOCKS_MAX = static_cast<std::uint16_t>(std::min(m_options.baseband_frames_per_t2_frame, 1023U));
        plp.FRAME_INTERVAL = plp.TIME_IL_LENGTH = 1;
        plp.PLP_MODE = m_options.normal_mode ? 1 : 2;
        L1.L1CONF.PLPs.push_back(plp);
        mpegcore::L1PostDynamic::PLP now;
        now.PLP_ID = entry.first;
        now.PLP_NUM_BLOCKS = std::min<std::uint16_t>(entry.second.frames_in_t2_frame, 1023);
        L1.L1DYN_CURR.PLPs.push_back(now);
    }
    L1.measure();
    return L1;
}

void t2mi_encapsulator::send_auxiliary()
{
    m_small_packet.assign(t2mi_header_size, 0);
    append_auxiliary_header(m_small_packet, frame_idx());
    for (std::size_t byte = 0; byte < m_options.auxiliary_bytes; ++byte)
        m_small_packet.push_back(static_cast<unsigned char>(m_random()));
    send_packet(packet_type::auxiliary_stream, m_small_packet);
}

void t2mi_encapsulator::send_packet(packet_type type, std::vector<unsigned char>& packet)
{
    t2mi_header header;
    header.type = type;
    header.packet_count = (m_counts_with_carrier ? m_carrier->m_packet_count : m_packet_count)++;
    header.superframe_idx = (m_t2_frame / m_options.t2_frames_per_superframe) & 0x0F;
    header.t2mi_stream_id = m_options.t2mi_stream_id;
    finish_packet(packet, header);
    m_open_end = type == packet_type::baseband_frame;
    (m_carrier != nullptr ? m_carrier->m_packetizer : m_packetizer).put(packet.data(), packet.size());
}

std::size_t t2mi_encapsulator::next_data_field_bytes()
{
    const std::size_t sizes = m_options.data_field_bytes_max - m_options.data_field_bytes_min + 1;
    return m_options.data_field_bytes_min + (sizes == 1 ? 0 : m_random() % sizes);
}
} // namespace t2mi
