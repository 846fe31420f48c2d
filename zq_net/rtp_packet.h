// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>

namespace zq_net
{
/// The fixed header of an RTP packet and where its payload lies (RFC 3550, 5.1).
struct rtp_packet
{
    bool marker = false;
    std::uint8_t payload_type = 0;
    std::uint16_t sequence_number = 0;
    std::uint32_t timestamp = 0;
    std::uint32_t SSRC = 0;
    const unsigned char* payload = nullptr; ///< inside the datagram; CSRCs and extension are skipped
    std::size_t payload_size = 0;           ///< bytes, without padding; may be 0
};

/// Payload type of an MPEG-2 transport stream (RFC 3551, table 5).
inline constexpr std::uint8_t rtp_payload_type_MP2T = 33;

/// Whether a datagram is RTCP that shares the port of RTP (RFC 5761, 4).
[[nodiscard]] bool is_rtcp(const unsigned char* data, std::size_t size);

/// Nothing when the version is not 2, when header, extension or padding go beyond the datagram, or when it is RTCP
/// that shares the port (RFC 5761, 4).
[[nodiscard]] std::optional<rtp_packet> read_rtp(const unsigned char* data, std::size_t size);
} // namespace zq_net
