// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

namespace support
{
/// Bytes whose values tell their place: a transport packet's worth of pattern, or any other size.
std::vector<unsigned char> pattern(std::size_t size, unsigned seed = 0);

/// A port that nothing on this host uses at the moment.
std::uint16_t free_port();

/// Holds a port of this host so that nobody can share it.
class taken_port
{
public:
    taken_port();
    ~taken_port();
    taken_port(const taken_port&) = delete;
    taken_port& operator=(const taken_port&) = delete;

private:
    int m_socket;

public:
    const std::uint16_t number;
};

/// Sends datagrams to one address from loopback; multicast leaves through loopback only.
class udp_sender
{
public:
    udp_sender(const std::string& address, std::uint16_t port);
    ~udp_sender();
    udp_sender(const udp_sender&) = delete;
    udp_sender& operator=(const udp_sender&) = delete;

    void send(const std::vector<unsigned char>& datagram) const;

private:
    int m_socket;
};

/// Sends the same datagram about every `interval` from a thread of its own, until destroyed.
class udp_traffic
{
public:
    udp_traffic(std::uint16_t port, std::chrono::microseconds interval,
                std::vector<unsigned char> datagram = pattern(1316));
    ~udp_traffic();

private:
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};
} // namespace support
