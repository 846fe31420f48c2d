// SPDX-License-Identifier: LGPL-2.1-or-later
#include "paced_load.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <thread>

using namespace std::chrono_literals;
using std::chrono::steady_clock;

namespace bench
{
namespace
{
class udp_socket
{
public:
    udp_socket() : descriptor{::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)} {}
    ~udp_socket() { ::close(descriptor); }
    udp_socket(const udp_socket&) = delete;
    udp_socket& operator=(const udp_socket&) = delete;

    const int descriptor;
};

sockaddr_in loopback(std::uint16_t port)
{
    sockaddr_in target{};
    target.sin_family = AF_INET;
    target.sin_port = htons(port);
    target.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return target;
}

/// Sends `messages` in order, what is due of them each tick.
void send_over_time(int socket, std::vector<mmsghdr>& messages, double per_tick, std::chrono::microseconds tick)
{
    auto next = steady_clock::now();
    double due = 0;
    for (std::size_t sent = 0; sent < messages.size();) {
        std::this_thread::sleep_until(next += tick);
        due += per_tick;
        while (sent < messages.size() && sent < static_cast<std::size_t>(due)) {
            const auto count = std::min(messages.size(), static_cast<std::size_t>(due)) - sent;
            const int done = ::sendmmsg(socket, messages.data() + sent, static_cast<unsigned>(count), 0);
            sent += done > 0 ? static_cast<std::size_t>(done) : count;
        }
    }
}
} // namespace

std::vector<unsigned char> transport_packets(std::size_t count)
{
    std::vector<unsigned char> packets(count * 188, 0xFF);
    for (std::size_t i = 0; i < count; ++i) {
        unsigned char* const packet = packets.data() + i * 188;
        packet[0] = 0x47;
        packet[1] = 0x01;
        packet[2] = 0x00;
        packet[3] = static_cast<unsigned char>(0x10 | (i & 0x0F));
    }
    return packets;
}

void send_paced(const std::vector<unsigned char>& bytes, std::size_t datagram_size, double per_tick, std::uint16_t port)
{
    const udp_socket socket;
    const auto target = loopback(port);
    ::connect(socket.descriptor, reinterpret_cast<const sockaddr*>(&target), sizeof(target));
    std::vector<iovec> parts;
    for (std::size_t at = 0; at < bytes.size(); at += datagram_size)
        parts.push_back({const_cast<unsigned char*>(bytes.data() + at), std::min(datagram_size, bytes.size() - at)});
    std::vector<mmsghdr> messages(parts.size());
    for (std::size_t i = 0; i < parts.size(); ++i) {
        messages[i].msg_hdr.msg_iov = &parts[i];
        messages[i].msg_hdr.msg_iovlen = 1;
    }
    send_over_time(socket.descriptor, messages, per_tick, 200us);
}

namespace
{
constexpr std::size_t datagram_size = 1316;

/// `count` datagrams for each port, the first behind the last of `packets` again.
unsigned long send_turn_by_turn(std::vector<unsigned char>& packets, std::size_t count, std::uint16_t first_port,
                                unsigned ports, unsigned rate)
{
    const udp_socket socket;
    std::vector<iovec> parts;
    for (std::size_t at = 0; at + datagram_size <= packets.size(); at += datagram_size)
        parts.push_back({packets.data() + at, datagram_size});
    std::vector<sockaddr_in> targets;
    for (unsigned i = 0; i < ports; ++i)
        targets.push_back(loopback(static_cast<std::uint16_t>(first_port + i)));
    std::vector<mmsghdr> messages(count * ports);
    for (std::size_t i = 0; i < messages.size(); ++i)
        messages[i].msg_hdr = {
            &targets[i % ports], sizeof(sockaddr_in), &parts[i / ports % parts.size()], 1, nullptr, 0, 0};
    send_over_time(socket.descriptor, messages, static_cast<double>(rate) * ports / 5000, 200us);
    return messages.size();
}
} // namespace

unsigned long send_to_many(std::uint16_t first_port, unsigned ports, unsigned rate, double seconds)
{
    // After 16 datagrams the counters are where they began.
    auto packets = transport_packets(16 * 7);
    return send_turn_by_turn(packets, static_cast<std::size_t>(seconds * rate), first_port, ports, rate);
}

unsigned long send_stream_to_many(std::vector<unsigned char>& stream, std::uint16_t first_port, unsigned ports,
                                  unsigned rate)
{
    return send_turn_by_turn(stream, stream.size() / datagram_size, first_port, ports, rate);
}
} // namespace bench
