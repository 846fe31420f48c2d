// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/rtp_packet.h"

namespace zq_net
{
namespace
{
constexpr std::size_t fixed_header_size = 12;

std::uint16_t read_16(const unsigned char* data) { return static_cast<std::uint16_t>(data[0] << 8 | data[1]); }
std::uint32_t read_32(const unsigned char* data)
{
    return static_cast<std::uint32_t>(read_16(data)) << 16 | read_16(data + 2);
}

} // namespace

bool is_rtcp(const unsigned char* data, std::size_t size)
{
    // Its packet types take the place of marker and payload type.
    constexpr std::size_t header_size = 4;
    return size >= header_size && data[0] >> 6 == 2 && data[1] >= 192 && data[1] <= 223;
}

std::optional<rtp_packet> read_rtp(const unsigned char* data, std::size_t size)
{
    if (size < fixed_header_size || data[0] >> 6 != 2 || is_rtcp(data, size))
        return std::nullopt;
    const bool padding = (data[0] & 0x20) != 0;
    const bool extension = (data[0] & 0x10) != 0;
    std::size_t header_size = fixed_header_size + std::size_t{4} * (data[0] & 0x0FU);
    if (extension) {
        if (size < header_size + 4)
            return std::nullopt;
        header_size += 4 + 4U * read_16(data + header_size + 2);
    }
    if (header_size > size)
        return std::nullopt;
    std::size_t payload_size = size - header_size;
    if (padding) {
        const std::size_t padding_size = payload_size == 0 ? 0 : data[size - 1];
        if (padding_size == 0 || padding_size > payload_size)
            return std::nullopt;
        payload_size -= padding_size;
    }
    rtp_packet packet;
    packet.marker = (data[1] & 0x80) != 0;
    packet.payload_type = data[1] & 0x7F;
    packet.sequence_number = read_16(data + 2);
    packet.timestamp = read_32(data + 4);
    packet.SSRC = read_32(data + 8);
    packet.payload = data + header_size;
    packet.payload_size = payload_size;
    return packet;
}
} // namespace zq_net
