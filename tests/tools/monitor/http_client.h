// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace monitor_http
{
/// A connection to a server on the loopback that sends and receives bytes as they are.
class connection
{
public:
    explicit connection(std::uint16_t port) : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        m_good = connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    }
    ~connection() { close(m_socket); }
    connection(const connection&) = delete;
    connection& operator=(const connection&) = delete;

    [[nodiscard]] bool is_good() const { return m_good; }
    bool send(std::string_view bytes) const
    {
        return ::send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
    }
    /// Whether something came, be it the end.
    [[nodiscard]] bool has_answer() const
    {
        pollfd waited{m_socket, POLLIN, 0};
        return poll(&waited, 1, 0) > 0;
    }
    /// Bytes that came and were not received.
    [[nodiscard]] int unreceived() const
    {
        int size = 0;
        (void)::ioctl(m_socket, FIONREAD, &size);
        return size;
    }
    /// What comes up to the end, or until `enough` stands in it.
    [[nodiscard]] std::string receive(std::string_view enough = {}) const
    {
        std::string text;
        std::array<char, 65536> part;
        while (enough.empty() || text.find(enough) == std::string::npos) {
            const ssize_t got = recv(m_socket, part.data(), part.size(), 0);
            if (got <= 0)
                return text;
            text.append(part.data(), static_cast<std::size_t>(got));
        }
        return text;
    }

private:
    int m_socket;
    bool m_good = false;
};

/// The whole answer to a request without a body.
inline std::string ask(std::uint16_t port, const std::string& path, const std::string& method = "GET")
{
    const connection to(port);
    to.send(method + ' ' + path + " HTTP/1.1\r\nHost: localhost\r\n\r\n");
    return to.receive();
}

inline std::string body_of(const std::string& answer)
{
    const auto end = answer.find("\r\n\r\n");
    return end == std::string::npos ? std::string() : answer.substr(end + 4);
}
} // namespace monitor_http
