// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstdint>
#include <vector>

namespace support
{
/// An RTP datagram by hand: version 2, payload type 33, then the payload.
inline std::vector<unsigned char> rtp_datagram(std::uint16_t sequence_number, const std::vector<unsigned char>& payload,
                                               std::uint32_t SSRC = 0x11223344, std::uint32_t timestamp = 0)
{
    std::vector<unsigned char> bytes{0x80, 33};
    const auto append = [&bytes](std::uint32_t value, int count) {
        for (int shift = 8 * (count - 1); shift >= 0; shift -= 8)
            bytes.push_back(static_cast<unsigned char>(value >> shift));
    };
    append(sequence_number, 2);
    append(timestamp, 4);
    append(SSRC, 4);
    bytes.insert(bytes.end(), payload.begin(), payload.end());
    return bytes;
}
} // namespace support
