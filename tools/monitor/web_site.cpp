// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/web_site.h"

#include "tools/monitor/page_files.h"
#include "tools/monitor/report_json.h"
#include "tools/monitor/watched_stream.h"
#include "zq_net/nanoseconds.h"

#include <algorithm>
#include <utility>

namespace monitor
{
namespace
{
constexpr std::string_view streams_path = "/api/streams", live_path = "/live", page_path = "/stream/";

http_answer plain(int status, std::string words)
{
    http_answer given;
    given.status = status;
    given.body = std::make_shared<const std::string>(std::move(words) + '\n');
    return given;
}

http_answer json(std::shared_ptr<const std::string> body)
{
    http_answer given;
    given.content_type = "application/json";
    given.body = std::move(body);
    return given;
}

/// What stands behind `start` and a slash in `path`; empty when nothing does.
std::string name_behind(std::string_view start, const std::string& path)
{
    const bool fits =
        path.size() > start.size() + 1 && path.compare(0, start.size(), start) == 0 && path[start.size()] == '/';
    return fits ? path.substr(start.size() + 1) : std::string();
}

http_answer page_file(const page_files::file& file)
{
    http_answer given;
    given.content_type = file.content_type;
    given.body = std::make_shared<const std::string>(file.content);
    return given;
}
} // namespace

void web_site::publish(std::shared_ptr<const survey> all)
{
    {
        const std::lock_guard lock{m_mutex};
        m_state.all = std::move(all);
        ++m_state.serial;
    }
    m_changed.notify_all();
}

void web_site::end()
{
    {
        const std::lock_guard lock{m_mutex};
        m_ended = true;
    }
    m_changed.notify_all();
}

web_site::state web_site::now() const
{
    const std::lock_guard lock{m_mutex};
    return m_state;
}

std::shared_ptr<const survey> web_site::wait_for_next(std::uint64_t& serial) const
{
    std::unique_lock lock{m_mutex};
    m_changed.wait(lock, [&] { return m_ended || m_state.serial != serial; });
    serial = m_state.serial;
    return m_ended ? nullptr : m_state.all;
}

template <class Make>
web_site::text web_site::made_once(const std::string& what, const std::shared_ptr<const survey>& of, Make make)
{
    const std::lock_guard lock{m_made_mutex};
    if (m_made_of != of) {
        m_made.clear();
        m_made_of = of;
    }
    auto& made = m_made[what];
    if (!made)
        made = std::make_shared<const std::string>(make());
    return made;
}

http_answer web_site::answer(const std::string& path)
{
    if (path == "/healthz" || path == "/readyz")
        return answer_health(path == "/readyz");
    if (path == "/" || path.compare(0, page_path.size(), page_path) == 0)
        return page_file(page_files::all[0]);
    for (const auto& file : page_files::all)
        if (path == file.path)
            return page_file(file);
    const auto seen = now();
    if (!seen.all)
        return plain(503, "not ready");
    if (path == "/metrics") {
        auto given = json(made_once(path, seen.all, [&] { return metrics_text(*seen.all, m_process); }));
        given.content_type = metrics_content_type;
        return given;
    }
    if (path == live_path || !name_behind(live_path, path).empty())
        return answer_live(path, seen);
    return answer_api(path, seen.all);
}

http_answer web_site::answer_api(const std::string& path, const std::shared_ptr<const survey>& all)
{
    if (path == streams_path)
        return json(made_once(path, all, [&] { return streams_json(*all, true); }));
    const auto name = name_behind(streams_path, path);
    const auto* const stream = name.empty() ? nullptr : all->find(name);
    if (stream == nullptr)
        return plain(404, "not found");
    return json(made_once(path, all, [&] { return stream_json(*stream, all->events.get()); }));
}

http_answer web_site::answer_live(const std::string& path, const state& seen)
{
    const auto name = name_behind(live_path, path);
    if (!name.empty() && seen.all->find(name) == nullptr)
        return plain(404, "not found");
    http_answer given;
    given.live = [this, path, name, serial = std::uint64_t{0}]() mutable -> text {
        const auto all = wait_for_next(serial);
        if (!all)
            return nullptr;
        const auto* const stream = name.empty() ? nullptr : all->find(name);
        if (!name.empty() && stream == nullptr)
            return nullptr;
        return made_once(path, all, [&] {
            const auto told = name.empty() ? streams_json(*all, false) : stream_json(*stream, all->events.get());
            return "data: " + told + "\n\n";
        });
    };
    return given;
}

/// Ready: every stream has been looked at. Healthy: they still are.
http_answer web_site::answer_health(bool wants_all) const
{
    constexpr std::uint64_t patience = 10 * zq_net::second;
    const auto seen = now().all;
    const std::uint64_t clock = moment::now().clock;
    if (!seen)
        return wants_all ? plain(503, "not ready") : plain(200, "ok");
    if (clock > seen->clock + patience)
        return plain(503, "nothing new for 10 s");
    for (const auto& stream : seen->streams) {
        const bool is_known = stream->seen->clock != 0;
        if (wants_all && !is_known)
            return plain(503, "not ready");
        if (is_known && clock > stream->seen->clock + patience)
            return plain(503, "a receiver stands still");
    }
    return plain(200, "ok");
}
} // namespace monitor
