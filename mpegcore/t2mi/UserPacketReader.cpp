// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/t2mi/UserPacketReader.h"

#include "mpegcore/CRC.h"
#include "mpegcore/TransportPacket.h"
#include "mpegcore/syntax/Record.h"

#include <algorithm>

namespace mpegcore
{
namespace
{
constexpr auto make_null_packet()
{
    std::array<unsigned char, ts_packet_size> packet{};
    for (auto& byte : packet)
        byte = 0xFF;
    packet[0] = ts_sync_byte;
    packet[1] = null_packet_PID >> 8;
    packet[3] = 0x10;
    return packet;
}

constexpr auto the_null_packet = make_null_packet();
} // namespace

const unsigned char* UserPacketReader::null_packet() { return the_null_packet.data(); }

void UserPacketReader::drop_part()
{
    if (m_part_size != 0)
        ++m_counters.dropped_parts;
    m_part_size = 0;
    m_in_step = false;
    m_knows_CRC_8 = false;
}

/// Finds the data field, its format and where the first packet starts in it.
bool UserPacketReader::open(unsigned char* frame, std::size_t size)
{
    ++m_counters.frames;
    BasebandHeader header;
    const bool is_read = size >= BasebandHeader::size && BasebandHeader::mode_of(frame) <= 1 &&
                         read_record(header, frame, BasebandHeader::size);
    if (!is_read || header.DFL % 8 != 0 || header.DFL / 8U > size - BasebandHeader::size) {
        ++m_counters.header_errors;
        drop_part();
        return false;
    }
    if (header.TS_GS != BasebandHeader::transport_stream) {
        ++m_counters.other_formats;
        drop_part();
        return false;
    }
    const unsigned DFL = header.DFL, SYNCD = header.SYNCD;
    m_data = frame + BasebandHeader::size;
    m_end = m_data + DFL / 8;
    // In a frame without data nothing starts, whatever its SYNCD says, and the packet begun goes on behind it.
    const bool starts = DFL != 0 && SYNCD != BasebandHeader::no_start;
    if (starts && (SYNCD % 8 != 0 || SYNCD > DFL)) {
        ++m_counters.header_errors;
        drop_part();
        return false;
    }
    m_first = starts ? SYNCD / 8 : DFL / 8;
    if (DFL != 0)
        use(format_of(header, BasebandHeader::mode_of(frame) == BasebandHeader::high_efficiency));
    m_frame_ISSY.is_there = starts && m_format.high_efficiency && m_format.has_ISSY;
    m_frame_ISSY.bytes = {frame[2], frame[3], frame[6]};
    m_field_has_start = starts;
    return true;
}

UserPacketReader::Format UserPacketReader::format_of(const BasebandHeader& header, bool high_efficiency) const
{
    Format format;
    format.high_efficiency = high_efficiency;
    format.has_ISSY = header.ISSYI != 0;
    format.has_DNP = header.NPD != 0;
    if (format.has_ISSY && !high_efficiency)
        format.ISSY_size = ISSY_size_of(header);
    return format;
}

/// 2 or 3: that with which the CRC-8 of the first packet in the field holds, which the next one begins with, if it
/// fails with the other. Where the field has too few packets to tell, that of the frame before, and else the one that
/// UPL tells.
std::uint8_t UserPacketReader::ISSY_size_of(const BasebandHeader& header) const
{
    constexpr std::uint8_t short_ISSY = 2;
    const std::size_t with_short = packet_size + short_ISSY + header.NPD;
    const bool can_tell = static_cast<std::size_t>(m_end - m_data) > m_first + with_short + 1;
    const bool short_fits = can_tell && CRC_8_fits(with_short), long_fits = can_tell && CRC_8_fits(with_short + 1);
    if (short_fits != long_fits)
        return short_fits ? short_ISSY : longest_ISSY;
    if (m_format.ISSY_size != 0)
        return m_format.ISSY_size;
    return header.UPL == 8 * with_short ? short_ISSY : longest_ISSY;
}

bool UserPacketReader::CRC_8_fits(std::size_t stride) const
{
    const unsigned char* const packet = m_data + m_first;
    return crc8_dvb(packet + 1, stride - 1) == packet[stride];
}

void UserPacketReader::use(const Format& format)
{
    if (m_stride != 0 && format == m_format)
        return;
    if (m_stride != 0)
        drop_part();
    m_format = format;
    m_sync_missing = format.high_efficiency ? 1 : 0;
    m_stride = packet_size - m_sync_missing + format.ISSY_size + (format.has_DNP ? 1 : 0);
}

bool UserPacketReader::finish_part(const unsigned char* data)
{
    const std::size_t missing = m_stride - m_part_size;
    // A packet that ends where the field ends leaves no start in it.
    const bool agrees =
        m_part_size == 0 ? m_first == 0 : m_first == missing || (!m_field_has_start && m_first < missing);
    if (m_in_step && !agrees) {
        ++m_counters.SYNCD_disagreements;
        drop_part();
    }
    const bool was_begun = m_in_step && m_part_size != 0;
    if (!was_begun) {
        m_in_step = m_field_has_start;
        return false;
    }
    std::copy_n(data, m_first, m_part.data() + m_sync_missing + m_part_size);
    m_part_size += m_first;
    if (m_part_size < m_stride)
        return false;
    m_part_size = 0;
    return true;
}

void UserPacketReader::keep_part(const unsigned char* at)
{
    if (!m_field_has_start || at == m_end)
        return;
    m_part_size = static_cast<std::size_t>(m_end - at);
    std::copy(at, static_cast<const unsigned char*>(m_end), m_part.data() + m_sync_missing);
    m_part_ISSY = std::exchange(m_frame_ISSY, {});
}

void UserPacketReader::check_CRC_8(const unsigned char* packet)
{
    if (m_knows_CRC_8 && packet[0] != m_CRC_8)
        ++m_counters.CRC_8_errors;
    m_CRC_8 = crc8_dvb(packet + 1, m_stride - 1);
    m_knows_CRC_8 = true;
}
} // namespace mpegcore
