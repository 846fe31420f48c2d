// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "tools/t2mi/t2mi_encapsulator.h"

#include <algorithm>
#include <random>
#include <stdexcept>
#include <vector>

namespace bench
{
/// T2-MI of `plps` PLPs with so many random packets in turn, all of which have to go out again.
inline std::vector<unsigned char> t2mi_stream(std::size_t packets, unsigned plps = 1)
{
    std::vector<unsigned char> stream;
    t2mi::t2mi_encapsulator encapsulator{{}, [&](const unsigned char* packet) {
                                             stream.insert(stream.end(), packet, packet + mpegcore::ts_packet_size);
                                         }};
    bool taken = true;
    for (unsigned plp_id = 0; plp_id < plps; ++plp_id)
        taken = taken && encapsulator.add_plp(static_cast<std::uint8_t>(plp_id));
    std::mt19937 random(1);
    t2mi::ts_packet packet{mpegcore::ts_sync_byte};
    for (std::size_t at = 0; at < packets && taken; ++at) {
        std::generate(packet.begin() + 1, packet.end(), [&random] { return static_cast<unsigned char>(random()); });
        taken = encapsulator.push(static_cast<std::uint8_t>(at % plps), packet.data());
    }
    encapsulator.flush();
    if (!taken)
        throw std::logic_error("a packet was refused");
    return stream;
}
} // namespace bench
