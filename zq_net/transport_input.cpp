// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/transport_input.h"

#include "zq_net/nanoseconds.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <utility>

namespace zq_net
{
namespace
{
/// How often a leg of a group looks whether its interface is still the same, and how long it is silent before.
constexpr unsigned follow_interval_ms = 500;
constexpr std::uint64_t follow_silence = second;

/// How long to wait on a leg at most, 0 for ever: a silent group wants to be looked after now and then.
unsigned wait_limit_ms(const input_leg& leg, unsigned longest_wait)
{
    if (!leg.socket.is_multicast())
        return longest_wait;
    if (longest_wait == 0)
        return follow_interval_ms;
    // Even parts of the longest wait, so that its end is met.
    return longest_wait / (longest_wait / follow_interval_ms + 1) + 1;
}

/// Longer datagrams are copied once, so that a few of them do not make all buffers large.
constexpr std::size_t longest_slot = 2048;

reorder_window::limits limits_for(std::size_t legs)
{
    reorder_window::limits limits;
    if (legs == 1) {
        limits.packets = 64;
        limits.wait = transport_input::reorder_wait_one_leg;
        limits.history = 1024;
    } else {
        limits.packets = 4096;
        limits.wait = transport_input::reorder_wait_two_legs;
        limits.bytes = std::size_t{16} << 20;
        limits.history = 16384;
    }
    return limits;
}
} // namespace

bool transport_input::open(const input_settings& settings)
{
    m_settings = settings;
    const std::size_t count = settings.legs.size();
    m_kind = datagram_kind{count > 1 ? rtp_mode::on : settings.rtp};
    m_merger = rtp_merger{count, limits_for(count)};
    m_aligner = {};
    m_continuity = {};
    m_senders = {};
    m_not_ts = m_interval_start = m_bit_rate = 0;
    m_sees_rtp = false;
    {
        const std::lock_guard lock{m_mutex};
        m_legs.clear();
        for (const udp_settings& leg : settings.legs)
            m_legs.emplace_back(leg, most_slots);
        m_figures = {};
    }
    return open_sockets();
}

bool transport_input::open_sockets()
{
    const std::lock_guard lock{m_mutex};
    for (input_leg& leg : m_legs) {
        if (!leg.open(m_error))
            return false;
        leg.socket.limit_wait(wait_limit_ms(leg, m_settings.longest_wait));
        leg.last_follow = leg.read_up_to = real_time();
    }
    m_shut = false;
    return true;
}

void transport_input::close()
{
    const std::lock_guard lock{m_mutex};
    for (input_leg& leg : m_legs) {
        leg.close();
        m_figures.legs[static_cast<std::size_t>(&leg - m_legs.data())].kernel_drops = leg.figures.kernel_drops;
    }
}

void transport_input::interrupt()
{
    const std::lock_guard lock{m_mutex};
    m_interrupted = true;
    m_shut = true;
    for (const input_leg& leg : m_legs)
        if (leg.socket.is_open())
            leg.socket.interrupt();
    m_interrupt_changed.notify_all();
}

void transport_input::resume() { m_interrupted = false; }

std::uint64_t transport_input::reorder_wait() const
{
    return m_settings.legs.size() > 1 ? reorder_wait_two_legs : m_sees_rtp ? reorder_wait_one_leg : 0;
}

transport_input::result transport_input::receive(unsigned char* memory, std::size_t slots, std::size_t slot_size)
{
    m_pieces.clear();
    m_ordered.clear();
    m_delivered = m_looked_at = m_looked_at_bytes = 0;
    if (m_interrupted)
        return result::interrupted;
    if (m_shut) {
        if (!open_sockets())
            return result::failed;
        m_merger.forget();
        m_continuity.forget();
        m_anew = true;
    }
    const auto read = wait_and_read(memory, slots, slot_size);
    if (m_interrupted)
        return result::interrupted;
    const std::uint64_t now = real_time();
    std::uint64_t read_up_to = now;
    for (const input_leg& leg : m_legs)
        read_up_to = std::min(read_up_to, leg.read_up_to);
    m_merger.advance(read_up_to, m_ordered);
    deliver();
    look_at_packets();
    adapt_slots(slots);
    follow_interfaces(now);
    publish(now);
    if (read == result::failed)
        return read;
    return m_pieces.empty() ? result::nothing : result::data;
}

transport_input::result transport_input::wait_and_read(unsigned char* memory, std::size_t slots, std::size_t slot_size)
{
    m_read = 0;
    if (m_flowing && !wait_for_more())
        return result::interrupted;
    const std::uint64_t before = m_settings.batch_time > 0 ? real_time() : 0;
    const bool blocks = m_legs.size() == 1 && m_merger.deadline() == reorder_window::never;
    if (!blocks && !wait_for_any())
        return result::nothing;
    const std::size_t share = slots / m_legs.size();
    const auto read_all = [&](bool wait) {
        for (std::size_t leg = 0; leg < m_legs.size(); ++leg) {
            const std::size_t used = m_legs.size() == 1 ? m_read : 0;
            if (read_leg(leg, memory + (leg * share + used) * slot_size, share - used, slot_size, wait) < 0)
                return false;
        }
        return true;
    };
    bool good = read_all(blocks);
    // One that ended a silence has others behind it for which it waits.
    if (good && m_settings.batch_time > 0 && m_legs.size() == 1 && m_read > 0 && m_read < share &&
        m_legs[0].figures.last_arrival > before)
        good = wait_for_more() && read_all(false);
    m_flowing = m_settings.batch_time > 0 && m_read > 1 && m_read < slots;
    return good ? result::data : result::failed;
}

/// Waits until one of the sockets has something or a packet has waited long enough for those before it.
bool transport_input::wait_for_any()
{
    std::array<pollfd, 2> waited{};
    int longest = -1;
    for (std::size_t leg = 0; leg < m_legs.size(); ++leg) {
        waited[leg] = {m_legs[leg].socket.descriptor(), POLLIN, 0};
        if (const auto limit = static_cast<int>(wait_limit_ms(m_legs[leg], m_settings.longest_wait)); limit > 0)
            longest = longest < 0 ? limit : std::min(longest, limit);
    }
    if (const std::uint64_t deadline = m_merger.deadline(); deadline != reorder_window::never) {
        const std::uint64_t now = real_time();
        // Never longer than the window itself, should the clock be set back.
        const std::uint64_t left = deadline > now ? std::min(deadline - now, reorder_wait_two_legs) : 0;
        const int rounded_up = static_cast<int>((left + ms - 1) / ms);
        longest = longest < 0 ? rounded_up : std::min(longest, rounded_up);
    }
    if (::poll(waited.data(), m_legs.size(), longest) > 0)
        return true;
    const std::uint64_t now = real_time();
    for (input_leg& leg : m_legs)
        leg.read_up_to = now;
    return false;
}

/// False when interrupted.
bool transport_input::wait_for_more()
{
    std::unique_lock lock{m_mutex};
    return !m_interrupt_changed.wait_for(lock, std::chrono::milliseconds{m_settings.batch_time},
                                         [this] { return m_interrupted.load(); });
}

int transport_input::read_leg(std::size_t leg, unsigned char* memory, std::size_t slots, std::size_t slot_size,
                              bool wait)
{
    input_leg& from = m_legs[leg];
    std::uint64_t read_up_to = wait ? 0 : real_time();
    const int count = from.reader.read(from.socket.descriptor(), memory, slot_size, slots, wait);
    if (count < 0) {
        m_error = "cannot receive on " + from.socket.address().text() + ": " + std::strerror(errno);
        return count;
    }
    if (count == 0 && read_up_to == 0)
        read_up_to = real_time();
    m_read += static_cast<std::size_t>(count);
    for (int i = 0; i < count; ++i)
        take(leg, from.reader[static_cast<std::size_t>(i)]);
    // With room left all has been read that was there; otherwise what is behind the last may be there.
    const bool all = static_cast<std::size_t>(count) < slots && read_up_to != 0;
    from.read_up_to = all ? read_up_to : from.figures.last_arrival;
    return count;
}

void transport_input::take(std::size_t leg, const datagram_reader::datagram& datagram)
{
    leg_figures& figures = m_legs[leg].figures;
    ++figures.datagrams;
    figures.bytes += datagram.size;
    figures.truncated += datagram.truncated ? 1 : 0;
    figures.last_arrival = datagram.arrival;
    m_interval_bytes += datagram.size;
    m_senders.see(*datagram.sender, datagram.sender_size);
    if (datagram.size >= ts_packet_size && datagram.size <= longest_slot)
        m_slot_size = datagram.size;
    if (const auto packet = m_kind.look(datagram.data, datagram.size, m_aligner.awaited())) {
        m_sees_rtp = true;
        m_merger.put(leg, *packet, datagram.arrival, m_ordered);
    } else if (m_kind.demands_rtp()) {
        ++m_not_ts;
    } else {
        // Behind what was kept of RTP before, should there have been any.
        deliver();
        take_bytes({datagram.data, datagram.size, datagram.arrival});
    }
}

void transport_input::deliver()
{
    for (; m_delivered < m_ordered.size(); ++m_delivered) {
        if (m_ordered[m_delivered].anew) {
            look_at_packets();
            m_continuity.forget();
        }
        take_bytes(m_ordered[m_delivered]);
    }
}

void transport_input::take_bytes(piece bytes)
{
    bytes.gap = std::exchange(m_anew, false) || bytes.gap;
    if (!m_settings.align)
        return m_pieces.add(bytes);
    m_not_ts += m_aligner.put(bytes, m_pieces) == ts_aligner::verdict::not_ts ? 1 : 0;
}

/// Those that were not looked at yet; the last piece may have grown since.
void transport_input::look_at_packets()
{
    if (!m_settings.align)
        return;
    for (; m_looked_at < m_pieces.size(); ++m_looked_at, m_looked_at_bytes = 0) {
        const piece& packets = m_pieces[m_looked_at];
        m_continuity.look_at(packets.data + m_looked_at_bytes, packets.size - m_looked_at_bytes);
        m_looked_at_bytes = packets.size;
        if (m_looked_at + 1 == m_pieces.size())
            return;
    }
}

void transport_input::follow_interfaces(std::uint64_t now)
{
    for (input_leg& leg : m_legs) {
        const std::uint64_t quiet_since = std::max(leg.figures.last_arrival, leg.last_follow);
        if (!leg.socket.is_multicast() || now < quiet_since + follow_silence)
            continue;
        leg.last_follow = now;
        leg.figures.rejoins += leg.socket.follow_interface() ? 1 : 0;
    }
}

/// Twice as many as before when all were needed, half when few were.
void transport_input::adapt_slots(std::size_t slots)
{
    if (m_read >= slots)
        m_slots = std::min(most_slots, 2 * slots);
    else if (m_read > 0 && m_read < slots / 4)
        m_slots = std::max<std::size_t>(2, slots / 2);
}
} // namespace zq_net
