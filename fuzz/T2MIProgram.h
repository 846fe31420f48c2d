// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/CRC.h"
#include "tools/t2mi/program_tables.h"
#include "tools/t2mi/t2mi_packet.h"
#include "tools/t2mi/t2mi_packetizer.h"

#include <algorithm>
#include <memory>
#include <vector>

namespace t2mi_fuzz
{
using mpegcore::ts_packet_size;

constexpr std::size_t largest_stream = 100'000;
constexpr std::uint8_t selected_PLP = 7;

struct input
{
    const std::uint8_t* data;
    std::size_t size;

    std::uint8_t byte()
    {
        if (size == 0)
            return 0;
        --size;
        return *data++;
    }
    std::uint16_t word()
    {
        const unsigned high = byte();
        return static_cast<std::uint16_t>(high << 8 | byte());
    }
};

/// Makes a stream out of an input, which is a small program: its first byte picks the size of the pieces that are fed,
/// every further byte an operation that appends to the stream or damages it; CRCs are made good unless an operation
/// says otherwise.
class stream_program
{
public:
    stream_program() : m_tables(t2mi::t2mi_options{}) {}

    /// The piece size; the stream is in `stream` behind it.
    std::size_t build(input in)
    {
        stream.clear();
        changes_PMT = moves_sync = false;
        m_packetizer = std::make_unique<t2mi::t2mi_packetizer>(t2mi::t2mi_options{}.t2mi_PID,
                                                               [this](const unsigned char* packet) { append(packet); });
        constexpr std::size_t pieces[] = {largest_stream, largest_stream, 1316, 188, 187, 189, 61, 1};
        const std::size_t piece = pieces[in.byte() % 8];
        while (in.size != 0 && stream.size() < largest_stream / 10)
            apply(in);
        m_packetizer->flush();
        return piece;
    }

    void append_tables()
    {
        m_tables.send([this](const unsigned char* packet) { append(packet); });
    }

    std::vector<unsigned char> stream;
    bool changes_PMT = false; ///< nothing but its own operation makes a table with a good CRC
    bool moves_sync = false;  ///< the stream may end within what the parser takes for a packet

private:
    void append(const unsigned char* packet) { stream.insert(stream.end(), packet, packet + ts_packet_size); }

    void apply(input& in)
    {
        const std::uint8_t operation = in.byte();
        switch (operation & 15) {
        case 0:
        case 1:
        case 2:
        case 3:
            return put_frame(operation, in);
        case 4:
            return put_payload(in);
        case 5:
            return put_bytes(in);
        case 6:
            return m_packetizer->flush();
        case 7:
            return set_byte(in);
        case 8:
            return drop_packet(in);
        case 9:
            return repeat_packet(1);
        case 10:
            return put_raw_payload(in);
        case 11:
            return put_garbage(in);
        case 12:
            return set_PMT(in);
        case 13:
            // Far beyond the room for one T2-MI packet; too slow to come by chance often.
            return repeat_packet(in.byte() == 0x5A && in.byte() == 0xA5 ? 360 : 2);
        case 14:
            return flip_bit(in);
        default:
            return append_tables();
        }
    }

    /// A whole frame; bits 4 to 7 of the operation make single fields arbitrary.
    void put_frame(std::uint8_t operation, input& in)
    {
        t2mi::baseband_header header;
        header.plp_id = (operation & 0x10) != 0 ? in.byte() : selected_PLP;
        const std::size_t size = (operation & 0x20) != 0 ? in.word() & 0x1FFF : in.byte() * 2;
        const std::uint8_t first = in.byte();
        m_packet.assign(t2mi::data_field_offset + size, first);
        header.data_bytes = static_cast<std::uint16_t>(size);
        header.syncd_bytes = first;
        t2mi::write_baseband_header(m_packet.data() + t2mi::t2mi_header_size, header);
        if ((operation & 0x40) != 0)
            patch_bbheader(in);
        finish(t2mi::packet_type::baseband_frame, operation, in);
    }

    void patch_bbheader(input& in)
    {
        unsigned char* const at = m_packet.data() + t2mi::t2mi_header_size + t2mi::baseband_prefix_size;
        const std::uint8_t which = in.byte();
        const std::uint16_t value = in.word();
        const std::size_t offset = (which & 1) != 0 ? 4 : 7; // DFL, SYNCD
        at[offset] = static_cast<unsigned char>(value >> 8);
        at[offset + 1] = static_cast<unsigned char>(value);
        at[9] = static_cast<unsigned char>(mpegcore::crc8_dvb(at, 9) ^ (which >> 1 & 3));
    }

    /// Any packet type, any payload, a good CRC.
    void put_payload(input& in)
    {
        const std::uint8_t type = in.byte();
        const std::size_t size = std::min<std::size_t>(in.byte(), in.size);
        m_packet.assign(t2mi::t2mi_header_size, 0);
        m_packet.insert(m_packet.end(), in.data, in.data + size);
        in.data += size;
        in.size -= size;
        finish(static_cast<t2mi::packet_type>(type), 0, in);
    }

