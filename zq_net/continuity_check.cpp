// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/continuity_check.h"

#include <tuple>

namespace zq_net
{
namespace
{
constexpr std::size_t packet_size = 188;
constexpr unsigned null_PID = 0x1FFF;
} // namespace

std::uint8_t& continuity_check::last_of(unsigned PID)
{
    constexpr unsigned together = std::tuple_size_v<some_PIDs>;
    std::unique_ptr<some_PIDs>& its = m_last[PID / together];
    if (!its) {
        its = std::make_unique<some_PIDs>();
        its->fill(unknown);
    }
    return (*its)[PID % together];
}

void continuity_check::forget()
{
    for (const auto& some : m_last)
        if (some)
            some->fill(unknown);
}

void continuity_check::look_at(const unsigned char* packets, std::size_t size)
{
    for (const unsigned char* packet = packets; packet + packet_size <= packets + size; packet += packet_size) {
        if ((packet[1] & 0x80) != 0) {
            ++m_transport_errors;
            continue;
        }
        const unsigned PID = (packet[1] & 0x1FU) << 8 | packet[2];
        if (PID == null_PID)
            continue;
        std::uint8_t& last = last_of(PID);
        const auto counter = static_cast<std::uint8_t>(packet[3] & 0x0F);
        // The usual packet: payload, and the counter follows.
        if ((packet[3] & 0x10) != 0 && counter == ((last + 1) & 0x0F) && last < repeated)
            last = counter;
        else
            look_closer(packet, last);
    }
}

void continuity_check::look_closer(const unsigned char* packet, std::uint8_t& last)
{
    const auto counter = static_cast<std::uint8_t>(packet[3] & 0x0F);
    const bool has_payload = (packet[3] & 0x10) != 0;
    const bool has_adaptation_field = (packet[3] & 0x20) != 0;
    const bool announced = has_adaptation_field && packet[4] > 0 && (packet[5] & 0x80) != 0;
    const auto before = static_cast<std::uint8_t>(last & 0x0F);
    if (last == unknown || announced) {
        last = counter;
        return;
    }
    if (!has_payload) {
        // The counter stands still without payload.
        m_continuity_errors += counter != before ? 1 : 0;
        last = counter;
        return;
    }
    if (counter == before && (last & repeated) == 0) {
        last = static_cast<std::uint8_t>(counter | repeated);
        return;
    }
    m_continuity_errors += counter != ((before + 1) & 0x0F) ? 1 : 0;
    last = counter;
}
} // namespace zq_net
