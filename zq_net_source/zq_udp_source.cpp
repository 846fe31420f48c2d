// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net_source/zq_udp_source.h"

#include "zq_net/receive_buffer.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

using std::chrono::steady_clock;

namespace
{
template <class T>
bool set_option(int socket, int level, int name, const T& value)
{
    return ::setsockopt(socket, level, name, &value, sizeof(value)) == 0;
}

in_addr_t address_or_any(const std::string& address)
{
    return address.empty() ? htonl(INADDR_ANY) : ::inet_addr(address.c_str());
}

bool bind_to(int socket, in_addr_t address, std::uint16_t port)
{
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_port = htons(port);
    local.sin_addr.s_addr = address;
    return ::bind(socket, reinterpret_cast<const sockaddr*>(&local), sizeof(local)) == 0;
}
} // namespace

zq_udp_source::zq_udp_source(callback on_datagram, zq_net_statistics& statistics, std::function<void()> before_first)
    : m_callback{std::move(on_datagram)}, m_statistics{statistics}, m_before_first{std::move(before_first)}
{}

zq_udp_source::~zq_udp_source() { close(); }

bool zq_udp_source::isMulticast(const std::string& address)
{
    const auto host_order = [](const char* text) { return ntohl(::inet_addr(text)); };
    const auto value = host_order(address.c_str());
    return value >= host_order("224.0.0.0") && value <= host_order("239.255.255.255");
}

bool zq_udp_source::open(const std::string& address, std::uint32_t port, const std::string& interface)
{
    close();
    m_socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
    if (m_socket < 0) {
        std::puts("ZQReceiverUDP::open 0 > m_hSocket");
        return false;
    }
    ::fcntl(m_socket, F_SETFL, ::fcntl(m_socket, F_GETFL) | O_NONBLOCK);
    if (!set_option(m_socket, SOL_SOCKET, SO_REUSEADDR, int{1})) {
        std::puts("::setsockopt(m_hSocket, SOL_SOCKET, SO_REUSEADDR, (char *)&nReuseAddr, sizeof(int)) < 0");
        return false;
    }
    if (!set_option(m_socket, SOL_SOCKET, SO_REUSEPORT, int{1})) {
        std::puts("::setsockopt(m_hSocket, SOL_SOCKET, SO_REUSEPORT, (char *)&nReusePort, sizeof(int)) < 0");
        return false;
    }
    zq_net::enlarge_receive_buffer(m_socket);
    m_pacing = zq_net::read_pacing::for_buffer(zq_net::receive_buffer(m_socket));
    const auto port16 = static_cast<std::uint16_t>(port);
    if (!(isMulticast(address) ? bind_multicast(address, port16, interface) : bind_unicast(port16, interface)))
        return false;
    start_thread(true);
    return true;
}

void zq_udp_source::run_before_first() { start_thread(false); }

bool zq_udp_source::bind_multicast(const std::string& address, std::uint16_t port, const std::string& interface)
{
    ip_mreq membership{};
    membership.imr_multiaddr.s_addr = ::inet_addr(address.c_str());
    membership.imr_interface.s_addr = address_or_any(interface);

    // Otherwise a socket bound to any address also gets the groups that others on this host joined on this port.
    set_option(m_socket, IPPROTO_IP, IP_MULTICAST_ALL, int{0});
    if (!bind_to(m_socket, interface.empty() ? htonl(INADDR_ANY) : membership.imr_multiaddr.s_addr, port)) {
        std::puts("1: 0 > ::bind(m_hSocket, (struct sockaddr *) &addr, sizeof(addr))");
        return false;
    }
    if (!set_option(m_socket, IPPROTO_IP, IP_ADD_MEMBERSHIP, membership)) {
        // This text and the one below carry no newline; that is meant.
        std::printf("::setsockopt(m_hSocket, IPPROTO_IP, IP_ADD_MEMBERSHIP, (char *)&mcast, sizeof(mcast)) < 0");
        return false;
    }
    return true;
}

bool zq_udp_source::bind_unicast(std::uint16_t port, const std::string& interface)
{
    if (!bind_to(m_socket, address_or_any(interface), port)) {
        std::printf("2: 0 > ::bind(m_hSocket, (struct sockaddr *) &addr, sizeof(addr))");
        return false;
    }
    return true;
}

template <class Call>
void zq_udp_source::call_out(const Call& call)
{
    m_in_callback.store(true, std::memory_order_release);
    try {
        call();
    } catch (...) {
        m_statistics.note_exception();
    }
    m_in_callback.store(false, std::memory_order_release);
}

void zq_udp_source::start_thread(bool receives)
{
    m_stop_promise = std::make_shared<std::promise<void>>();
    m_stopping = false;
    m_ended = false;
    try {
        m_thread = std::thread([this, receives] {
            ::pthread_setname_np(::pthread_self(), "zqnetsource");
            try {
                if (m_before_first)
                    call_out(m_before_first);
                // The request to stop ends the wait for data, which so needs no time-out: its timer costs CPU.
                m_wait_ms = endless;
                if (receives)
                    work_thread(m_stop_promise->get_future());
            } catch (...) {
                m_statistics.note_exception();
            }
            // Held beyond the lock: dropping the owner may destroy this receiver, mutex included.
            std::shared_ptr<void> owner;
            const std::lock_guard lock{m_end_mutex};
            m_ended = true;
            owner = std::move(m_owner);
            m_end_changed.notify_all();
        });
    } catch (...) {
        m_ended = true;
        throw;
    }
}

