// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/udp_sender.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>
#include <utility>

namespace support
{
namespace
{
sockaddr_in endpoint(const char* address, std::uint16_t port)
{
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_port = htons(port);
    result.sin_addr.s_addr = ::inet_addr(address);
    return result;
}

/// Binds `socket` to any address, on a port that the system chooses.
std::uint16_t bound_port(int socket)
{
    auto address = endpoint("0.0.0.0", 0);
    socklen_t length = sizeof(address);
    if (::bind(socket, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("no free port");
    return ntohs(address.sin_port);
}
} // namespace

std::vector<unsigned char> pattern(std::size_t size, unsigned seed)
{
    std::vector<unsigned char> bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = i % 188 == 0 ? 0x47 : static_cast<unsigned char>(i * 7 + i / 251 + seed * 31);
    return bytes;
}

std::uint16_t free_port() { return taken_port{}.number; }

taken_port::taken_port() : m_socket{::socket(AF_INET, SOCK_DGRAM, 0)}, number{bound_port(m_socket)} {}

taken_port::~taken_port() { ::close(m_socket); }

udp_sender::udp_sender(const std::string& address, std::uint16_t port) : m_socket{::socket(AF_INET, SOCK_DGRAM, 0)}
{
    const in_addr loopback{::inet_addr("127.0.0.1")};
    ::setsockopt(m_socket, IPPROTO_IP, IP_MULTICAST_IF, &loopback, sizeof(loopback));
    const auto target = endpoint(address.c_str(), port);
    if (::connect(m_socket, reinterpret_cast<const sockaddr*>(&target), sizeof(target)) != 0)
        throw std::runtime_error("no way to " + address);
}

udp_sender::~udp_sender() { ::close(m_socket); }

void udp_sender::send(const std::vector<unsigned char>& datagram) const
{
    // A port that nobody listens on answers the next call with an error; the datagram after that goes out again.
    if (::send(m_socket, datagram.data(), datagram.size(), 0) < 0)
        ::send(m_socket, datagram.data(), datagram.size(), 0);
}

udp_traffic::udp_traffic(std::uint16_t port, std::chrono::microseconds interval, std::vector<unsigned char> datagram)
    : m_thread{[this, port, interval, datagram = std::move(datagram)] {
          const udp_sender sender{"127.0.0.1", port};
          while (!m_stop) {
              sender.send(datagram);
              std::this_thread::sleep_for(interval);
          }
      }}
{}

udp_traffic::~udp_traffic()
{
    m_stop = true;
    m_thread.join();
}
} // namespace support
