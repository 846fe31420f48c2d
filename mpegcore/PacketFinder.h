// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/TransportPacket.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace mpegcore
{
/// Finds the 188-byte transport packets in bytes that come in any pieces: as they are, behind a 4-byte time code (192
/// bytes, as recorders write them), or in front of 16 bytes of error protection (204). The distance is found by the
/// sync bytes, at the beginning and again where one is missing.
///
/// Memory: at most a kilobyte beside the caller's bytes.
class PacketFinder
{
public:
    /// Calls `sink(const unsigned char* packet)` for each packet that is whole.
    template <class Sink>
    void put(const unsigned char* bytes, std::size_t size, Sink&& sink)
    {
        std::size_t used = 0;
        // What was left over goes on with the first bytes of these.
        while (!m_rest.empty() && used < size) {
            const std::size_t part = std::min(size - used, window - std::min(window - 1, m_rest.size()));
            m_rest.insert(m_rest.end(), bytes + used, bytes + used + part);
            used += part;
            const std::size_t before = m_rest.size() - part;
            const std::size_t taken = take(m_rest.data(), m_rest.size(), false, sink);
            if (taken >= before) {
                // Nothing of the old rest is needed any more: on with the caller's bytes where they lie.
                used -= m_rest.size() - taken;
                m_rest.clear();
            } else {
                m_rest.erase(m_rest.begin(), m_rest.begin() + static_cast<std::ptrdiff_t>(taken));
            }
        }
        const std::size_t taken = used + take(bytes + used, size - used, false, sink);
        m_rest.insert(m_rest.end(), bytes + taken, bytes + size);
    }

    /// No more bytes will come: looks at what is left with fewer sync bytes for proof.
    template <class Sink>
    void finish(Sink&& sink)
    {
        const std::size_t taken = take(m_rest.data(), m_rest.size(), true, sink);
        m_skipped += m_rest.size() - taken;
        m_rest.clear();
    }

    /// From one packet to the next: 188, 192 or 204; 0 while there is none.
    [[nodiscard]] std::size_t packet_distance() const { return m_distance; }
    /// Bytes up to where the next packet should begin; 0 where one should, or while no distance is known.
    [[nodiscard]] std::size_t awaited() const
    {
        return m_distance == 0 ? 0 : m_rest.empty() ? m_gap : m_distance - m_rest.size();
    }
    /// Bytes that belong to no packet.
    [[nodiscard]] std::uint64_t skipped_bytes() const { return m_skipped; }

private:
    static constexpr std::size_t longest_distance = 204;
    static constexpr std::size_t proof = 5; ///< sync bytes in a row
    static constexpr std::size_t window = (proof - 1) * longest_distance + ts_packet_size;

    /// The first place from `at` on where packets lie, and sets the distance. Without one m_distance is 0, and the
    /// place is the first that more bytes could make one.
    std::size_t find(const unsigned char* bytes, std::size_t size, std::size_t at, bool at_end);
    [[nodiscard]] static bool has_sync_bytes(const unsigned char* bytes, std::size_t size, std::size_t at,
                                             std::size_t distance, bool at_end);

    /// Returns how many bytes need not be kept.
    template <class Sink>
    std::size_t take(const unsigned char* bytes, std::size_t size, bool at_end, Sink& sink)
    {
        std::size_t at = 0;
        while (true) {
            if (m_distance == 0) {
                const std::size_t found = find(bytes, size, at, at_end);
                m_skipped += found - at;
                at = found;
                if (m_distance == 0)
                    return at;
                m_gap = 0;
            }
            // The time code or the error protection of the packet before.
            const std::size_t gap = std::min(m_gap, size - at);
            at += gap;
            m_gap -= gap;
            if (m_gap > 0 || size - at < ts_packet_size)
                return at;
            if (bytes[at] != ts_sync_byte) {
                m_distance = 0;
                continue;
            }
            sink(bytes + at);
            at += ts_packet_size;
            m_gap = m_distance - ts_packet_size;
        }
    }

    std::vector<unsigned char> m_rest;
    std::size_t m_distance = 0;
    std::size_t m_gap = 0; ///< bytes up to where the next packet should begin
    std::uint64_t m_skipped = 0;
};
} // namespace mpegcore
