// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/udp_socket.h"

#include <linux/sock_diag.h>
#include <net/if.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace zq_net
{
namespace
{
std::string because(const std::string& what) { return what + ": " + std::strerror(errno); }

int level_of(const ip_address& address) { return address.family() == AF_INET6 ? IPPROTO_IPV6 : IPPROTO_IP; }

group_source_req of_source(const ip_address& group, const ip_address& source, unsigned interface_index)
{
    group_source_req request{};
    request.gsr_interface = interface_index;
    request.gsr_group = group.storage();
    request.gsr_source = source.storage();
    return request;
}

group_req of_any(const ip_address& group, unsigned interface_index)
{
    group_req request{};
    request.gr_interface = interface_index;
    request.gr_group = group.storage();
    return request;
}

/// The interface that the address of a group names itself, or else the routing table's choice; 0 when that has none.
unsigned index_towards(const ip_address& group)
{
    if (group.scope() != 0)
        return group.scope();
    const auto found = interface_towards(group);
    return found ? found->index : 0;
}
} // namespace

void udp_socket::swap(udp_socket& other) noexcept
{
    std::swap(m_descriptor, other.m_descriptor);
    std::swap(m_settings, other.m_settings);
    std::swap(m_address, other.m_address);
    m_sources.swap(other.m_sources);
    std::swap(m_interface_index, other.m_interface_index);
    std::swap(m_has_interface_address, other.m_has_interface_address);
    std::swap(m_buffer_asked, other.m_buffer_asked);
}

bool udp_socket::set(int level, int option, int value) const
{
    return ::setsockopt(m_descriptor, level, option, &value, sizeof(value)) == 0;
}

bool udp_socket::open(const udp_settings& settings, std::string& error)
{
    close();
    m_settings = settings;
    errno = EINVAL;
    if (!choose_address(error) || !choose_interface(error))
        return false;
    m_descriptor = ::socket(m_address.family(), SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
    if (m_descriptor < 0) {
        error = because("no socket");
        return false;
    }
    if (!bind(error) || (is_multicast() && !join(error))) {
        const int reason = errno;
        close();
        errno = reason;
        return false;
    }
    m_buffer_asked = m_settings.buffer_size > 0 ? m_settings.buffer_size : usual_receive_buffer;
    enlarge_receive_buffer(m_descriptor, m_buffer_asked);
    set(SOL_SOCKET, SO_TIMESTAMPNS, 1);
    set(SOL_SOCKET, SO_RXQ_OVFL, 1);
    m_settings.port = m_address.port();
    return true;
}

bool udp_socket::choose_address(std::string& error)
{
    const auto address = m_settings.address.empty() ? ip_address::any(AF_INET, m_settings.port)
                                                    : ip_address::read(m_settings.address, m_settings.port);
    if (!address) {
        error = '"' + m_settings.address + "\" is no IPv4 or IPv6 address";
        return false;
    }
    m_address = *address;
    m_sources.clear();
    for (const std::string& text : m_settings.sources) {
        const auto source = ip_address::read(text);
        if (!source || source->family() != m_address.family() || !is_multicast()) {
            error = "\"" + text + "\" is no source for " + m_address.text();
            return false;
        }
        m_sources.push_back(*source);
    }
    return true;
}

bool udp_socket::choose_interface(std::string& error)
{
    const std::string& named = m_settings.interface;
    m_interface_index = 0;
    m_has_interface_address = false;
    if (named.empty()) {
        m_interface_index = is_multicast() ? index_towards(m_address) : 0;
        return true;
    }
    // Looked for once, as it may come or go meanwhile.
    const auto found = find_interface(named, m_address.family());
    if (!found || found->index == 0) {
        error = "this host has no interface \"" + named + '"';
        errno = ENODEV;
        return false;
    }
    if (is_multicast()) {
        m_interface_index = found->index;
        return true;
    }
    if (!m_address.is_any()) {
        if (m_address.scope() == 0)
            m_address.set_scope(found->index);
        return true;
    }
    if (!found->address || found->address->family() != m_address.family()) {
        error = "the interface \"" + named + "\" has no address of the family of " + m_address.text();
        errno = EADDRNOTAVAIL;
        return false;
    }
    const auto port = m_address.port();
    m_address = *found->address;
    m_address.set_port(port);
    m_has_interface_address = true;
    return true;
}

bool udp_socket::bind(std::string& error)
{
    if (m_address.family() == AF_INET6)
        set(IPPROTO_IPV6, IPV6_V6ONLY, 1);
    if (is_multicast()) {
        set(SOL_SOCKET, SO_REUSEADDR, 1);
        // Otherwise a socket gets the groups that others on this host joined, too.
        if (m_address.family() == AF_INET6) {
            set(IPPROTO_IPV6, IPV6_MULTICAST_ALL, 0);
            // A member of an IPv6 group gets what comes to it on any interface. Before Linux 5.7 it stays so, as only
            // root may tie a socket to one.
            set(SOL_SOCKET, SO_BINDTOIFINDEX, static_cast<int>(m_interface_index));
            m_address.set_scope(m_interface_index);
        } else
            set(IPPROTO_IP, IP_MULTICAST_ALL, 0);
    }
    if (::bind(m_descriptor, m_address.get(), m_address.size()) != 0) {
        error = because("cannot receive on " + m_address.text());
        return false;
    }
    sockaddr_storage bound{};
    socklen_t size = sizeof(bound);
    if (::getsockname(m_descriptor, reinterpret_cast<sockaddr*>(&bound), &size) == 0)
        m_address = ip_address::from(reinterpret_cast<const sockaddr*>(&bound)).value_or(m_address);
    return true;
}

bool udp_socket::join(std::string& error) const
{
    const int level = level_of(m_address);
    bool joined = true;
    if (m_sources.empty()) {
        const auto request = of_any(m_address, m_interface_index);
        joined = ::setsockopt(m_descriptor, level, MCAST_JOIN_GROUP, &request, sizeof(request)) == 0;
    }
    for (const ip_address& source : m_sources) {
        const auto request = of_source(m_address, source, m_interface_index);
        joined = joined && ::setsockopt(m_descriptor, level, MCAST_JOIN_SOURCE_GROUP, &request, sizeof(request)) == 0;
    }
    if (!joined)
        error = because("cannot join " + m_address.text() +
                        (m_settings.interface.empty() ? std::string{} : " on \"" + m_settings.interface + '"'));
    return joined;
}

bool udp_socket::depends_on_interface() const
{
    return is_multicast() || m_address.scope() != 0 || m_has_interface_address;
}

bool udp_socket::follow_interface(udp_socket& fresh, std::string& error) const
{
    error.clear();
    udp_socket present;
    present.m_settings = m_settings;
    std::string missing;
    if (!is_open() || !depends_on_interface() || !present.choose_address(missing) || !present.choose_interface(missing))
        return false;
    // IPv6 lists the newest one first, a temporary one each day; what is sent comes to the one there was.
    if (m_has_interface_address && interface_has(m_settings.interface, m_address))
        return false;
    const unsigned index = present.m_interface_index;
    if (is_multicast() ? index == 0 || index == m_interface_index : present.m_address.same_host(m_address))
        return false;
    // Of IPv6 the membership alone could not be moved: the socket is tied to the interface.
    if (!fresh.open(m_settings, error))
        return false;
    timeval limit{};
    socklen_t size = sizeof(limit);
    if (::getsockopt(m_descriptor, SOL_SOCKET, SO_RCVTIMEO, &limit, &size) == 0)
        ::setsockopt(fresh.m_descriptor, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
    return true;
}

void udp_socket::close()
{
    if (m_descriptor >= 0)
        ::close(std::exchange(m_descriptor, -1));
}

void udp_socket::interrupt() const
{
    // The call reports that the socket is not connected, and still ends the wait.
    ::shutdown(m_descriptor, SHUT_RD);
}

void udp_socket::limit_wait(unsigned milliseconds) const
{
    timeval limit{};
    limit.tv_sec = milliseconds / 1000;
    limit.tv_usec = static_cast<suseconds_t>(milliseconds % 1000) * 1000;
    ::setsockopt(m_descriptor, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
}

std::uint32_t udp_socket::kernel_drops() const
{
    std::array<std::uint32_t, SK_MEMINFO_VARS> memory{};
    socklen_t size = sizeof(memory);
    return ::getsockopt(m_descriptor, SOL_SOCKET, SO_MEMINFO, memory.data(), &size) == 0 ? memory[SK_MEMINFO_DROPS] : 0;
}
} // namespace zq_net
