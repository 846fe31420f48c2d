// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/TransportPacket.h"

#include <chrono>
#include <cstdint>

namespace mpegcore
{
/// How long `packets` transport packets take at `bitrate` bits per second (1 to 10^10), rounded down to nanoseconds and
/// without an error that adds up.
inline std::chrono::nanoseconds packets_time(std::uint64_t packets, std::uint64_t bitrate)
{
    const std::uint64_t bits = packets * ts_packet_size * 8;
    const std::chrono::seconds whole(bits / bitrate);
    // Below 10^10 bits of rest the product stays within 64 bits.
    const std::chrono::nanoseconds part(bits % bitrate * 1'000'000'000 / bitrate);
    return whole + part;
}
} // namespace mpegcore
