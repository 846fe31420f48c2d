// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/t2mi/baseband_framer.h"

#include "mpegcore/CRC.h"
#include "mpegcore/TransportPacket.h"

#include <algorithm>
#include <utility>

namespace t2mi
{
namespace
{
/// An ISCR in its long form, of which the short one is the last two bytes.
std::array<unsigned char, 3> ISSY_of(std::uint64_t ISCR, unsigned bytes)
{
    const std::uint64_t bits = bytes == 2 ? ISCR & 0x7FFF : 0x800000 | (ISCR & 0x3FFFFF);
    return {static_cast<unsigned char>(bits >> 16), static_cast<unsigned char>(bits >> 8),
            static_cast<unsigned char>(bits)};
}

bool is_null(const unsigned char* packet) { return (packet[1] & 0x1F) == 0x1F && packet[2] == 0xFF; }
} // namespace

void baseband_framer::open(std::size_t data_field_bytes)
{
    m_capacity = data_field_bytes;
    m_filled = m_rest.size();
    m_syncd_bytes = static_cast<std::uint16_t>(m_rest.size());
    m_starts = false;
    m_ISSY = {};
    m_packet.assign(data_field_offset + data_field_bytes, 0);
    std::copy(m_rest.begin(), m_rest.end(), m_packet.begin() + data_field_offset);
    m_rest.clear();
}

void baseband_framer::put(const unsigned char* packet, std::uint64_t ISCR)
{
    constexpr unsigned char most_deleted = 255;
    if (m_delete_nulls && is_null(packet) && m_deleted < most_deleted) {
        ++m_deleted;
        return;
    }
    add(packet, ISCR);
}

void baseband_framer::put_owed_null(const unsigned char* null_packet, std::uint64_t ISCR)
{
    --m_deleted;
    add(null_packet, ISCR);
}

void baseband_framer::add(const unsigned char* packet, std::uint64_t ISCR)
{
    if (!m_starts && m_ISSY_bytes != 0 && !m_normal_mode)
        m_ISSY = ISSY_of(ISCR, m_ISSY_bytes);
    m_starts = true;
    make_user_packet(packet, ISCR);
    const auto part = static_cast<std::ptrdiff_t>(std::min(m_user_packet.size(), m_capacity - m_filled));
    std::copy_n(m_user_packet.begin(), part,
                m_packet.begin() + static_cast<std::ptrdiff_t>(data_field_offset + m_filled));
    m_filled += static_cast<std::size_t>(part);
    m_rest.assign(m_user_packet.begin() + part, m_user_packet.end());
}

void baseband_framer::make_user_packet(const unsigned char* packet, std::uint64_t ISCR)
{
    m_user_packet.clear();
    if (m_normal_mode)
        m_user_packet.push_back(m_CRC_8);
    m_user_packet.insert(m_user_packet.end(), packet + 1, packet + mpegcore::ts_packet_size);
    if (m_normal_mode) {
        const auto ISSY = ISSY_of(ISCR, m_ISSY_bytes);
        m_user_packet.insert(m_user_packet.end(), ISSY.end() - m_ISSY_bytes, ISSY.end());
    }
    if (m_delete_nulls)
        m_user_packet.push_back(std::exchange(m_deleted, static_cast<unsigned char>(0)));
    if (m_normal_mode)
        m_CRC_8 = mpegcore::crc8_dvb(m_user_packet.data() + 1, m_user_packet.size() - 1);
}

std::vector<unsigned char> baseband_framer::empty_frame(std::size_t padding_bytes, std::uint8_t frame_idx,
                                                        bool intl_frame_start, bool single_input) const
{
    std::vector<unsigned char> packet(data_field_offset + padding_bytes);
    baseband_header header;
    header.frame_idx = frame_idx;
    header.plp_id = m_plp_id;
    header.intl_frame_start = intl_frame_start;
    header.single_input = single_input;
    header.has_start = false;
    header.normal_mode = m_normal_mode;
    header.NPD = m_delete_nulls;
    header.UPL = static_cast<std::uint16_t>(8 * m_user_packet_bytes);
    header.ISSYI = m_ISSY_bytes != 0;
    write_baseband_header(packet.data() + t2mi_header_size, header);
    return packet;
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
    header.normal_mode = m_normal_mode;
    header.NPD = m_delete_nulls;
    header.UPL = static_cast<std::uint16_t>(8 * m_user_packet_bytes);
    header.ISSYI = m_ISSY_bytes != 0;
    header.ISSY = m_ISSY;
    write_baseband_header(m_packet.data() + t2mi_header_size, header);
    m_capacity = m_filled = 0;
    return m_packet;
}
} // namespace t2mi
