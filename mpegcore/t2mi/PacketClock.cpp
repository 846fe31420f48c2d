// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/t2mi/PacketClock.h"

#include <cmath>

namespace mpegcore
{
std::optional<std::uint32_t> long_ISCR(const UserPacket& packet)
{
    constexpr std::uint8_t long_size = 3;
    constexpr unsigned char form = 0xC0, long_form = 0x80;
    if (packet.ISSY_size != long_size || (packet.ISSY[0] & form) != long_form)
        return std::nullopt;
    return (packet.ISSY[0] & 0x3FU) << 16 | static_cast<unsigned>(packet.ISSY[1]) << 8 | packet.ISSY[2];
}

std::int32_t ISCR_difference(std::uint32_t a, std::uint32_t b)
{
    const std::uint32_t ahead = (a - b) % ISCR_range;
    return static_cast<std::int32_t>(ahead) - (ahead >= ISCR_range / 2 ? static_cast<std::int32_t>(ISCR_range) : 0);
}

bool PacketPeriod::learn(std::uint32_t passed, std::uint32_t packets)
{
    // Two that agree are believed.
    if (!is_known()) {
        const double seen = static_cast<double>(passed) / packets;
        if (m_candidate > 0 && std::abs(seen - m_candidate) < m_candidate / 16) {
            m_period = seen;
            m_passed = passed;
            m_packets = packets;
        }
        m_candidate = seen;
        return is_known();
    }
    const double expected = m_period * packets;
    const auto predicted = static_cast<std::uint64_t>(std::llround(expected));
    const std::int32_t error = ISCR_difference(passed, static_cast<std::uint32_t>(predicted % ISCR_range));
    if (std::abs(error) > m_period / 2) {
        if (++m_strikes == most_strikes)
            *this = {};
        return false;
    }
    constexpr double long_enough = 1e6;
    if (m_packets > long_enough) {
        m_passed /= 2;
        m_packets /= 2;
    }
    m_strikes = 0;
    m_passed += static_cast<double>(predicted) + error;
    m_packets += packets;
    m_period = m_passed / m_packets;
    return true;
}

std::uint32_t PacketPlace::time(const PacketPeriod& period) const
{
    const auto since = static_cast<std::uint64_t>(std::llround(period.get() * behind));
    return static_cast<std::uint32_t>((ISCR + since) % ISCR_range);
}

PacketPlace PacketClock::next(const UserPacket& packet, bool is_behind_gap, PacketPeriod* period)
{
    if (is_behind_gap)
        m_last = {};
    if (m_last.is_known && ++m_last.behind == 0)
        m_last = {};
    if (const auto ISCR = long_ISCR(packet)) {
        const std::uint32_t passed = (*ISCR - m_last.ISCR) % ISCR_range;
        if (m_last.is_known && period != nullptr && passed != 0)
            static_cast<void>(period->learn(passed, m_last.behind));
        m_last = {true, *ISCR, 0};
    }
    return m_last;
}
} // namespace mpegcore
