// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/sequence_tracker.h"

namespace zq_net
{
void sequence_tracker::begin(std::uint16_t sequence_number)
{
    m_started = true;
    m_suspects = false;
    m_highest = sequence_number;
    // What was there before the first packet is not awaited: seen, so that it does not count as late.
    m_seen.set();
}

sequence_tracker::step sequence_tracker::see(std::uint16_t sequence_number)
{
    if (!m_started) {
        begin(sequence_number);
        ++m_received;
        return step::next;
    }
    const auto forward = static_cast<std::uint16_t>(sequence_number - m_highest);
    const auto backward = static_cast<std::uint16_t>(-forward);
    if (forward != 0 && forward < max_dropout) {
        const unsigned left_out = forward - 1U;
        if (left_out >= remembered)
            m_seen.reset();
        else
            for (unsigned i = 1; i <= left_out; ++i)
                m_seen.reset((m_highest + i) % remembered);
        m_seen.set(sequence_number % remembered);
        m_lost += left_out;
        m_highest = sequence_number;
        m_suspects = false;
        ++m_received;
        return left_out == 0 ? step::next : step::ahead;
    }
    if (backward <= max_misorder) {
        if (m_seen.test(sequence_number % remembered))
            return step::repeated;
        m_seen.set(sequence_number % remembered);
        --m_lost;
        ++m_received;
        return step::behind;
    }
    if (m_suspects && sequence_number == m_after_strange) {
        begin(sequence_number);
        m_received += 2;
        return step::restarted;
    }
    m_suspects = true;
    m_after_strange = static_cast<std::uint16_t>(sequence_number + 1);
    return step::strange;
}
} // namespace zq_net
