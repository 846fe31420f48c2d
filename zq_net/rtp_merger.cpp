// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/rtp_merger.h"

#include "zq_net/nanoseconds.h"

#include <algorithm>
#include <utility>

namespace zq_net
{
namespace
{
/// Far enough from 0 that numbers before the first packet have room.
constexpr std::uint64_t first_number = std::uint64_t{1} << 32;

/// A larger step forward is no loss but a new count.
constexpr std::uint64_t longest_dropout = 3000;

/// A time so much before one that was told means that the clock was set back.
constexpr std::uint64_t set_back = second;

bool within(std::uint64_t later, std::uint64_t earlier, std::uint64_t span)
{
    return later < earlier || later - earlier < span;
}
} // namespace

rtp_merger::rtp_merger(std::size_t legs, const reorder_window::limits& limits)
    : m_window{limits}, m_history{limits.history}, m_legs(legs)
{}

void rtp_merger::advance(std::uint64_t now, piece_list& out)
{
    // What is kept, and who was heard last, goes by the former time, to which the clock may take long to come again.
    if (std::exchange(m_advanced_to, now) > now + set_back) {
        m_window.flush(out);
        m_last_arrival = std::min(m_last_arrival, now);
        for (leg_state& leg : m_legs) {
            leg.last_arrival = std::min(leg.last_arrival, now);
            leg.last_counted = std::min(leg.last_counted, now);
        }
    }
    m_window.expire(now, out);
}

void rtp_merger::put(std::size_t leg, const rtp_packet& packet, std::uint64_t arrival, piece_list& out)
{
    leg_state& from = m_legs[leg];
    if (!is_of_the_stream(from, packet, arrival, out)) {
        ++from.counters.foreign;
        return;
    }
    from.last_arrival = arrival;
    const piece payload{packet.payload, packet.payload_size, arrival};
    const std::uint16_t highest = from.tracker.highest();
    const auto step = from.tracker.see(packet.sequence_number);
    from.counters.lost = from.lost_before + from.tracker.lost();
    if (step != sequence_tracker::step::restarted && !from.suspect.empty()) {
        ++from.counters.foreign;
        from.suspect.clear();
    }
    switch (step) {
    case sequence_tracker::step::strange:
        // Kept until the next packet tells whether it is the first of a new count.
        from.suspect.assign(payload.data, payload.data + payload.size);
        from.suspect_arrival = arrival;
        return;
    case sequence_tracker::step::restarted:
        // One that was away for long may come back with a number that only seems lower.
        from.aside = static_cast<std::int16_t>(packet.sequence_number - highest) < 0 &&
                     within(arrival, from.last_counted, silence);
        from.last_counted = arrival;
        return restart(from, packet, arrival, out);
    case sequence_tracker::step::repeated:
        from.last_counted = arrival;
        ++from.counters.received;
        ++from.counters.repeated;
        return;
    case sequence_tracker::step::behind:
        ++from.counters.reordered;
        break;
    case sequence_tracker::step::next:
    case sequence_tracker::step::ahead:
        break;
    }
    ++from.counters.received;
    from.last_counted = arrival;
    const bool fitting = fits(packet.sequence_number);
    from.aside = from.aside && !(fitting && is_due(packet.sequence_number));
    from.carries = fitting && !from.aside;
    if (from.carries)
        pass(from, packet.sequence_number, payload, out);
    else if (!carried_elsewhere(from, arrival))
        restart(from, packet, arrival, out);
    else
        ++from.counters.foreign;
}

void rtp_merger::forget()
{
    for (leg_state& leg : m_legs) {
        forget_count(leg);
        leg.suspect.clear();
        leg.carries = false;
    }
    m_window.begin(m_window.next());
    m_started = m_has_former = false;
    m_anew = true;
}

void rtp_merger::forget_count(leg_state& leg)
{
    leg.lost_before += leg.tracker.lost();
    leg.tracker = {};
    leg.aside = false;
}

bool rtp_merger::is_of_the_stream(leg_state& from, const rtp_packet& packet, std::uint64_t arrival, piece_list& out)
{
    if (m_started && packet.SSRC == m_SSRC) {
        if (from.SSRC != packet.SSRC) {
            forget_count(from);
            from.SSRC = packet.SSRC;
        }
        m_last_arrival = arrival;
        return true;
    }
    if (m_started) {
        if (packet.payload_size == 0)
            return false;
        const bool former = m_has_former && packet.SSRC == m_former_SSRC;
        if ((former && within(arrival, m_last_arrival, silence)) || carried_elsewhere(from, arrival)) {
            from.carries = from.carries && former;
            return false;
        }
        m_has_former = true;
        m_former_SSRC = m_SSRC;
        ++m_sender_changes;
        m_anew = true;
    }
    m_SSRC = packet.SSRC;
    for (leg_state& leg : m_legs)
        leg.carries = false;
    forget_count(from);
    from.SSRC = packet.SSRC;
    m_last_arrival = arrival;
    begin(from, packet, out);
    return true;
}

bool rtp_merger::carried_elsewhere(const leg_state& but, std::uint64_t arrival) const
{
    for (const leg_state& leg : m_legs)
        if (&leg != &but && leg.carries && within(arrival, leg.last_arrival, silence))
            return true;
    return false;
}

void rtp_merger::begin(leg_state& from, const rtp_packet& packet, piece_list& out)
{
    m_window.flush(out);
    m_window.begin(extend_sequence(first_number, packet.sequence_number));
    m_started = true;
    for (leg_state& leg : m_legs)
        leg.aside = false;
    from.carries = true;
}

/// The numbers of `from` went elsewhere: the stream follows, unless the other leg still carries it.
void rtp_merger::restart(leg_state& from, const rtp_packet& packet, std::uint64_t arrival, piece_list& out)
{
    const auto suspect = std::exchange(from.suspect, {});
    const auto first = static_cast<std::uint16_t>(packet.sequence_number - (suspect.empty() ? 0 : 1));
    from.counters.received += suspect.empty() ? 0 : 2;
    if (!fits(first) || from.aside) {
        if (carried_elsewhere(from, arrival)) {
            from.carries = false;
            from.counters.foreign += suspect.empty() ? 1 : 2;
            return;
        }
        rtp_packet start = packet;
        start.sequence_number = first;
        ++m_sender_changes;
        m_anew = true;
        begin(from, start, out);
    }
    from.carries = true;
    if (!suspect.empty()) {
        piece_list held;
        pass(from, first, {suspect.data(), suspect.size(), from.suspect_arrival}, held);
        for (const piece& kept : held)
            out.add_copy(kept);
    }
    pass(from, packet.sequence_number, {packet.payload, packet.payload_size, arrival}, out);
}

bool rtp_merger::fits(std::uint16_t sequence_number) const
{
    const std::uint64_t number = extend_sequence(m_window.next(), sequence_number);
    return is_due(sequence_number) ? number - m_window.next() <= longest_dropout
                                   : m_window.next() - number <= m_history;
}

bool rtp_merger::is_due(std::uint16_t sequence_number) const
{
    return extend_sequence(m_window.next(), sequence_number) >= m_window.next();
}

void rtp_merger::pass(leg_state& from, std::uint16_t sequence_number, const piece& payload, piece_list& out)
{
    piece marked = payload;
    marked.gap = marked.anew = m_anew;
    const auto verdict = m_window.put(extend_sequence(m_window.next(), sequence_number), marked, out);
    if (verdict == reorder_window::verdict::passed && payload.size > 0)
        m_anew = false;
    if (verdict == reorder_window::verdict::duplicate)
        ++from.counters.second;
    if (verdict == reorder_window::verdict::late)
        ++m_late;
}
} // namespace zq_net