    void finish(t2mi::packet_type type, std::uint8_t operation, input& in)
    {
        t2mi::t2mi_header header;
        header.type = type;
        t2mi::finish_packet(m_packet, header);
        if ((operation & 0x80) != 0)
            patch_header(in);
        m_packetizer->put(m_packet.data(), m_packet.size());
    }

    /// An arbitrary payload_len, with a CRC that is good or not.
    void patch_header(input& in)
    {
        const std::uint16_t payload_len = in.word();
        m_packet[4] = static_cast<unsigned char>(payload_len >> 8);
        m_packet[5] = static_cast<unsigned char>(payload_len);
        const std::size_t size = m_packet.size() - t2mi::t2mi_crc_size;
        const std::uint32_t crc = mpegcore::crc32_mpeg2(m_packet.data(), size) ^ (in.byte() & 1U);
        for (std::size_t at = 0; at < 4; ++at)
            m_packet[size + at] = static_cast<unsigned char>(crc >> (24 - 8 * at));
    }

    /// A T2-MI packet of the input's own bytes.
    void put_bytes(input& in)
    {
        const std::size_t size = std::min<std::size_t>(in.byte(), in.size);
        if (size != 0)
            m_packetizer->put(in.data, size);
        in.data += size;
        in.size -= size;
    }

    /// A packet on the T2-MI PID whose header and first payload bytes are the input's.
    void put_raw_payload(input& in)
    {
        t2mi::ts_packet packet{mpegcore::ts_sync_byte};
        const std::uint8_t flags = in.byte();
        packet[1] = static_cast<unsigned char>((flags & 1) != 0 ? 0x50 : 0x10);
        packet[3] = static_cast<unsigned char>(flags & 0xF0);
        for (std::size_t at = 4; at < 8; ++at)
            packet[at] = in.byte();
        append(packet.data());
    }

    void put_garbage(input& in)
    {
        const std::size_t size = in.byte() % ts_packet_size;
        stream.insert(stream.end(), size, in.byte());
        moves_sync = true;
    }

    /// The n-th packet from the end; nothing when there are fewer.
    unsigned char* packet_from_end(unsigned n)
    {
        const std::size_t back = (n + std::size_t{1}) * ts_packet_size;
        return back <= stream.size() ? stream.data() + stream.size() - back : nullptr;
    }

    /// Among the first bytes, where headers and pointer fields are.
    void set_byte(input& in)
    {
        unsigned char* const packet = packet_from_end(in.byte() & 7U);
        const std::size_t at = in.byte() % 32;
        const std::uint8_t value = in.byte();
        if (packet != nullptr)
            packet[at] = value;
        moves_sync = moves_sync || at == 0;
    }

    void flip_bit(input& in)
    {
        unsigned char* const packet = packet_from_end(in.byte() & 31U);
        const std::uint16_t bit = in.word();
        if (packet != nullptr)
            packet[bit / 8 % ts_packet_size] ^= static_cast<unsigned char>(1U << bit % 8);
        moves_sync = true;
    }

    void drop_packet(input& in)
    {
        unsigned char* const packet = packet_from_end(in.byte() & 7U);
        if (packet == nullptr)
            return;
        const auto at = stream.begin() + (packet - stream.data());
        stream.erase(at, at + ts_packet_size);
    }

    void repeat_packet(unsigned times)
    {
        t2mi::ts_packet last;
        if (stream.size() < ts_packet_size || stream.size() + times * ts_packet_size > largest_stream)
            return;
        std::copy_n(stream.end() - ts_packet_size, ts_packet_size, last.begin());
        if (times > 2)
            last[1] &= 0xBF; // no start
        for (unsigned time = 0; time < times; ++time)
            append(last.data());
    }

    /// On the usual PMT PID: a PMT with 0 to 3 streams of any type, the first on the T2-MI PID.
    void set_PMT(input& in)
    {
        const std::uint8_t streams = in.byte() & 3U;
        unsigned char section[64] = {
            0x02, 0xB0, static_cast<unsigned char>(13 + 5 * streams), 0, 1, 0xC1, 0, 0, 0xFF, 0xFF, 0xF0, 0};
        for (std::size_t at = 0; at < streams; ++at) {
            unsigned char* const entry = section + 12 + 5 * at;
            entry[0] = in.byte() % 8;
            entry[1] = 0xF0;
            entry[2] = static_cast<unsigned char>(at);
            entry[3] = 0xF0;
        }
        const std::size_t size = 12U + 5U * streams;
        const std::uint32_t crc = mpegcore::crc32_mpeg2(section, size);
        for (std::size_t at = 0; at < 4; ++at)
            section[size + at] = static_cast<unsigned char>(crc >> (24 - 8 * at));
        t2mi::ts_packet packet{mpegcore::ts_sync_byte, 0x41, 0x00, 0x10, 0x00};
        std::copy_n(section, size + 4, packet.begin() + 5);
        append(packet.data());
        changes_PMT = true;
    }

    t2mi::program_tables m_tables;
    std::unique_ptr<t2mi::t2mi_packetizer> m_packetizer;
    std::vector<unsigned char> m_packet;
};
} // namespace t2mi_fuzz
