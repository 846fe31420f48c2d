// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "tools/monitor/http_server.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <poll.h>
#include <sys/socket.h>

#include <httplib.h>

// What holds an http_server within its limits; for its source alone.
namespace monitor
{
/// What becomes of a connection when it is handed over.
enum class turn
{
    serve,
    look,   ///< only what is answered in a crowd, too, is taken up; the others stay for later
    refuse, ///< it is closed
};
inline thread_local turn whose_turn = turn::serve;
/// Set when `look` took it up.
inline thread_local bool was_answered = false;

/// A connection that reads so much and no more, in so much time and no more, however the bytes are spread over it.
class bounded_stream final : public httplib::Stream
{
public:
    bounded_stream(int socket, const http_server::limits& bounds)
        : m_socket(socket),
          m_left(bounds.request_bytes),
          m_write_time(bounds.write_time),
          m_read_until(std::chrono::steady_clock::now() + bounds.request_time)
    {}

    /// The time for writing begins.
    void begin_writing() { m_write_until = std::chrono::steady_clock::now() + m_write_time; }

    bool is_readable() const override { return m_next < m_filled || waits_for(POLLIN, m_read_until); }
    bool is_writable() const override { return waits_for(POLLOUT, m_write_until); }
    socket_t socket() const override { return m_socket; }
    void get_remote_ip_and_port(std::string& /*ip*/, int& /*port*/) const override {}
    void get_local_ip_and_port(std::string& /*ip*/, int& /*port*/) const override {}

    ssize_t read(char* bytes, size_t size) override
    {
        if (m_next == m_filled && !fill())
            return -1;
        const std::size_t part = std::min(size, m_filled - m_next);
        std::copy_n(m_buffer.begin() + m_next, part, bytes);
        m_next += part;
        return static_cast<ssize_t>(part);
    }

    ssize_t write(const char* bytes, size_t size) override
    {
        for (std::size_t done = 0; done < size;) {
            if (!waits_for(POLLOUT, m_write_until))
                return -1;
            const ssize_t sent = ::send(m_socket, bytes + done, size - done, MSG_NOSIGNAL | MSG_DONTWAIT);
            if (sent < 0 && errno != EAGAIN && errno != EINTR)
                return -1;
            done += sent > 0 ? static_cast<std::size_t>(sent) : 0;
        }
        return static_cast<ssize_t>(size);
    }

private:
    [[nodiscard]] bool fill()
    {
        const std::size_t most = std::min(m_buffer.size(), m_left);
        if (most == 0 || !waits_for(POLLIN, m_read_until))
            return false;
        const ssize_t got = ::recv(m_socket, m_buffer.data(), most, MSG_DONTWAIT);
        m_next = 0;
        m_filled = got > 0 ? static_cast<std::size_t>(got) : 0;
        m_left -= m_filled;
        hide_ranges();
        return m_filled > 0;
    }

    /// The library takes a Range apart by a recursion as deep as it is long, before it can be dropped. No header is of
    /// use here whose name begins like that.
    void hide_ranges()
    {
        for (std::size_t at = 0; at < m_filled; ++at) {
            if (m_begins_line && (m_buffer[at] == 'R' || m_buffer[at] == 'r'))
                m_buffer[at] = 'x';
            m_begins_line = m_buffer[at] == '\n';
        }
    }

    [[nodiscard]] bool waits_for(short event, std::chrono::steady_clock::time_point until) const
    {
        pollfd waited{m_socket, event, 0};
        while (true) {
            const auto left =
                std::chrono::ceil<std::chrono::milliseconds>(until - std::chrono::steady_clock::now()).count();
            // Also when the time is over: what is there has come in time, and it is the thread that is late.
            const int ready = ::poll(&waited, 1, left > 0 ? static_cast<int>(left) : 0);
            if (ready >= 0 || errno != EINTR)
                return ready > 0;
        }
    }

    int m_socket;
    std::size_t m_left; ///< bytes that it still reads
    std::chrono::steady_clock::duration m_write_time;
    std::chrono::steady_clock::time_point m_read_until;
    std::chrono::steady_clock::time_point m_write_until = m_read_until;
    std::array<char, 2048> m_buffer{};
    std::size_t m_next = 0;
    std::size_t m_filled = 0;
    bool m_begins_line = true; ///< the next byte does
};

/// A bounded number of threads in front of which a bounded number of connections wait.
class bounded_workers final : public httplib::TaskQueue
{
public:
    explicit bounded_workers(const http_server::limits& bounds) : m_most_waiting(bounds.waiting)
    {
        for (std::size_t count = 0; count < bounds.workers; ++count)
            m_threads.emplace_back([this] { work(); });
    }

    void enqueue(std::function<void()> serve) override
    {
        // Here is the thread that accepts; looking and refusing take it no time.
        if (is_crowded() && handled(serve, turn::look))
            return;
        {
            const std::lock_guard lock{m_mutex};
            if (m_waiting.size() < m_most_waiting) {
                m_waiting.push_back(std::move(serve));
                m_changed.notify_one();
                return;
            }
        }
        (void)handled(serve, turn::refuse);
    }

    void shutdown() override
    {
        {
            const std::lock_guard lock{m_mutex};
            m_ended = true;
        }
        m_changed.notify_all();
        for (auto& thread : m_threads)
            thread.join();
    }

private:
    void work()
    {
        while (true) {
            std::unique_lock lock{m_mutex};
            ++m_idle;
            m_changed.wait(lock, [this] { return m_ended || !m_waiting.empty(); });
            --m_idle;
            if (m_waiting.empty())
                return;
            const auto serve = std::move(m_waiting.front());
            m_waiting.pop_front();
            whose_turn = m_ended ? turn::refuse : turn::serve;
            lock.unlock();
            serve();
        }
    }

    /// The next one would have to wait.
    [[nodiscard]] bool is_crowded()
    {
        const std::lock_guard lock{m_mutex};
        return m_waiting.size() >= m_idle;
    }

    static bool handled(const std::function<void()>& serve, turn whose)
    {
        was_answered = false;
        whose_turn = whose;
        serve();
        return was_answered;
    }

    std::size_t m_most_waiting;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::function<void()>> m_waiting;
    std::size_t m_idle = 0; ///< threads that wait for work
    bool m_ended = false;
    std::vector<std::thread> m_threads;
};
} // namespace monitor
