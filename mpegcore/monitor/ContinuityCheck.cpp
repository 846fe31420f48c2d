// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/monitor/ContinuityCheck.h"

namespace mpegcore
{
ContinuityCheck::Verdict ContinuityCheck::look_closer(const unsigned char* packet)
{
    constexpr unsigned has_field = 0x20, discontinuity_indicator = 0x80;
    const unsigned counter = packet[3] & 0x0FU, expected = m_expected & 0x0FU;
    const bool is_announced =
        (packet[3] & has_field) != 0 && packet[4] > 0 && (packet[5] & discontinuity_indicator) != 0;
    const bool is_first = m_expected == 0;
    const bool is_same = ((counter + 1) & 0x0F) == expected;
    const bool was_repeated = m_was_repeated;
    m_was_repeated = false;
    if (is_first || is_announced)
        return Verdict::good;
    if ((packet[3] & has_payload) == 0)
        return is_same ? Verdict::good : Verdict::counted_without_payload;
    if (is_same) {
        if (!is_last(packet))
            return Verdict::repeated_otherwise;
        m_was_repeated = true;
        return was_repeated ? Verdict::repeated_again : Verdict::repeated;
    }
    m_missing = static_cast<std::uint8_t>((counter - expected) & 0x0F);
    return Verdict::packets_missing;
}

bool ContinuityCheck::is_last(const unsigned char* packet) const
{
    constexpr std::size_t PCR_at = 6, behind_PCR = 12;
    constexpr unsigned has_field = 0x20, PCR_flag = 0x10;
    const bool has_PCR = (packet[3] & has_field) != 0 && packet[4] >= 7 && (packet[5] & PCR_flag) != 0;
    if (!has_PCR)
        return std::memcmp(packet, m_last.data(), ts_packet_size) == 0;
    // A repetition has a PCR of its own.
    return std::memcmp(packet, m_last.data(), PCR_at) == 0 &&
           std::memcmp(packet + behind_PCR, m_last.data() + behind_PCR, ts_packet_size - behind_PCR) == 0;
}
} // namespace mpegcore
