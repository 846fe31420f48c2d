// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/answer_sender.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace monitor
{
namespace
{
int new_eventfd()
{
    const int made = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (made < 0)
        throw std::system_error(errno, std::generic_category(), "eventfd");
    return made;
}
} // namespace

void close_behind_the_answer(int socket)
{
    ::shutdown(socket, SHUT_WR);
    // What was not read would take the answer away from who is yet to read it.
    std::array<char, 16384> unread;
    (void)::recv(socket, unread.data(), unread.size(), MSG_DONTWAIT);
    ::close(socket);
}

answer_sender::answer_sender(std::size_t places, clock::duration write_time)
    : m_most(std::max<std::size_t>(places, 1)), m_write_time(write_time), m_wake(new_eventfd())
{
    try {
        m_thread = std::thread([this] { run(); });
    } catch (...) {
        ::close(m_wake);
        throw;
    }
}

answer_sender::~answer_sender()
{
    {
        const std::lock_guard lock{m_mutex};
        m_ended = true;
    }
    (void)::eventfd_write(m_wake, 1);
    m_thread.join();
    ::close(m_wake);
}

void answer_sender::take(int socket, std::function<answer()> make)
{
    {
        const std::lock_guard lock{m_mutex};
        if (m_requests.size() >= m_most) {
            ::close(m_requests.front().socket);
            m_requests.erase(m_requests.begin());
        }
        m_requests.push_back({socket, std::move(make)});
    }
    (void)::eventfd_write(m_wake, 1);
}

void answer_sender::run()
{
    bool has_ended = false;
    while (!has_ended || !m_places.empty()) {
        wait();
        has_ended = admit();
        send_to_all();
    }
}

/// Gives places to those who came. True when they were the last ones.
bool answer_sender::admit()
{
    std::vector<request> came;
    bool has_ended = false;
    {
        const std::lock_guard lock{m_mutex};
        came.swap(m_requests);
        has_ended = m_ended;
    }
    for (auto& next : came) {
        if (m_places.size() >= m_most)
            cut_off_the_stillest();
        try {
            auto given = next.make();
            const auto now = clock::now();
            m_places.push_back({next.socket, std::move(given), now + m_write_time, now});
        } catch (...) { // want of memory, say: this one gets nothing
            ::close(next.socket);
        }
    }
    return has_ended;
}

void answer_sender::cut_off_the_stillest()
{
    const auto stillest = std::min_element(m_places.begin(), m_places.end(),
                                           [](const place& a, const place& b) { return a.moved < b.moved; });
    ::close(stillest->socket);
    m_places.erase(stillest);
}

/// Until somebody comes, makes room, goes away, or is to be cut off.
void answer_sender::wait() const
{
    std::vector<pollfd> waited{{m_wake, POLLIN, 0}};
    auto left = m_write_time;
    for (const auto& each : m_places) {
        waited.push_back({each.socket, POLLOUT, 0});
        left = std::min(left, each.until - clock::now());
    }
    const auto time = std::chrono::ceil<std::chrono::milliseconds>(std::max(left, clock::duration::zero())).count();
    (void)::poll(waited.data(), waited.size(), m_places.empty() ? -1 : static_cast<int>(time));
    eventfd_t woken = 0;
    (void)::eventfd_read(m_wake, &woken);
}

void answer_sender::send_to_all()
{
    const auto now = clock::now();
    const auto over = [now](place& each) { return is_over(each, now); };
    m_places.erase(std::remove_if(m_places.begin(), m_places.end(), over), m_places.end());
}

std::string_view answer_sender::place::rest() const
{
    const std::string_view head = given.head, body = given.body ? std::string_view(*given.body) : std::string_view();
    return sent < head.size() ? head.substr(sent) : body.substr(sent - head.size());
}

/// Sends what the reader has room for; closes the connection when that was all, or he is gone or late.
bool answer_sender::is_over(place& served, clock::time_point now)
{
    for (auto rest = served.rest(); !rest.empty(); rest = served.rest()) {
        const ssize_t sent = ::send(served.socket, rest.data(), rest.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0 && errno == EINTR)
            continue;
        if (sent < 0 && errno == EAGAIN && now < served.until)
            return false;
        if (sent < 0) {
            ::close(served.socket);
            return true;
        }
        served.sent += static_cast<std::size_t>(sent);
        served.moved = now;
    }
    close_behind_the_answer(served.socket);
    return true;
}
} // namespace monitor