void zq_udp_source::ask_to_stop()
{
    if (!m_thread.joinable() || m_stopping.exchange(true, std::memory_order_acq_rel))
        return;
    m_stop_promise->set_value();
    // Ends the wait for data at once. The call reports that the socket is not connected, and still does this.
    ::shutdown(m_socket, SHUT_RD);
}

bool zq_udp_source::wait_ended(std::chrono::milliseconds callback_grace)
{
    using namespace std::chrono_literals;
    const auto deadline = steady_clock::now() + callback_grace;
    std::unique_lock lock{m_end_mutex};
    // After the request to stop no callback begins: one that runs at the deadline has run all the time.
    while (!m_ended) {
        const auto now = steady_clock::now();
        if (now >= deadline && m_in_callback)
            return false;
        m_end_changed.wait_until(lock, now < deadline ? deadline : now + 10ms);
    }
    return true;
}

void zq_udp_source::close_socket()
{
    if (const int descriptor = m_socket.exchange(-1); descriptor >= 0)
        ::close(descriptor);
}

void zq_udp_source::close()
{
    ask_to_stop();
    if (m_thread.joinable()) {
        m_thread.join();
        m_stop_promise.reset();
        m_wait_ms = longest_wait_ms;
    }
    close_socket();
}

bool zq_udp_source::close_for(std::chrono::milliseconds callback_grace)
{
    ask_to_stop();
    if (m_thread.get_id() == std::this_thread::get_id() || !wait_ended(callback_grace)) {
        close_socket();
        return false;
    }
    close();
    return true;
}

void zq_udp_source::abandon(std::shared_ptr<void> owner)
{
    const std::lock_guard lock{m_end_mutex};
    if (m_ended)
        return;
    m_owner = std::move(owner);
    m_thread.detach();
}

bool zq_udp_source::wait_for_data(int socket, int wait_ms) const
{
    // poll and not select: the same answer for one descriptor, and descriptors from FD_SETSIZE on work too.
    pollfd waited{socket, POLLIN, 0};
    return ::poll(&waited, 1, wait_ms) > 0 && (waited.revents & POLLNVAL) == 0;
}

int zq_udp_source::read(unsigned char* buffer, unsigned long size)
{
    const int descriptor = m_socket;
    if (descriptor < 0 || !wait_for_data(descriptor, longest_wait_ms))
        return 0;
    return static_cast<int>(::recv(descriptor, buffer, size, 0));
}

/// Receives what is there, waiting for a first one. The number of datagrams, or -1 with errno.
int zq_udp_source::receive(zq_net::datagram_reader& reader, unsigned char* memory)
{
    const int descriptor = m_socket;
    if (descriptor < 0)
        return 0;
    const auto read = [&] {
        const std::size_t gathered = std::min(m_pacing.expected(zq_net::read_pacing::hasty), most_at_once);
        const std::size_t asked = std::max(m_burst.next(), gathered);
        errno = 0;
        const int received = reader.read(descriptor, memory, slot_size, asked, false);
        m_more = asked > 1 && received == static_cast<int>(asked);
        if (received > 0)
            m_burst.note(asked, static_cast<std::size_t>(received));
        return received == 0 && errno != 0 ? -1 : received;
    };
    // Behind a call that took all it asked for there is probably more, and no need to wait.
    if (m_more) {
        const int received = read();
        if (received >= 0 || errno != EAGAIN)
            return received;
    }
    return wait_for_data(descriptor, m_wait_ms) ? read() : 0;
}

void zq_udp_source::work_thread(std::future<void>&& stop)
{
    using namespace std::chrono_literals;
    zq_net::datagram_reader reader{most_at_once, max_datagram, zq_net::datagram_reader::details::none};
    const std::unique_ptr<unsigned char[]> memory{new unsigned char[most_at_once * slot_size]};
    m_thread_start = steady_clock::now();
    rate_interval interval{steady_clock::now()};

    // A timed wait costs tens of microseconds, so it is left out while data flow, unless they flow so densely that
    // several come meanwhile: waking up for each costs more.
    auto stop_wait = 1000ns;
    while (stop.wait_for(stop_wait) != std::future_status::ready) {
        stop_wait = 1000ns;
        const int received = receive(reader, memory.get());
        if (stopping())
            return;
        if (received < 0)
            if (const char* text = std::strerror(errno))
                m_statistics.set_last_error(text);
        for (int i = 0; i < received; ++i) {
            if (i > 0 && (stopping() || stop.wait_for(0ns) == std::future_status::ready))
                return;
            const auto& datagram = reader[static_cast<std::size_t>(i)];
            if (datagram.size == 0)
                continue;
            hand_over(datagram, interval);
            stop_wait = 0ns;
        }
        if (received > 0) {
            m_pacing.note(static_cast<std::size_t>(received), zq_net::steady_time());
            if (stop_wait == 0ns && !m_more)
                stop_wait = std::chrono::nanoseconds{m_pacing.rest(zq_net::read_pacing::hasty)};
        }
    }
}

void zq_udp_source::hand_over(const zq_net::datagram_reader::datagram& datagram, rate_interval& interval)
{
    using namespace std::chrono_literals;
    const auto now = steady_clock::now();
    if (const auto elapsed = now - interval.start; elapsed > 1999999999ns) {
        // Whole seconds, so 2.9 s divide by 2; that is meant.
        const auto seconds = static_cast<std::uint64_t>(elapsed / 1s);
        m_statistics.set_bit_rate(interval.bytes * 8 / seconds);
        interval = {now};
    }
    call_out([&] {
        m_callback(static_cast<std::uint64_t>((now - m_thread_start) / 1ns), datagram.data,
                   static_cast<unsigned long>(datagram.size));
    });
    interval.bytes += datagram.size;
}
