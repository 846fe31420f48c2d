// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "zq_net/piece.h"

#include <cstdint>
#include <limits>
#include <map>
#include <vector>

namespace zq_net
{
/// Puts numbered payloads in order. One that is due passes at once, uncopied; one that comes too early is kept until
/// those before it have come, or until waiting for them ends.
class reorder_window
{
public:
    struct limits
    {
        std::size_t packets = 32;                 ///< so many are kept at most
        std::uint64_t wait = 20'000'000;          ///< so long at most, in nanoseconds
        std::size_t bytes = std::size_t{4} << 20; ///< so much payload at most
        std::size_t history = 1024;               ///< so many numbers back a duplicate is known as one; a power of 2
    };
    enum class verdict
    {
        passed,
        kept,
        duplicate, ///< dropped
        late,      ///< dropped: waiting for it had ended
    };
    static constexpr std::uint64_t never = std::numeric_limits<std::uint64_t>::max();

    explicit reorder_window(const limits& given);

    /// Begins anew with `next` as the number that is due. What is kept is forgotten, so flush() first.
    void begin(std::uint64_t next);
    /// Numbers are at most half of 2^64 apart. What becomes due goes to `out`.
    verdict put(std::uint64_t number, const piece& payload, piece_list& out);
    /// Ends the waiting for what should have come by `now`.
    void expire(std::uint64_t now, piece_list& out);
    /// Ends all waiting.
    void flush(piece_list& out) { expire(never, out); }

    /// When expire() will have something to do, or `never`.
    [[nodiscard]] std::uint64_t deadline() const { return m_kept.empty() ? never : m_waiting_since + m_limits.wait; }
    [[nodiscard]] std::uint64_t next() const { return m_next; }
    /// Numbers that were passed over: counted when waiting for them ends, and never taken back.
    [[nodiscard]] std::uint64_t lost() const { return m_lost; }

private:
    struct kept_payload
    {
        std::vector<unsigned char> bytes;
        std::uint64_t arrival;
    };

    void mark_seen(std::uint64_t number) { m_seen[number & (m_limits.history - 1)] = true; }
    bool was_seen(std::uint64_t number) const { return m_seen[number & (m_limits.history - 1)]; }
    void step_over(std::uint64_t number);
    void release(piece_list& out);
    void skip_gap(piece_list& out);

    limits m_limits;
    std::vector<bool> m_seen;
    std::map<std::uint64_t, kept_payload> m_kept;
    std::size_t m_kept_bytes = 0;
    std::uint64_t m_waiting_since = 0;
    std::uint64_t m_next = 0;
    std::uint64_t m_lost = 0;
    bool m_gap = false; // in front of what passes next
};
} // namespace zq_net
