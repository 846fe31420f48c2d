// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/observer.h"

#include "zq_net/nanoseconds.h"

#include <algorithm>
#include <set>
#include <utility>

namespace monitor
{
namespace
{
using zq_net::second;

/// A receiver looks at each stream once a second. When it has not for so long it stands still, and nobody receives.
constexpr std::uint64_t receiver_patience = 3 * second;

/// Counters begin anew when a socket is opened again.
std::uint64_t step(std::uint64_t before, std::uint64_t now) { return now >= before ? now - before : now; }

stream_state state_of(const snapshot& seen, const alarm_book& alarms, const mpegcore::MonitorLimits& limits)
{
    if (!seen.fault.empty())
        return stream_state::closed;
    const std::uint64_t patience = std::max(limits.input_loss, second);
    if (seen.clock > seen.last_arrival + patience)
        return stream_state::silent;
    switch (alarms.gravest()) {
    case 1:
        return stream_state::bad;
    case 2:
        return stream_state::warning;
    default:
        return stream_state::good;
    }
}
} // namespace

std::shared_ptr<survey> observer::look(const stream_set& streams, const moment& now)
{
    drop_others(streams, now);
    auto seen = std::make_shared<survey>();
    seen->time = now.real;
    seen->clock = now.clock;
    for (const auto& stream : streams) {
        auto known = m_watches.find(stream.get());
        if (known == m_watches.end())
            known = m_watches.emplace(stream.get(), watch{stream, alarm_book(m_hold_off), nullptr, 0, 0, {}, {}}).first;
        seen->streams.push_back(look_at(known->second, now));
    }
    if (std::exchange(m_events_shown, m_ring.total()) != m_ring.total())
        m_events = std::make_shared<const std::deque<event>>(m_ring.events());
    seen->events = m_events;
    seen->events_total = m_ring.total();
    return seen;
}

std::shared_ptr<const stream_report> observer::look_at(watch& watched, const moment& now)
{
    auto report = std::make_shared<stream_report>();
    report->settings = watched.stream->settings();
    const auto seen = watched.stream->last();
    if (!seen)
        return report;
    if (seen != watched.before) {
        const snapshot nothing;
        const snapshot& before = watched.before ? *watched.before : nothing;
        const std::uint64_t elapsed = seen->clock - before.clock;
        const std::uint64_t bytes = step(before.input.legs[0].bytes, seen->input.legs[0].bytes);
        // In tens of microseconds, so that nothing overflows.
        watched.bit_rate = before.clock == 0 || elapsed < 10'000 ? 0 : bytes * 8 * 100'000 / (elapsed / 10'000);
        look_for_alarms(watched, *seen, now);
        tell_changes(watched, *seen);
        watched.before = seen;
    }
    const bool is_looked_at = now.clock <= seen->clock + receiver_patience;
    if (!is_looked_at)
        watched.bit_rate = 0;
    watched.history.push_back(watched.bit_rate);
    if (watched.history.size() > stream_report::history_seconds)
        watched.history.pop_front();
    watched.PIDs.look(seen->PIDs, is_looked_at);
    report->PID_rates = watched.PIDs.rates();
    if (is_looked_at)
        report->state = state_of(*seen, watched.alarms, report->settings.limits);
    report->bit_rate = watched.bit_rate;
    report->active = watched.alarms.active();
    report->history.assign(watched.history.begin(), watched.history.end());
    report->seen = seen;
    return report;
}

void observer::look_for_alarms(watch& watched, const snapshot& seen, const moment& now)
{
    const auto look = [&](event about, bool failing, std::uint64_t errors) {
        about.time = now.real;
        about.stream = watched.stream->settings().name;
        if (const auto told = watched.alarms.look(about, now.clock, failing, errors))
            tell(*told);
    };
    event input;
    input.check = "input";
    input.name = "Input_error";
    input.text = seen.fault;
    look(input, !seen.fault.empty(), 0);

    const snapshot nothing;
    const snapshot& before = watched.before ? *watched.before : nothing;
    // Without RTP 1.4 tells of it.
    const std::uint64_t lost = step(before.input.rtp_lost, seen.input.rtp_lost);
    const std::uint64_t dropped = step(kernel_drops(before), kernel_drops(seen));
    event loss;
    loss.check = "loss";
    loss.name = "Packet_loss";
    if (lost > 0)
        loss.text = std::to_string(lost) + " RTP packets missing";
    if (dropped > 0)
        loss.text += (lost > 0 ? ", " : "") + std::to_string(dropped) + " datagrams dropped by the kernel";
    look(loss, false, lost + dropped);
    look_at_checks(watched, seen, now);
}

void observer::look_at_checks(watch& watched, const snapshot& seen, const moment& now)
{
    const snapshot nothing;
    const snapshot& before = watched.before ? *watched.before : nothing;
    for (const auto& check : mpegcore::TR101290_checks) {
        const auto& record = seen.checks[check.check];
        const std::uint64_t errors = step(before.checks[check.check].count, record.count);
        const bool failing = record.state == mpegcore::CheckState::failing;
        if (!failing && errors == 0 && !watched.alarms.is_active(check.number))
            continue;
        event about;
        about.time = now.real;
        about.stream = watched.stream->settings().name;
        about.check = check.number;
        about.name = check.name;
        // The T2-MI checks have no priority of their own.
        about.priority = check.priority == 0 ? 2 : check.priority;
        about.text = record.detail();
        if (record.PID != mpegcore::CheckRecord::no_PID)
            about.text = "PID " + std::to_string(record.PID) + (about.text.empty() ? "" : ": ") + about.text;
        if (const auto told = watched.alarms.look(about, now.clock, failing, errors))
            tell(*told);
    }
}

void observer::tell_changes(watch& watched, const snapshot& seen)
{
    const auto note = [&](std::uint64_t time, const char* check, const char* name, const std::string& text) {
        event told;
        told.time = time;
        told.what = event::kind::note;
        told.stream = watched.stream->settings().name;
        told.check = check;
        told.name = name;
        told.priority = 3;
        told.text = text;
        tell(told);
    };
    // A stream that changes all the time would push the events of all others out.
    constexpr std::uint64_t most_notes = 8;
    std::uint64_t last = watched.last_change;
    std::uint64_t notes = 0;
    for (const auto& change : seen.changes)
        if (change.serial > watched.last_change) {
            if (++notes <= most_notes)
                note(change.time, "table", "Table_change", change.text);
            last = std::max(last, change.serial);
        }
    for (const auto& splice : seen.splices)
        if (splice.serial > watched.last_change) {
            if (++notes <= most_notes)
                note(splice.time, "splice", "Splice_command", splice.command + " on PID " + std::to_string(splice.PID));
            last = std::max(last, splice.serial);
        }
    if (notes > most_notes)
        note(seen.time, "notes", "More_notes", std::to_string(notes - most_notes) + " more in this second");
    watched.last_change = last;
}

void observer::drop_others(const stream_set& streams, const moment& now)
{
    std::set<const watched_stream*> kept;
    for (const auto& stream : streams)
        kept.insert(stream.get());
    for (auto at = m_watches.begin(); at != m_watches.end();) {
        if (kept.count(at->first) != 0) {
            ++at;
            continue;
        }
        for (const auto& end : at->second.alarms.end_all(now.real, now.clock))
            tell(end);
        at = m_watches.erase(at);
    }
}

void observer::tell(const event& told)
{
    m_ring.put(told);
    m_tell(told);
}
} // namespace monitor
