// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/event_log.h"

#include "tools/monitor/json_writer.h"

#include <algorithm>
#include <utility>

namespace monitor
{
std::string json_of(const event& told)
{
    constexpr double second = 1e9;
    const char* const kinds[] = {"begin", "end", "note"};
    std::string line;
    json_writer json(line);
    json.open('{').member("time", iso_time(told.time)).member("event", kinds[static_cast<int>(told.what)]);
    json.member("stream", told.stream).member("check", told.check).member("name", told.name);
    json.member("priority", told.priority);
    if (!told.text.empty())
        json.member("text", told.text);
    if (told.what == event::kind::end)
        json.member("seconds", static_cast<double>(told.duration) / second).member("errors", told.count);
    json.close('}');
    return line;
}

std::optional<event> alarm_book::look(const event& seen, std::uint64_t now, bool failing, std::uint64_t errors)
{
    const bool is_bad = failing || errors > 0;
    const auto known = m_active.find(seen.check);
    if (known == m_active.end()) {
        if (!is_bad)
            return std::nullopt;
        auto& alarm = m_active[seen.check];
        alarm = {seen, now, now, errors};
        alarm.begin.what = event::kind::begin;
        return alarm.begin;
    }
    auto& alarm = known->second;
    alarm.errors += errors;
    if (is_bad)
        alarm.last_error = now;
    if (is_bad || now < alarm.last_error + m_hold_off)
        return std::nullopt;
    const auto ended = end_of(alarm, seen.time, now);
    m_active.erase(known);
    return ended;
}

event alarm_book::end_of(const open_alarm& ended, std::uint64_t time, std::uint64_t now)
{
    event end = ended.begin;
    end.what = event::kind::end;
    end.time = time;
    end.duration = now - ended.begun;
    end.count = ended.errors;
    return end;
}

std::vector<event> alarm_book::end_all(std::uint64_t time, std::uint64_t now)
{
    std::vector<event> ends;
    for (const auto& [check, alarm] : std::exchange(m_active, {}))
        ends.push_back(end_of(alarm, time, now));
    return ends;
}

std::vector<std::string> alarm_book::active() const
{
    std::vector<std::string> checks;
    for (const auto& [check, alarm] : m_active)
        checks.push_back(check);
    return checks;
}

unsigned alarm_book::gravest() const
{
    unsigned gravest = 0;
    for (const auto& [check, alarm] : m_active)
        gravest = gravest == 0 ? alarm.begin.priority : std::min(gravest, alarm.begin.priority);
    return gravest;
}

void event_ring::put(event told)
{
    ++m_counts[told.stream];
    m_events.push_back(std::move(told));
    ++m_total;
    if (m_events.size() <= most)
        return;
    const auto largest = std::max_element(m_counts.begin(), m_counts.end(),
                                          [](const auto& one, const auto& other) { return one.second < other.second; });
    m_events.erase(std::find_if(m_events.begin(), m_events.end(),
                                [&](const event& each) { return each.stream == largest->first; }));
    if (--largest->second == 0)
        m_counts.erase(largest);
}
} // namespace monitor
