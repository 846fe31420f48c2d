// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/monitor_run.h"

#include "tools/monitor/demo/demo.h"
#include "tools/monitor/report_json.h"
#include "tools/monitor/stream_list.h"
#include "zq_net/nanoseconds.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <utility>

#include <poll.h>
#include <unistd.h>

namespace monitor
{
namespace
{
using zq_net::ms;
using zq_net::second;

std::atomic<bool> asked_to_read_again{false}; // any thread may be the one that is interrupted

void ask_to_read_again(int /*signal*/) { asked_to_read_again = true; }

void take_hangups()
{
    struct sigaction action = {};
    action.sa_handler = ask_to_read_again;
    sigaction(SIGHUP, &action, nullptr);
}
} // namespace

monitor_run::monitor_run(options options, const std::string& version)
    : m_options(std::move(options)),
      m_site({version, moment::now().real}),
      m_observer(static_cast<std::uint64_t>(m_options.hold_off * static_cast<double>(second)),
                 [this](const event& told) {
                     if (!m_options.events.empty())
                         m_events.put_line(json_of(told));
                 })
{}

int monitor_run::to_end()
{
    if (m_options.check)
        return check();
    take_hangups();
    if (!prepare_player())
        return tools::exit_failed;
    if (const auto faults = read_streams(); !faults.empty()) {
        for (const auto& fault : faults)
            m_program.fail(fault);
        return tools::exit_failed;
    }
    if (!start())
        return tools::exit_failed;
    watch();
    m_screen.reset(); // what comes may take seconds, and somebody may not wait for it
    m_site.end();
    m_server.reset();
    m_receivers.reset();
    return 0;
}

/// One without streams is a fault: so is a file that somebody is about to write, or a pipe that is read again.
stream_list monitor_run::read_list() const
{
    auto list = read_stream_list(m_options.file);
    if (list.faults.empty() && list.streams.empty())
        list.faults.push_back(m_options.file + ": there is no [[stream]]");
    return list;
}

int monitor_run::check() const
{
    const auto list = read_list();
    for (const auto& fault : list.faults)
        std::fprintf(stderr, "%s\n", fault.c_str());
    if (!list.faults.empty())
        return tools::exit_failed;
    const auto ours = std::count_if(list.streams.begin(), list.streams.end(),
                                    [this](const auto& stream) { return m_options.share.holds(stream.name); });
    std::printf("%s: %zu streams, %td of them in shard %u/%u\n", m_options.file.c_str(), list.streams.size(), ours,
                m_options.share.index, m_options.share.count);
    return 0;
}

bool monitor_run::prepare_player()
{
    std::string fault;
    bool good = !m_options.demo || add_demo(m_player, m_played, fault);
    for (const auto& argument : m_options.files)
        good = good && add_file(argument, m_player, m_played, fault);
    if (!good)
        m_program.fail(fault);
    return good;
}

/// What is wrong; then the streams stay as they are.
std::vector<std::string> monitor_run::read_streams()
{
    stream_list list;
    if (!m_options.file.empty())
        list = read_list();
    for (const auto& argument : m_options.streams)
        list.streams.push_back(stream_of_argument(argument));
    list.streams.insert(list.streams.end(), m_played.begin(), m_played.end());
    if (list.faults.empty())
        for (const auto& name : repeated_names(list.streams))
            list.faults.push_back("there are two streams \"" + name + "\"");
    if (!list.faults.empty())
        return list.faults;
    m_listed = list.streams.size();
    m_settings.clear();
    for (auto& stream : list.streams) {
        if (!m_options.share.holds(stream.name))
            continue;
        if (stream.interface.empty())
            stream.interface = m_options.interface;
        m_settings.push_back(std::move(stream));
    }
    return {};
}

bool monitor_run::start()
{
    if (m_options.events == "-") {
        m_events.use(STDOUT_FILENO);
    } else if (!m_options.events.empty() && !m_events.open(m_options.events)) {
        m_program.fail(m_options.events + ": " + std::strerror(errno));
        return false;
    }
    if (m_options.http) {
        m_server.emplace([this](const std::string& path) { return m_site.answer(path); });
        if (!m_server->start(*m_options.http)) {
            m_program.fail(m_server->error());
            return false;
        }
        const bool is_v6 = m_options.http->host.find(':') != std::string::npos;
        const std::string host = is_v6 ? '[' + m_options.http->host + ']' : m_options.http->host;
        std::fprintf(stderr, "zq-monitor: http://%s:%u/\n", host.c_str(), static_cast<unsigned>(m_server->port()));
    }
    m_receivers.emplace(m_options.threads, m_options.tick_ms);
    m_receivers->watch(m_settings);
    if (!m_played.empty())
        m_player.start();
    const bool lines_elsewhere = m_options.json || m_options.quiet || m_options.events == "-";
    if (!lines_elsewhere && terminal_screen::is_there())
        m_screen.emplace();
    else
        m_output.use(STDOUT_FILENO);
    m_is_on_terminal = isatty(STDOUT_FILENO) != 0; // one that was closed does not look like one
    return true;
}

void monitor_run::watch()
{
    // The first look comes when the receivers have looked at each stream once.
    std::uint64_t next = moment::now().clock + 100 * ms;
    const auto is_over = [this] {
        const int error = m_output.state().error;
        const bool has_no_reader = error == EPIPE || (m_is_on_terminal && error != 0);
        return tools::is_asked_to_end() || has_no_reader || (m_screen && m_screen->is_gone());
    };
    while (!is_over()) {
        if (asked_to_read_again.exchange(false)) // before the reading, so that what is asked meanwhile is not forgotten
            read_again();
        const auto now = moment::now();
        if (now.clock >= next) {
            each_second(now);
            // Late by more than a second, the seconds that went are left out.
            next = std::max(next + second, now.clock);
        }
        constexpr std::uint64_t longest_wait = 200 * ms;
        const auto wait = static_cast<int>(std::min(next - std::min(next, now.clock), longest_wait) / ms) + 1;
        pollfd keys{STDIN_FILENO, POLLIN, 0};
        const bool has_keys = m_screen && m_screen->has_keys();
        if (poll(&keys, has_keys ? 1 : 0, wait) <= 0 || !m_screen)
            continue;
        if (!m_screen->take_keys(m_settings.size()))
            return;
        if (m_last)
            m_screen->draw(*m_last);
    }
}

void monitor_run::each_second(const moment& now)
{
    auto seen = m_observer.look(m_receivers->streams(), now);
    seen->events_lost = m_events.state().lost;
    seen->listed = m_listed;
    m_last = seen;
    m_site.publish(m_last);
    report_spooler();
    show(*m_last);
}

void monitor_run::show(const survey& all)
{
    if (m_screen)
        return m_screen->draw(all);
    const bool wants_lines = m_options.events.empty() && !m_options.http && !m_options.quiet;
    if (!m_options.json && !wants_lines)
        return;
    // Who reads too slowly misses whole seconds.
    if (!m_output.is_idle())
        return;
    for (const auto& report : all.streams)
        m_output.put_line(m_options.json ? stream_json(*report) : plain_line(*report, all.time));
}

/// A file keeps its descriptor when it is moved away: so it is opened again, too.
void monitor_run::read_again()
{
    if (!m_options.events.empty() && m_options.events != "-" && !m_events.open(m_options.events))
        say(m_options.events + ": " + std::strerror(errno));
    const auto faults = read_streams();
    for (const auto& fault : faults)
        say(fault);
    if (!faults.empty())
        return say("the streams stay as they are");
    m_receivers->watch(m_settings);
    say(std::to_string(m_settings.size()) + " streams of " + std::to_string(m_listed));
}

/// Says so when events begin or cease to be lost.
void monitor_run::report_spooler()
{
    const auto state = m_events.state();
    if (state.error != 0 && m_events_before.error == 0)
        say(m_options.events + ": " + std::strerror(state.error) + "; events are lost");
    else if (state.error == 0 && m_events_before.error != 0)
        say(m_options.events + ": is written again, " + std::to_string(state.lost) + " events were lost");
    m_events_before = state;
}

void monitor_run::say(const std::string& text)
{
    if (m_screen)
        m_screen->tell(text);
    // On the terminal that is drawn on it would be gone with the next picture.
    if (!m_screen || isatty(STDERR_FILENO) == 0)
        m_program.fail(text);
}
} // namespace monitor
