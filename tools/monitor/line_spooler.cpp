// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/line_spooler.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <utility>

#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <unistd.h>

namespace monitor
{
line_spooler::~line_spooler()
{
    if (!m_thread.joinable())
        return;
    {
        std::unique_lock lock{m_mutex};
        m_changed.wait_for(lock, std::chrono::seconds{1}, [this] { return m_waiting.empty() && !m_is_writing; });
        m_ended = true;
    }
    m_changed.notify_all();
    m_thread.join();
    if (m_is_ours)
        close(m_descriptor);
    if (m_next_is_ours)
        close(m_next_descriptor);
}

bool line_spooler::open(const std::string& file)
{
    // A named pipe that nobody reads would keep the caller here otherwise.
    constexpr int flags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY;
    const int descriptor = ::open(file.c_str(), flags | O_NONBLOCK, 0644);
    if (descriptor < 0)
        return false;
    fcntl(descriptor, F_SETFL, O_APPEND);
    take(descriptor, true);
    return true;
}

void line_spooler::use(int descriptor) { take(descriptor, false); }

void line_spooler::take(int descriptor, bool ours)
{
    const std::lock_guard lock{m_mutex};
    if (m_next_is_ours)
        close(m_next_descriptor);
    m_next_descriptor = descriptor;
    m_next_is_ours = ours;
    if (!m_thread.joinable())
        m_thread = std::thread([this] { work(); });
    m_changed.notify_all();
}

void line_spooler::put_line(std::string_view line)
{
    std::string whole(line);
    whole += '\n';
    put(whole);
}

void line_spooler::put(std::string_view text)
{
    const std::lock_guard lock{m_mutex};
    if (m_waiting.size() + text.size() + (m_sizes.size() + 1) * sizeof(m_sizes.front()) > most_bytes) {
        ++m_state.lost;
        return;
    }
    m_waiting += text;
    m_sizes.push_back(text.size());
    m_changed.notify_all();
}

bool line_spooler::is_idle() const
{
    const std::lock_guard lock{m_mutex};
    return m_waiting.empty() && !m_is_writing;
}

line_spooler::condition line_spooler::state() const
{
    const std::lock_guard lock{m_mutex};
    return m_state;
}

void line_spooler::work()
{
    std::unique_lock lock{m_mutex};
    // At the end what waits is written as far as nobody has to be waited for.
    while (!m_ended || !m_waiting.empty()) {
        m_changed.wait(lock, [this] { return m_ended || m_next_descriptor >= 0 || !m_waiting.empty(); });
        if (m_next_descriptor >= 0) {
            if (std::exchange(m_is_ours, m_next_is_ours))
                close(m_descriptor);
            m_descriptor = std::exchange(m_next_descriptor, -1);
            m_next_is_ours = m_cut = false;
        }
        if (!m_waiting.empty())
            write_waiting(lock);
    }
}

void line_spooler::write_waiting(std::unique_lock<std::mutex>& lock)
{
    std::string text = std::exchange(m_waiting, {});
    auto sizes = std::exchange(m_sizes, {});
    if (m_cut) {
        text.insert(0, 1, '\n');
        ++sizes.front();
    }
    m_is_writing = true;
    lock.unlock();
    std::string_view left = text;
    const int error = write_all(m_descriptor, left);
    // Those of which the end is missing.
    std::uint64_t lost = 0;
    for (std::size_t missing = left.size(); missing != 0; ++lost) {
        missing -= std::min(missing, sizes.back());
        sizes.pop_back();
    }
    lock.lock();
    m_is_writing = false;
    m_state.error = error;
    m_state.lost += lost;
    m_changed.notify_all();
}

/// The errno of a failure, with what is left of `text`. What is written in one step is what a pipe takes without
/// waiting once it takes anything.
int line_spooler::write_all(int descriptor, std::string_view& text)
{
    while (!text.empty()) {
        pollfd waited{descriptor, POLLOUT, 0};
        const int ready = ::poll(&waited, 1, 100);
        if (const std::lock_guard lock{m_mutex}; ready <= 0 && m_ended)
            return EAGAIN;
        if (ready <= 0)
            continue;
        const ssize_t written = ::write(descriptor, text.data(), std::min<std::size_t>(text.size(), PIPE_BUF));
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return errno;
        m_cut = text[static_cast<std::size_t>(written) - 1] != '\n';
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    m_cut = false;
    return 0;
}
} // namespace monitor
