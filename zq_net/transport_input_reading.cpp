// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/nanoseconds.h"
#include "zq_net/transport_input.h"

#include <poll.h>
#include <time.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

namespace zq_net
{
namespace
{
/// How often a silent leg wakes up to look whether its interface is still the same.
constexpr unsigned follow_interval_ms = 500;

/// What others on the way report to a socket (ICMP), and want of memory: the next datagram may come all the same.
bool passes_by_itself(int error)
{
    for (const int known : {ECONNREFUSED, EHOSTUNREACH, ENETUNREACH, ENETDOWN, EHOSTDOWN, ENOPROTOOPT, EPROTO, EACCES,
                            EPERM, EMSGSIZE, ENOMEM, ENOBUFS})
        if (error == known)
            return true;
    return false;
}

/// When the clock comes to the next multiple of `interval` nanoseconds, so that the sources of a process wake up
/// together, which costs less.
std::uint64_t next_tick(std::uint64_t interval) { return (steady_time() / interval + 1) * interval; }
} // namespace

/// How long to wait on a leg at most, in milliseconds, 0 for ever: a silent one whose interface may become another
/// wants to be looked after now and then.
unsigned transport_input::wait_limit(const input_leg& leg) const
{
    const unsigned longest_wait = m_settings.longest_wait;
    if (!leg.socket.depends_on_interface())
        return longest_wait;
    if (longest_wait == 0)
        return follow_interval_ms;
    // Even parts of the longest wait, so that its end is met.
    return longest_wait / (longest_wait / follow_interval_ms + 1) + 1;
}

transport_input::result transport_input::wait_and_read(unsigned char* memory, std::size_t slots, std::size_t slot_size,
                                                       bool rested)
{
    if (!rested && is_worth_a_rest() && !let_gather())
        return result::interrupted;
    const std::uint64_t before = m_settings.batch_time > 0 ? real_time() : 0;
    const bool waits = m_settings.waits && !rested;
    const bool blocks = waits && m_legs.size() == 1 && m_merger.deadline() == reorder_window::never;
    // What came just when the wait ended is read all the same, so that nothing counts as lost that lies there unread.
    if (waits && !blocks)
        wait_for_any();
    const std::size_t share = slots / m_legs.size();
    std::size_t longest = 0; // burst of a leg
    const auto read_all = [&](bool wait) {
        for (std::size_t leg = 0; leg < m_legs.size(); ++leg) {
            const std::size_t used = m_legs.size() == 1 ? m_read : 0;
            const int count = read_leg(leg, memory + leg * share * slot_size, used, share, slot_size, wait);
            if (count < 0)
                return false;
            longest = std::max(longest, used + static_cast<std::size_t>(count));
        }
        return true;
    };
    bool good = read_all(blocks);
    // One that ended a silence has others behind it for which it waits.
    if (good && m_settings.batch_time > 0 && m_legs.size() == 1 && m_read > 0 && m_read < share &&
        m_legs[0].reader[0].arrival > before)
        good = wait_for_more() && read_all(false);
    // That little room was full where it waited for long tells nothing of bursts.
    if (longest < share || share >= m_burst.next())
        m_burst.note(std::max(share, m_burst.next()), longest);
    m_pacing.note(m_read, m_last_arrival);
    m_has_more = longest == share;
    m_ran_dry = m_read == 0 && (rested || m_ran_dry);
    m_flowing = m_settings.batch_time > 0 && m_read > 1 && m_read < slots;
    return good ? result::data : result::failed;
}

void transport_input::rest() { m_rested = !m_interrupted && !m_shut && is_worth_a_rest() && let_gather(); }

bool transport_input::is_worth_a_rest() const
{
    if (m_settings.batch_time > 0)
        return m_flowing;
    return m_settings.waits && !m_has_more && !m_ran_dry && m_pacing.rest(how_patient()) > 0;
}

/// False when interrupted.
bool transport_input::let_gather()
{
    if (m_flowing)
        return wait_for_more();
    const std::uint64_t rest = m_pacing.rest(how_patient());
    if (rest > ms)
        return wait_until(next_tick(rest));
    const timespec time{0, static_cast<long>(rest)};
    ::clock_nanosleep(CLOCK_MONOTONIC, 0, &time, nullptr);
    return true;
}

/// Waits until one of the sockets has something or a packet has waited long enough for those before it.
void transport_input::wait_for_any()
{
    std::array<pollfd, 2> waited{};
    int longest = -1;
    for (std::size_t leg = 0; leg < m_legs.size(); ++leg) {
        waited[leg] = {m_legs[leg].socket.descriptor(), POLLIN, 0};
        if (const auto limit = static_cast<int>(wait_limit(m_legs[leg])); limit > 0)
            longest = longest < 0 ? limit : std::min(longest, limit);
    }
    if (const std::uint64_t deadline = m_merger.deadline(); deadline != reorder_window::never) {
        const std::uint64_t now = real_time();
        // Never longer than the window itself, should the clock be set back.
        const std::uint64_t left = deadline > now ? std::min(deadline - now, reorder_wait_two_legs) : 0;
        const int rounded_up = static_cast<int>((left + ms - 1) / ms);
        longest = longest < 0 ? rounded_up : std::min(longest, rounded_up);
    }
    ::poll(waited.data(), m_legs.size(), longest);
}

/// Waits behind a datagram for more; in a flow to the next tick. False when interrupted.
bool transport_input::wait_for_more()
{
    const std::uint64_t batch_time = m_settings.batch_time * ms;
    return wait_until(m_flowing ? next_tick(batch_time) : steady_time() + batch_time);
}

/// False when interrupted.
bool transport_input::wait_until(std::uint64_t until)
{
    while (!m_interrupted)
        if (!m_waiting.until(until))
            return !m_interrupted;
    return false;
}

/// Into what is left of `slots` behind the `used` ones.
int transport_input::read_leg(std::size_t leg, unsigned char* memory, std::size_t used, std::size_t slots,
                              std::size_t slot_size, bool wait)
{
    input_leg& from = m_legs[leg];
    const std::uint64_t fresh_from = m_fresh_from;
    const std::uint64_t before = wait ? 0 : real_time();
    int count =
        from.reader.read(from.socket.descriptor(), memory + used * slot_size, slot_size, slots - used, wait, used);
    if (count < 0 && passes_by_itself(errno))
        count = 0;
    if (count < 0) {
        m_error = "cannot receive on " + from.socket.address().text() + ": " + std::strerror(errno);
        return count;
    }
    m_read += static_cast<std::size_t>(count);
    from.heard = from.heard || count > 0;
    for (int i = 0; i < count; ++i)
        take(leg, from.reader[static_cast<std::size_t>(i)]);
    if (used + static_cast<std::size_t>(count) < slots) {
        // All that was there has been read.
        from.read_up_to = wait ? from.figures.last_arrival : before;
        if (fresh_from != reorder_window::never && from.fresh_from != fresh_from)
            take_from(from, fresh_from);
    } else {
        // What is behind the last may be there. The kernel stamps some of the first datagrams only when they are read:
        // of those the stamp says nothing.
        if (from.figures.last_arrival < before)
            from.read_up_to = std::max(from.read_up_to, from.figures.last_arrival);
    }
    return count;
}
} // namespace zq_net
