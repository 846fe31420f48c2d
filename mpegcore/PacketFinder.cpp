// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/PacketFinder.h"

#include <array>

namespace mpegcore
{
namespace
{
constexpr std::array<std::size_t, 3> distances{188, 192, 204};
} // namespace

std::size_t PacketFinder::find(const unsigned char* bytes, std::size_t size, std::size_t at, bool at_end)
{
    m_distance = 0;
    for (; at < size; ++at) {
        if (bytes[at] != ts_sync_byte)
            continue;
        for (const auto distance : distances)
            if (has_sync_bytes(bytes, size, at, distance, at_end)) {
                m_distance = distance;
                return at;
            }
        // Too few bytes to tell.
        if (!at_end && size - at < window)
            return at;
    }
    return at;
}

bool PacketFinder::has_sync_bytes(const unsigned char* bytes, std::size_t size, std::size_t at, std::size_t distance,
                                  bool at_end)
{
    if (at_end && size - at == ts_packet_size)
        return true;
    std::size_t count = 0;
    // At the end a packet that is cut off proves nothing.
    const std::size_t needed = at_end ? ts_packet_size : 1;
    for (; count < proof && at + needed <= size; at += distance, ++count)
        if (bytes[at] != ts_sync_byte)
            return false;
    return count == proof || (at_end && count > 1);
}
} // namespace mpegcore
