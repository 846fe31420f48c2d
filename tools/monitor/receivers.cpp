// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/receivers.h"

#include "zq_net/nanoseconds.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <set>
#include <utility>

namespace monitor
{
receiver::receiver(unsigned tick_ms) : m_tick(tick_ms * zq_net::ms), m_thread([this] { run(); }) {}

receiver::~receiver()
{
    m_ended = true;
    m_thread.join();
}

void receiver::look_after(stream_set streams)
{
    const std::lock_guard lock{m_mutex};
    m_next = std::move(streams);
    m_has_next = true;
}

void receiver::take_over()
{
    stream_set next;
    {
        const std::unique_lock lock{m_mutex, std::try_to_lock};
        if (!lock.owns_lock() || !m_has_next)
            return;
        next = std::exchange(m_next, {});
        m_has_next = false;
    }
    const std::set<std::shared_ptr<watched_stream>> kept(next.begin(), next.end());
    for (const auto& stream : m_streams)
        if (kept.count(stream) == 0)
            stream->close();
    m_streams = std::move(next);
}

void receiver::run()
{
    std::vector<unsigned char> memory;
    while (!m_ended) {
        take_over();
        bool more = false;
        auto now = moment::now();
        for (const auto& stream : m_streams) {
            more = stream->work(now, memory) || more;
            now = moment::now();
        }
        if (more)
            continue;
        // To the next multiple, so that the receivers of a machine wake up together.
        const std::uint64_t until = now.clock - now.clock % m_tick + m_tick;
        const timespec time{static_cast<time_t>(until / zq_net::second), static_cast<long>(until % zq_net::second)};
        while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &time, nullptr) == EINTR && !m_ended) {
        }
    }
    for (const auto& stream : m_streams)
        stream->close();
}

receivers::receivers(unsigned threads, unsigned tick_ms)
{
    for (unsigned count = 0; count < threads; ++count)
        m_receivers.push_back(std::make_unique<receiver>(tick_ms));
}

void receivers::watch(const std::vector<stream_settings>& streams)
{
    std::map<std::string, std::shared_ptr<watched_stream>> known;
    for (const auto& stream : m_streams)
        known[stream->settings().name] = stream;
    std::map<std::string, std::size_t> places;
    std::vector<stream_set> shares(m_receivers.size());
    // A stream stays where it is, also with other settings: so its port is let go before it is taken again.
    for (const auto& settings : streams)
        if (const auto place = m_places.find(settings.name); place != m_places.end())
            places[settings.name] = place->second;
    std::vector<std::size_t> load(m_receivers.size());
    for (const auto& [name, place] : places)
        ++load[place];
    m_streams.clear();
    for (const auto& settings : streams) {
        if (places.count(settings.name) == 0) {
            const auto least = static_cast<std::size_t>(std::min_element(load.begin(), load.end()) - load.begin());
            places[settings.name] = least;
            ++load[least];
        }
        auto& stream = known[settings.name];
        if (!stream || !(stream->settings() == settings))
            stream = std::make_shared<watched_stream>(settings);
        m_streams.push_back(stream);
        shares[places[settings.name]].push_back(stream);
    }
    m_places = std::move(places);
    for (std::size_t at = 0; at < m_receivers.size(); ++at)
        m_receivers[at]->look_after(std::move(shares[at]));
}
} // namespace monitor
