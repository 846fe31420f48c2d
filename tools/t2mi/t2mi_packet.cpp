// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/t2mi/t2mi_packet.h"

#include "mpegcore/CRC.h"
#include "zqsdk/ZQBSWriter.h"
#include "zqsdk/ZQMask.h"

namespace t2mi
{
namespace
{
using bit_writer = ZQSDK::ZQBSWriterT<unsigned char*>;

unsigned char* append_room(std::vector<unsigned char>& packet, std::size_t size)
{
    packet.resize(packet.size() + size);
    return packet.data() + packet.size() - size;
}
} // namespace

void finish_packet(std::vector<unsigned char>& packet, const t2mi_header& header)
{
    const auto payload_len = static_cast<unsigned short>((packet.size() - t2mi_header_size) * 8);
    {
        bit_writer writer(packet.data(), t2mi_header_size);
        writer.putBits<8>(header.type);
        writer.putBits<8>(header.packet_count);
        writer.putBits<4>(header.superframe_idx);
        writer.putBits<9>(0U); // rfu
        writer.putBits<3>(header.t2mi_stream_id);
        writer.putBits<16>(payload_len);
    }
    const std::uint32_t crc = mpegcore::crc32_mpeg2(packet.data(), packet.size());
    bit_writer(append_room(packet, t2mi_crc_size), t2mi_crc_size).putBits<32>(crc);
}

void write_baseband_header(unsigned char* at, const baseband_header& header)
{
    constexpr std::size_t crc_8_offset = baseband_prefix_size + bbheader_size - 1;
    constexpr unsigned char high_efficiency_mode = 1;
    {
        bit_writer writer(at, crc_8_offset);
        writer.putBits<8>(header.frame_idx);
        writer.putBits<8>(header.plp_id);
        writer.putBits<1>(header.intl_frame_start);
        writer.putBits<7>(0U);                  // rfu
        writer.putBits<2>(3U);                  // TS/GS: transport stream
        writer.putBits<1>(header.single_input); // SIS/MIS
        writer.putBits<1>(1U);                  // CCM/ACM: constant
        writer.putBits<1>(header.ISSYI);
        writer.putBits<1>(header.NPD);
        writer.putBits<2>(0U);                                       // EXT
        writer.putBits<8>(header.single_input ? 0U : header.plp_id); // ISI
        writer.putBits<16>(header.normal_mode ? header.UPL : header.ISSY[0] << 8 | header.ISSY[1]);
        writer.putBits<16>(header.data_bytes * 8);                                // DFL
        writer.putBits<8>(header.normal_mode ? 0x47U : header.ISSY[2]);           // SYNC
        writer.putBits<16>(header.has_start ? header.syncd_bytes * 8U : 0xFFFFU); // SYNCD
    }
    const std::uint8_t crc_8 = mpegcore::crc8_dvb(at + baseband_prefix_size, bbheader_size - 1);
    at[crc_8_offset] = static_cast<unsigned char>(crc_8 ^ (header.normal_mode ? 0 : high_efficiency_mode));
}

void append_timestamp(std::vector<unsigned char>& packet, std::uint64_t start_seconds, std::chrono::nanoseconds time)
{
    using namespace std::chrono_literals;
    constexpr unsigned char bandwidth_8_MHz = 4;
    constexpr unsigned leap_seconds_since_2000 = 5;
    const bool absolute = start_seconds != 0;
    const auto seconds = static_cast<std::uint64_t>(time / 1s);
    const auto subseconds = static_cast<std::uint32_t>((time % 1s).count() * 64 / 1000);

    constexpr std::size_t size = 11;
    bit_writer writer(append_room(packet, size), size);
    writer.putBits<4>(0U); // rfu
    writer.putBits<4>(bandwidth_8_MHz);
    writer.putBits<40>(absolute ? (start_seconds + seconds) & ZQSDK::mask_impl[40] : 0);
    writer.putBits<27>(subseconds);
    writer.putBits<13>(absolute ? leap_seconds_since_2000 : 0U); // utco
}

void append_auxiliary_header(std::vector<unsigned char>& packet, std::uint8_t frame_idx)
{
    constexpr std::size_t size = 3;
    bit_writer writer(append_room(packet, size), size);
    writer.putBits<8>(frame_idx);
    writer.putBits<4>(0U);  // aux_id
    writer.putBits<12>(0U); // rfu
}
} // namespace t2mi
