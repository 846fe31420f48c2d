// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/demo/player.h"

#include "tools/t2mi/rtp_packetizer.h"

#include <algorithm>
#include <utility>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace monitor
{
namespace
{
using std::chrono::nanoseconds;
using std::chrono::steady_clock;

constexpr std::size_t packets_in_datagram = 7;
constexpr std::chrono::milliseconds longest_sleep{5};
/// Behind a longer delay the streams go on from where they are.
constexpr std::chrono::seconds longest_delay{1};

sockaddr_in loopback(std::uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

/// A port that a socket was bound to and let go.
std::uint16_t free_port()
{
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (socket < 0)
        return 0;
    sockaddr_in address = loopback(0);
    auto* const any = reinterpret_cast<sockaddr*>(&address);
    socklen_t size = sizeof address;
    const bool good = bind(socket, any, size) == 0 && getsockname(socket, any, &size) == 0;
    ::close(socket);
    return good ? ntohs(address.sin_port) : std::uint16_t{0};
}
} // namespace

/// One stream on its way to its port.
class player::line
{
public:
    line(std::unique_ptr<packet_source> source, const wire& way, std::uint16_t port)
        : m_source(std::move(source)),
          m_way(way),
          m_port(port),
          m_socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        const sockaddr_in address = loopback(port);
        m_good = m_socket >= 0 && connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
        m_has_next = m_good && m_source->next(m_next);
    }
    ~line()
    {
        if (m_socket >= 0)
            ::close(m_socket);
    }
    line(const line&) = delete;
    line& operator=(const line&) = delete;

    [[nodiscard]] bool is_good() const { return m_good; }
    [[nodiscard]] std::uint16_t port() const { return m_port; }
    [[nodiscard]] bool has_next() const { return m_has_next; }
    [[nodiscard]] nanoseconds due() const { return m_next.due; }

    /// Sends what is due.
    void send_up_to(nanoseconds now)
    {
        for (; m_has_next && m_next.due <= now; m_has_next = m_source->next(m_next))
            put();
        if (m_has_next)
            return;
        m_rtp.flush();
        if (!m_datagram.empty())
            send(std::exchange(m_datagram, {}));
    }

private:
    void put()
    {
        if (m_way.rtp)
            return m_rtp.put(m_next.bytes.data(), m_next.due);
        m_datagram.insert(m_datagram.end(), m_next.bytes.begin(), m_next.bytes.end());
        if (m_datagram.size() < packets_in_datagram * m_next.bytes.size())
            return;
        send(m_datagram);
        m_datagram.clear();
    }

    void send(const std::vector<unsigned char>& datagram)
    {
        // Nobody may be there yet; then it is gone, as on a network.
        if (!is_to_be_lost())
            (void)::send(m_socket, datagram.data(), datagram.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    }

    bool is_to_be_lost()
    {
        if (m_way.loss_interval.count() == 0)
            return false;
        if (m_next.due >= m_last_loss + m_way.loss_interval) {
            m_last_loss = m_next.due;
            m_to_lose = m_way.datagrams_lost;
        }
        return m_to_lose > 0 && m_to_lose-- > 0;
    }

    std::unique_ptr<packet_source> m_source;
    wire m_way;
    std::uint16_t m_port;
    int m_socket;
    bool m_good = false;
    bool m_has_next = false;
    packet_source::timed_packet m_next;
    std::vector<unsigned char> m_datagram;
    t2mi::rtp_packetizer m_rtp{1, 0, [this](const std::vector<unsigned char>& datagram) { send(datagram); }};
    nanoseconds m_last_loss{0};
    unsigned m_to_lose = 0;
};

player::player() = default;

player::~player()
{
    m_ended = true;
    if (m_thread.joinable())
        m_thread.join();
}

std::uint16_t player::add(std::unique_ptr<packet_source> source, const wire& way)
{
    const auto is_taken = [this](std::uint16_t port) {
        return std::any_of(m_lines.begin(), m_lines.end(), [port](const auto& one) { return one->port() == port; });
    };
    std::uint16_t port = free_port();
    // Nobody listens on those of the others yet, so the system may give one of them again.
    for (int tries = 0; tries < 10 && is_taken(port); ++tries)
        port = free_port();
    if (port == 0 || is_taken(port))
        return 0;
    m_lines.push_back(std::make_unique<line>(std::move(source), way, port));
    return m_lines.back()->is_good() ? port : std::uint16_t{0};
}

void player::start()
{
    m_thread = std::thread([this] { run(); });
}

void player::run()
{
    auto begin = steady_clock::now();
    nanoseconds before{0};
    while (!m_ended) {
        nanoseconds now = steady_clock::now() - begin;
        if (now > before + longest_delay) {
            begin += now - before;
            now = before;
        }
        before = now;
        nanoseconds next = now + longest_sleep;
        for (const auto& played : m_lines) {
            played->send_up_to(now);
            if (played->has_next())
                next = std::min(next, played->due());
        }
        // A few datagrams at a time are cheaper than each in its own time.
        std::this_thread::sleep_until(begin + std::max(next, now + std::chrono::milliseconds{1}));
    }
}
} // namespace monitor
