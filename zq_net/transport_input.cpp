// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/transport_input.h"

#include "zq_net/nanoseconds.h"

#include <algorithm>
#include <utility>

namespace zq_net
{
namespace
{
/// How long a leg of a group is silent before it is looked whether its interface is still the same.
constexpr std::uint64_t follow_silence = second;

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
    m_place.leave();
    m_settings = settings;
    if (!settings.waits)
        m_settings.batch_time = 0;
    const std::size_t count = settings.legs.size();
    m_kind = datagram_kind{count > 1 ? rtp_mode::on : settings.rtp};
    m_merger = rtp_merger{count, limits_for(count)};
    m_burst = burst_size{most_slots / count};
    m_has_more = false;
    m_pieces = settings.joins ? piece_list{} : piece_list{0};
    m_aligner = {};
    m_continuity = {};
    m_senders = {};
    m_not_ts = m_interval_start = m_bit_rate = m_begun_from = 0;
    m_sees_rtp = m_flowing = m_rested = m_ran_dry = false;
    {
        const std::lock_guard lock{m_mutex};
        m_legs.clear();
        for (const udp_settings& leg : settings.legs)
            m_legs.emplace_back(leg, most_slots).idle = m_fresh_from == reorder_window::never;
        m_figures = {};
    }
    if (!open_sockets())
        return false;
    m_pacing = read_pacing::for_buffer(m_legs.front().figures.buffer_got);
    if (m_settings.waits && m_settings.batch_time == 0)
        m_place.join();
    m_in_a_crowd = crowd::is_there();
    return true;
}

bool transport_input::open_sockets()
{
    const std::lock_guard lock{m_mutex};
    for (input_leg& leg : m_legs) {
        if (!leg.open(m_error))
            return false;
        leg.socket.limit_wait(wait_limit(leg));
        leg.read_up_to = real_time();
        leg.quiet_since = steady_time();
    }
    m_shut = false;
    return true;
}

void transport_input::close()
{
    m_place.leave();
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
    m_waiting.end();
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
    m_notes.clear();
    m_delivered = m_looked_at = m_looked_at_bytes = m_read = 0;
    bool rested = std::exchange(m_rested, false);
    if (m_interrupted)
        return result::interrupted;
    if (m_shut) {
        if (!open_sockets())
            return result::failed;
        if (m_interrupted) {
            // What interrupted it knew the sockets before these.
            m_shut = true;
            return result::interrupted;
        }
        begin_anew();
        rested = false;
    }
    const auto read = wait_and_read(memory, slots, slot_size, rested);
    for (input_leg& leg : m_legs)
        leg.reader.release();
    if (m_interrupted)
        return result::interrupted;
    const std::uint64_t now = m_read > 0 ? m_last_arrival : real_time();
    std::uint64_t read_up_to = now;
    for (const input_leg& leg : m_legs)
        read_up_to = std::min(read_up_to, leg.read_up_to);
    m_merger.advance(read_up_to, m_ordered);
    deliver();
    look_at_packets();
    follow_interfaces();
    publish(now);
    // From the next rest on, so that batch_wait() can be looked at before.
    m_in_a_crowd = crowd::is_there();
    if (read == result::failed)
        return read;
    return m_pieces.empty() ? result::nothing : result::data;
}

void transport_input::set_idle(bool idle)
{
    const std::lock_guard lock{m_mutex};
    for (input_leg& leg : m_legs) {
        leg.note_drops();
        leg.idle = idle;
    }
    m_fresh_from = idle ? reorder_window::never : real_time();
}

/// What follows continues nothing that was.
void transport_input::begin_anew()
{
    m_merger.forget();
    m_continuity.forget();
    m_anew = true;
    m_flowing = false;
}

/// From now on what comes on `leg` is taken.
void transport_input::take_from(input_leg& leg, std::uint64_t fresh_from)
{
    leg.fresh_from = fresh_from;
    if (std::exchange(m_begun_from, fresh_from) != fresh_from)
        begin_anew();
}

bool transport_input::is_stale(input_leg& leg, std::uint64_t arrival)
{
    const std::uint64_t fresh_from = m_fresh_from;
    if (leg.fresh_from == fresh_from)
        return false;
    if (arrival < fresh_from)
        return true;
    take_from(leg, fresh_from);
    return false;
}

void transport_input::take(std::size_t leg, const datagram_reader::datagram& datagram)
{
    m_last_arrival = datagram.arrival;
    const bool gap = std::exchange(m_legs[leg].dropped_before, datagram.dropped_before) != datagram.dropped_before;
    if (is_stale(m_legs[leg], datagram.arrival))
        return;
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
        note(datagram.arrival, packet->payload_size);
        m_merger.put(leg, *packet, datagram.arrival, m_ordered);
    } else if (m_kind.demands_rtp()) {
        ++m_not_ts;
    } else {
        // Behind what was kept of RTP before, should there have been any.
        deliver();
        note(datagram.arrival, datagram.size);
        take_bytes({datagram.data, datagram.size, datagram.arrival, gap});
    }
}

void transport_input::note(std::uint64_t arrival, std::size_t payload_size)
{
    if (m_settings.notes)
        m_notes.push_back({arrival, payload_size});
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
    m_anew = m_anew || bytes.gap;
    if (bytes.size > 0)
        bytes.gap = std::exchange(m_anew, false);
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

void transport_input::follow_interfaces()
{
    for (input_leg& leg : m_legs) {
        if (!leg.socket.depends_on_interface())
            continue;
        const bool heard = std::exchange(leg.heard, false);
        const std::uint64_t now = steady_time();
        if (!heard && now < leg.quiet_since + follow_silence)
            continue;
        leg.quiet_since = now;
        if (heard)
            continue;
        // The kernel may take long to look, to join and to leave: nobody is to wait for that.
        udp_socket other;
        if (!leg.has_moved(other))
            continue;
        {
            const std::lock_guard lock{m_mutex};
            leg.move_to(other);
        }
        m_pacing = read_pacing::for_buffer(m_legs.front().figures.buffer_got);
        // Something is missing in between, which RTP tells better where another leg goes on.
        m_anew = m_anew || m_legs.size() == 1;
    }
}

std::string transport_input::follow_error() const
{
    for (const input_leg& leg : m_legs)
        if (auto error = leg.follow_error(); !error.empty())
            return error;
    return {};
}
} // namespace zq_net
