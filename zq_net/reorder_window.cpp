// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/reorder_window.h"

#include <utility>

namespace zq_net
{
reorder_window::reorder_window(const limits& given) : m_limits{given}, m_seen(given.history, true) {}

void reorder_window::begin(std::uint64_t next)
{
    m_kept.clear();
    m_kept_bytes = 0;
    m_next = next;
    // Nothing before the first is awaited.
    m_seen.assign(m_limits.history, true);
}

/// Moves on behind `number`, which passes now; what its place in the history stood for is forgotten.
void reorder_window::step_over(std::uint64_t number)
{
    mark_seen(number);
    m_next = number + 1;
}

reorder_window::verdict reorder_window::put(std::uint64_t number, const piece& payload, piece_list& out)
{
    if (number == m_next) {
        m_gap = m_gap || payload.gap;
        const bool gap = payload.size > 0 && std::exchange(m_gap, false);
        out.add({payload.data, payload.size, payload.arrival, gap, payload.anew});
        step_over(number);
        if (!m_kept.empty())
            release(out);
        return verdict::passed;
    }
    if (number < m_next) {
        if (m_next - number > m_limits.history || was_seen(number))
            return verdict::duplicate;
        mark_seen(number);
        return verdict::late;
    }
    if (m_kept.empty())
        m_waiting_since = payload.arrival;
    const auto [place, fresh] = m_kept.try_emplace(number);
    if (!fresh)
        return verdict::duplicate;
    place->second.bytes.assign(payload.data, payload.data + payload.size);
    place->second.arrival = payload.arrival;
    m_kept_bytes += payload.size;
    while (m_kept.size() > m_limits.packets || m_kept_bytes > m_limits.bytes)
        skip_gap(out);
    return verdict::kept;
}

void reorder_window::expire(std::uint64_t now, piece_list& out)
{
    while (!m_kept.empty() && now >= deadline())
        skip_gap(out);
}

/// Passes on what is kept up to the next gap.
void reorder_window::release(piece_list& out)
{
    while (!m_kept.empty() && m_kept.begin()->first == m_next) {
        auto first = m_kept.extract(m_kept.begin());
        m_kept_bytes -= first.mapped().bytes.size();
        auto& [bytes, arrival] = first.mapped();
        const bool gap = !bytes.empty() && std::exchange(m_gap, false);
        out.add_owned(std::move(bytes), arrival, gap);
        step_over(m_next);
    }
    if (!m_kept.empty())
        m_waiting_since = m_kept.begin()->second.arrival;
}

void reorder_window::skip_gap(piece_list& out)
{
    const std::uint64_t first = m_kept.begin()->first;
    m_lost += first - m_next;
    // Only the last `history` of a long gap are remembered as missing.
    for (std::uint64_t number = first - m_next > m_limits.history ? first - m_limits.history : m_next; number < first;
         ++number)
        m_seen[number & (m_limits.history - 1)] = false;
    m_next = first;
    m_gap = true;
    release(out);
}
} // namespace zq_net
