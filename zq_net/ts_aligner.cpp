// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/ts_aligner.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

namespace zq_net
{
namespace
{
/// Where the packets of a datagram begin. One sync byte is proof at its very beginning only, two are anywhere.
std::optional<std::size_t> find_packets(const unsigned char* data, std::size_t size)
{
    if (size > 0 && has_sync_from(data, size))
        return 0;
    for (std::size_t first = 1; first < ts_packet_size && first + ts_packet_size < size; ++first)
        if (data[first] == ts_sync_byte && has_sync_from(data, size, first))
            return first;
    return std::nullopt;
}
} // namespace

bool has_sync_from(const unsigned char* data, std::size_t size, std::size_t first)
{
    for (std::size_t place = first; place < size; place += ts_packet_size)
        if (data[place] != ts_sync_byte)
            return false;
    return true;
}

ts_aligner::verdict ts_aligner::put(const piece& bytes, piece_list& out)
{
    m_gap = m_gap || bytes.gap;
    if (bytes.gap)
        drop_begun();
    if (bytes.size == 0)
        return verdict::not_ts;
    std::size_t first = 0;
    const std::size_t missing = awaited();
    if (missing > 0 && has_sync_from(bytes.data, bytes.size, missing)) {
        finish_begun(bytes, std::min(missing, bytes.size), out);
        first = std::min(missing, bytes.size);
    } else {
        const auto found = find_packets(bytes.data, bytes.size);
        if (!found)
            return verdict::not_ts;
        drop_begun();
        first = *found;
        m_dropped_bytes += first;
        // The same in front of every datagram is a header that stands for nothing of the stream.
        m_gap = m_gap || (first > 0 && first != m_passed_over);
        m_passed_over = first;
    }
    const std::size_t whole = (bytes.size - first) / ts_packet_size * ts_packet_size;
    out.add({bytes.data + first, whole, bytes.arrival, whole > 0 && std::exchange(m_gap, false)});
    if (const std::size_t rest = bytes.size - first - whole; rest > 0) {
        std::memcpy(m_begun.data(), bytes.data + first + whole, rest);
        m_begun_size = rest;
        m_begun_arrival = bytes.arrival;
    }
    return verdict::taken;
}

void ts_aligner::finish_begun(const piece& bytes, std::size_t missing, piece_list& out)
{
    std::memcpy(m_begun.data() + m_begun_size, bytes.data, missing);
    m_begun_size += missing;
    if (m_begun_size < ts_packet_size)
        return;
    out.add_copy({m_begun.data(), ts_packet_size, m_begun_arrival, std::exchange(m_gap, false)});
    m_begun_size = 0;
}

void ts_aligner::drop_begun()
{
    m_dropped_bytes += m_begun_size;
    // What was announced as a gap is still in front of what comes; what is dropped here is one more.
    m_gap = m_gap || m_begun_size > 0;
    m_begun_size = 0;
}
} // namespace zq_net
