// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/t2mi/baseband_framer.h"

#include "mpegcore/TransportPacket.h"

#include <algorithm>

namespace t2mi
{
namespace
{
constexpr std::size_t user_packet_size = mpegcore::ts_packet_size - 1;
} // namespace

void baseband_framer::open(std::size_t data_field_bytes)
{
    m_capacity = data_field_bytes;
    m_filled = m_rest.size();
    m_syncd_bytes = static_cast<std::uint16_t>(m_rest.size());
    m_packet.assign(data_field_offset + data_field_bytes, 0);
    std::copy(m_rest.begin(), m_rest.end(), m_packet.begin() + data_field_offset);
    m_rest.clear();
}

void baseband_framer::put(const unsigned char* packet)
{
    const unsigned char* user_packet = packet + 1;
    const std::size_t part = std::min(user_packet_size, m_capacity - m_filled);
    std::copy_n(user_packet, part, m_packet.begin() + static_cast<std::ptrdiff_t>(data_field_offset + m_filled));
    m_filled += part;
    m_rest.assign(user_packet + part, user_packet + user_packet_size);
}

std::vector<unsigned char>& baseband_framer::close(std::uint8_t frame_idx, bool intl_frame_start, bool single_input)
{
    baseband_header header;
    header.frame_idx = frame_idx;
    header.plp_id = m_plp_id;
    header.intl_frame_start = intl_frame_start;
    header.single_input = single_input;
    header.data_bytes = static_cast<std::uint16_t>(m_filled);
    header.syncd_bytes = m_syncd_bytes;
    write_baseband_header(m_packet.data() + t2mi_header_size, header);
    m_capacity = m_filled = 0;
    return m_packet;
}
} // namespace t2mi
