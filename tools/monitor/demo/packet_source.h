// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/TransportPacket.h"

#include <array>
#include <chrono>

namespace monitor
{
/// Packets of a transport stream and the times at which they are sent.
class packet_source
{
public:
    struct timed_packet
    {
        std::array<unsigned char, mpegcore::ts_packet_size> bytes{};
        std::chrono::nanoseconds due{0}; ///< from the beginning of the stream; never goes back
    };

    packet_source() = default;
    virtual ~packet_source() = default;
    packet_source(const packet_source&) = delete;
    packet_source& operator=(const packet_source&) = delete;

    /// False when there are no more.
    [[nodiscard]] virtual bool next(timed_packet& packet) = 0;
};
} // namespace monitor
