// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "zq_net/piece.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace zq_net
{
inline constexpr std::size_t ts_packet_size = 188;
inline constexpr unsigned char ts_sync_byte = 0x47;

/// True when a sync byte stands at `first` and every 188 bytes from there on. With nothing there: true.
[[nodiscard]] bool has_sync_from(const unsigned char* data, std::size_t size, std::size_t first = 0);

/// Finds the packets of a transport stream in a sequence of datagrams, which may be cut anywhere. What goes out is
/// whole packets of 188 bytes that begin with the sync byte.
class ts_aligner
{
public:
    enum class verdict
    {
        taken,
        not_ts, ///< no packet begins in it: dropped; a packet begun before still awaits its end
    };

    /// Bytes pass uncopied, but for packets that lie in two datagrams.
    verdict put(const piece& bytes, piece_list& out);

    /// Bytes that a packet begun still lacks; 0 when none is begun.
    [[nodiscard]] std::size_t awaited() const { return m_begun_size > 0 ? ts_packet_size - m_begun_size : 0; }
    /// Bytes dropped between packets, and of packets whose end never came.
    [[nodiscard]] std::uint64_t dropped_bytes() const { return m_dropped_bytes; }

private:
    void drop_begun();
    void finish_begun(const piece& bytes, std::size_t missing, piece_list& out);

    std::array<unsigned char, ts_packet_size> m_begun{};
    std::size_t m_begun_size = 0;
    std::uint64_t m_begun_arrival = 0;
    bool m_gap = false;
    std::size_t m_passed_over = 0; // in front of the packets of the datagram in which they were looked for last
    std::uint64_t m_dropped_bytes = 0;
};
} // namespace zq_net
