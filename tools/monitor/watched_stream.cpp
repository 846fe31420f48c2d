// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/watched_stream.h"

#include "tools/common/udp_address.h"
#include "tools/monitor/shard.h"
#include "zq_net/nanoseconds.h"
#include "zq_net/rtp_packet.h"

#include <algorithm>
#include <utility>

namespace monitor
{
namespace
{
using zq_net::ms;
using zq_net::second;

constexpr std::uint64_t tick_interval = 100 * ms;
/// More at a time would keep the other streams waiting.
constexpr unsigned most_calls = 32;
/// Asking for fewer would need a second call to learn that there are no more.
constexpr std::size_t fewest_slots = 8;

/// Whether the packets lie as they should, but for some that are damaged.
bool is_aligned(const zq_net::piece& bytes)
{
    if (bytes.size % zq_net::ts_packet_size != 0)
        return false;
    std::size_t good = 0;
    for (std::size_t at = 0; at < bytes.size; at += zq_net::ts_packet_size)
        good += bytes.data[at] == zq_net::ts_sync_byte ? 1 : 0;
    return 2 * good >= bytes.size / zq_net::ts_packet_size;
}
/// Bits a second by the first PCRs that still come; 0 without any.
std::uint64_t PCR_rate(const mpegcore::StreamContents& contents, const moment& now)
{
    for (const auto* const PID : contents.PIDs.all())
        if (PID->PCR != nullptr && PID->PCR->bit_rate != 0 && now.clock < PID->PCR->last_arrival + second)
            return PID->PCR->bit_rate;
    return 0;
}
} // namespace

watched_stream::watched_stream(stream_settings settings)
    : m_settings(std::move(settings)), m_monitor(m_settings.limits, &m_notes)
{}

std::shared_ptr<const snapshot> watched_stream::last() const
{
    const std::lock_guard lock{m_mutex};
    return m_last;
}

bool watched_stream::work(const moment& now, std::vector<unsigned char>& memory)
{
    m_notes.set_offset(now.real - now.clock);
    if (!m_is_open && now.clock >= m_next_try)
        open(now);
    const bool more = m_is_open && drain(now, memory);
    if (now.clock >= m_next_tick) {
        m_next_tick = now.clock + tick_interval;
        m_monitor.tick(now.clock);
    }
    if (now.clock >= m_next_report)
        report(now);
    hand_over();
    return more;
}

void watched_stream::open(const moment& now)
{
    m_next_try = now.clock + retry_interval;
    m_next_report = std::min(m_next_report, now.clock);
    auto settings = tools::parse_udp_address(m_settings.address);
    if (!settings) {
        m_fault = stream_address_fault(m_settings.address);
        return;
    }
    settings->interface = m_settings.interface;
    settings->buffer_size = m_settings.buffer_size;
    zq_net::input_settings input;
    input.legs.push_back(*settings);
    // Damaged sync bytes are the monitor's to find.
    input.align = false;
    input.waits = false;
    // Intervals are as fine as the stamps of the datagrams.
    input.joins = false;
    input.notes = true;
    m_delivery.forget();
    m_is_open = m_input.open(input);
    m_fault = m_is_open ? std::string() : m_input.error();
}

bool watched_stream::drain(const moment& now, std::vector<unsigned char>& memory)
{
    for (unsigned call = 0; call < most_calls; ++call) {
        const std::size_t slots = std::max(fewest_slots, m_input.wanted_slots());
        const std::size_t slot_size = m_input.wanted_slot_size();
        memory.resize(std::max(memory.size(), slots * slot_size));
        const auto got = m_input.receive(memory.data(), slots, slot_size);
        m_delivery.put(m_input.notes(), now);
        for (const auto& bytes : m_input.pieces())
            analyse(bytes, now);
        if (got == zq_net::transport_input::result::failed) {
            m_fault = m_input.error();
            m_is_open = false;
            m_next_try = now.clock + retry_interval;
            m_input.close();
            return false;
        }
        if (!m_input.has_more())
            return false;
    }
    return true;
}

void watched_stream::analyse(const zq_net::piece& bytes, const moment& now)
{
    m_last_arrival = std::max(m_last_arrival, std::min(now.clock, now.clock_at(bytes.arrival)));
    if (bytes.gap)
        m_monitor.note_gap();
    if (m_aligner.awaited() == 0 && is_aligned(bytes)) {
        m_was_not_ts = false;
        m_monitor.put(bytes.data, bytes.size / zq_net::ts_packet_size, m_last_arrival);
    } else {
        find_packets(bytes, m_last_arrival);
    }
}

void watched_stream::find_packets(const zq_net::piece& bytes, std::uint64_t arrival)
{
    if (m_input.sees_rtp() && zq_net::is_rtcp(bytes.data, bytes.size))
        return;
    const std::uint64_t dropped = m_aligner.dropped_bytes();
    m_aligned.clear();
    const bool is_not_ts = m_aligner.put(bytes, m_aligned) == zq_net::ts_aligner::verdict::not_ts;
    m_not_ts += is_not_ts ? 1 : 0;
    // One among good ones, as RTCP or what keeps a way open, leaves the packets around it where they were.
    const bool was_not_ts = std::exchange(m_was_not_ts, is_not_ts);
    if ((is_not_ts && was_not_ts) || m_aligner.dropped_bytes() > dropped)
        m_monitor.note_sync_loss(arrival);
    for (const auto& packets : m_aligned)
        m_monitor.put(packets.data, packets.size / zq_net::ts_packet_size, arrival);
}

void watched_stream::report(const moment& now)
{
    // Each stream at a time of its own within the second, so that the work for all does not come at once.
    const std::uint64_t phase = fnv1a(m_settings.name) % (second / ms) * ms;
    m_next_report = now.clock - (now.clock - phase) % second + second;
    m_next_last = look(now);
}

void watched_stream::hand_over()
{
    if (!m_next_last)
        return;
    std::shared_ptr<const snapshot> before;
    const std::unique_lock lock{m_mutex, std::try_to_lock};
    if (lock.owns_lock())
        before = std::exchange(m_last, std::move(m_next_last));
}

std::shared_ptr<const snapshot> watched_stream::look(const moment& now)
{
    auto seen = std::make_shared<snapshot>();
    seen->time = now.real;
    seen->clock = now.clock;
    seen->fault = m_is_open ? m_input.follow_error() : m_fault;
    look_at_input(*seen, now);
    look_at_contents(*seen);
    look_at_T2MI(*seen);
    seen->is_synchronised = m_monitor.is_synchronised();
    seen->checks = m_monitor.checks();
    seen->splices = m_notes.splices();
    seen->changes = m_notes.changes();
    return seen;
}

void watched_stream::look_at_input(snapshot& seen, const moment& now)
{
    if (m_is_open) {
        seen.input = m_input.figures();
        if (seen.input.legs[0].datagrams != 0)
            m_is_rtp = m_input.sees_rtp();
        seen.input.not_ts += m_not_ts;
        seen.input.resync_bytes += m_aligner.dropped_bytes();
    }
    seen.is_rtp = m_is_rtp;
    seen.last_arrival = m_last_arrival;
    const auto& contents = m_monitor.contents();
    seen.delivery =
        m_delivery.look(now, {seen.is_rtp, seen.input.rtp_lost, contents.missing_packets}, PCR_rate(contents, now));
}

void watched_stream::look_at_contents(snapshot& seen) const
{
    const auto& contents = m_monitor.contents();
    seen.has_PAT = contents.has_PAT;
    seen.transport_stream_id = contents.transport_stream_id;
    seen.services = contents.services;
    for (const auto& [identity, version] : contents.tables)
        seen.tables.push_back({identity, version});
    for (const auto* const PID : contents.PIDs.all()) {
        auto& kept = seen.PIDs.emplace_back();
        kept.figures = *PID;
        if (PID->PCR != nullptr)
            kept.PCR = *PID->PCR;
        kept.figures.PCR = nullptr;
    }
    seen.packets = contents.packets;
    seen.null_packets = contents.null_packets;
    seen.scrambled_packets = contents.scrambled_packets;
    seen.null_share = contents.null_share();
}

void watched_stream::look_at_T2MI(snapshot& seen) const
{
    const auto contents = m_monitor.T2MI();
    if (!contents)
        return;
    auto& kept = seen.T2MI.emplace();
    kept.PID = contents->PID;
    if (contents->t2mi_stream_id != mpegcore::T2MIDemultiplexer::any)
        kept.t2mi_stream_id = static_cast<std::uint8_t>(contents->t2mi_stream_id);
    kept.packets = contents->packets;
    if (contents->L1 != nullptr)
        kept.L1 = contents->L1->L1PRE;
    for (const auto& figures : contents->PLPs) {
        auto& PLP = kept.PLPs.emplace_back();
        PLP.figures = figures;
        if (figures.L1 != nullptr)
            PLP.L1 = *figures.L1;
        PLP.figures.L1 = nullptr;
    }
}
} // namespace monitor
