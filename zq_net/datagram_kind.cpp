// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/datagram_kind.h"

#include "zq_net/ts_aligner.h"

namespace zq_net
{
std::optional<rtp_packet> datagram_kind::look(const unsigned char* data, std::size_t size, std::size_t awaited)
{
    if (m_mode == rtp_mode::off)
        return std::nullopt;
    if (m_mode == rtp_mode::on)
        return read_rtp(data, size);
    // A sync byte is no version 2, so a datagram that begins with a packet is none of RTP.
    if (size > 0 && has_sync_from(data, size)) {
        m_was_rtp = false;
        return std::nullopt;
    }
    if (!m_was_rtp && awaited > 0 && has_sync_from(data, size, awaited))
        return std::nullopt;
    auto packet = read_rtp(data, size);
    if (!packet)
        return packet;
    const bool carries_packets =
        packet->payload_size >= ts_packet_size && has_sync_from(packet->payload, packet->payload_size);
    if (carries_packets)
        m_was_rtp = true;
    else if (!m_was_rtp || (packet->payload_type != rtp_payload_type_MP2T && packet->payload_size > 0))
        packet.reset();
    return packet;
}
} // namespace zq_net
