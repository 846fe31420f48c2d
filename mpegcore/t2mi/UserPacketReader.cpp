// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/t2mi/UserPacketReader.h"

#include "mpegcore/CRC.h"
#include "mpegcore/TransportPacket.h"

#include <algorithm>

namespace mpegcore
{
namespace
{
constexpr std::size_t header_size = 10;
constexpr unsigned transport_stream_format = 3;
constexpr unsigned no_packet_start = 0xFFFF;

unsigned word(const unsigned char* at) { return static_cast<unsigned>(at[0] << 8 | at[1]); }

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
    const unsigned mode = size < header_size ? 2 : crc8_dvb(frame, header_size - 1) ^ frame[header_size - 1];
    const unsigned DFL = mode > 1 ? 0 : word(frame + 4);
    if (mode > 1 || DFL % 8 != 0 || DFL / 8 > size - header_size) {
        ++m_counters.header_errors;
        drop_part();
        return false;
    }
    if (frame[0] >> 6 != transport_stream_format) {
        ++m_counters.other_formats;
        drop_part();
        return false;
    }
    m_data = frame + header_size;
    m_end = m_data + DFL / 8;
    const unsigned SYNCD = word(frame + 7);
    // In a frame without data nothing starts, whatever its SYNCD says, and the packet begun goes on behind it.
    const bool starts = DFL != 0 && SYNCD != no_packet_start;
    if (starts && (SYNCD % 8 != 0 || SYNCD > DFL)) {
        ++m_counters.header_errors;
        drop_part();
        return false;
    }
    m_first = starts ? SYNCD / 8 : DFL / 8;
    if (DFL != 0)
        use(format_of(frame, mode == 1));
    m_frame_ISSY.is_there = starts && m_format.high_efficiency && m_format.has_ISSY;
    m_frame_ISSY.bytes = {frame[2], frame[3], frame[6]};
    m_field_has_start = starts;
    return true;
}

UserPacketReader::Format UserPacketReader::format_of(const unsigned char* header, bool high_efficiency) const
{
    Format format;
    format.high_efficiency = high_efficiency;
    format.has_ISSY = (header[0] & 0x08U) != 0;
    format.has_DNP = (header[0] & 0x04U) != 0;
    if (format.has_ISSY && !high_efficiency)
        format.ISSY_size = ISSY_size_of(header);
    return format;
}

/// 2 or 3: that with which the CRC-8 of the first packet in the field holds, which the next one begins with. Where the
/// field has too few packets, that of the frame before, and else the one that UPL tells.
std::uint8_t UserPacketReader::ISSY_size_of(const unsigned char* header) const
{
    constexpr std::uint8_t short_ISSY = 2;
    const std::size_t with_short = packet_size + short_ISSY + ((header[0] & 0x04U) != 0 ? 1 : 0);
    const bool short_fits = CRC_8_fits(with_short), long_fits = CRC_8_fits(with_short + 1);
    if (short_fits != long_fits)
        return short_fits ? short_ISSY : longest_ISSY;
    if (m_format.ISSY_size != 0)
        return m_format.ISSY_size;
    return word(header + 2) == 8 * with_short ? short_ISSY : longest_ISSY;
}

bool UserPacketReader::CRC_8_fits(std::size_t stride) const
{
    const unsigned char* const packet = m_data + m_first;
    return static_cast<std::size_t>(m_end - packet) > stride && crc8_dvb(packet + 1, stride - 1) == packet[stride];
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
