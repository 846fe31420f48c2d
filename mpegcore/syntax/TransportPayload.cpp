// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/syntax/TransportPayload.h"

namespace mpegcore
{
bool TransportPayload::read(const unsigned char* packet)
{
    constexpr unsigned has_payload = 0x10, has_field = 0x20;
    if ((packet[3] & has_payload) == 0)
        return false;
    std::size_t payload_at = ts_header_size;
    discontinuity_indicator = false;
    if ((packet[3] & has_field) != 0) {
        const std::size_t adaptation_field_length = packet[4];
        payload_at += 1 + adaptation_field_length;
        if (payload_at > ts_packet_size)
            return false;
        discontinuity_indicator = adaptation_field_length > 0 && (packet[5] & 0x80U) != 0;
    }
    transport_error_indicator = (packet[1] & 0x80U) != 0;
    payload_unit_start_indicator = (packet[1] & 0x40U) != 0;
    transport_scrambling_control = packet[3] >> 6;
    continuity_counter = packet[3] & 0x0FU;
    data = packet + payload_at;
    size = ts_packet_size - payload_at;
    return true;
}

bool ContinuityFollower::is_last(const TransportPayload& payload) const
{
    return payload.continuity_counter == m_last_counter && payload.payload_unit_start_indicator == m_last_start &&
           payload.size == m_last_size && std::memcmp(payload.data, m_last.data(), m_last_size) == 0;
}
} // namespace mpegcore
