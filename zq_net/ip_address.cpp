// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/ip_address.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <memory>

namespace zq_net
{
std::optional<ip_address> ip_address::from(const sockaddr* given)
{
    if (given == nullptr || (given->sa_family != AF_INET && given->sa_family != AF_INET6))
        return std::nullopt;
    ip_address address;
    std::memcpy(&address.m_storage, given, given->sa_family == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in));
    return address;
}

std::optional<ip_address> ip_address::read(const std::string& text, std::uint16_t port)
{
    if (text.find(':') == std::string::npos) {
        ip_address address = any(AF_INET, port);
        if (::inet_pton(AF_INET, text.c_str(), &address.v4().sin_addr) != 1)
            return std::nullopt;
        return address;
    }
    // The resolver knows the interface behind a "%".
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST;
    hints.ai_socktype = SOCK_DGRAM;
    addrinfo* found = nullptr;
    if (::getaddrinfo(text.c_str(), nullptr, &hints, &found) != 0)
        return std::nullopt;
    auto address = from(found->ai_addr);
    ::freeaddrinfo(found);
    if (address)
        address->set_port(port);
    return address;
}

ip_address ip_address::any(int family, std::uint16_t port)
{
    ip_address address;
    address.m_storage.ss_family = static_cast<sa_family_t>(family);
    address.set_port(port);
    return address;
}

std::uint16_t ip_address::port() const { return ntohs(family() == AF_INET6 ? v6().sin6_port : v4().sin_port); }

void ip_address::set_port(std::uint16_t port) { (family() == AF_INET6 ? v6().sin6_port : v4().sin_port) = htons(port); }

void ip_address::set_scope(unsigned interface_index)
{
    if (family() == AF_INET6)
        v6().sin6_scope_id = interface_index;
}

bool ip_address::is_multicast() const
{
    return family() == AF_INET6 ? IN6_IS_ADDR_MULTICAST(&v6().sin6_addr) : IN_MULTICAST(ntohl(v4().sin_addr.s_addr));
}

bool ip_address::is_any() const
{
    return family() == AF_INET6 ? IN6_IS_ADDR_UNSPECIFIED(&v6().sin6_addr) : v4().sin_addr.s_addr == INADDR_ANY;
}

bool ip_address::same_host(const ip_address& other) const
{
    const bool same_link = scope() == other.scope() || scope() == 0 || other.scope() == 0;
    if (family() != other.family() || !same_link)
        return false;
    return family() == AF_INET6 ? IN6_ARE_ADDR_EQUAL(&v6().sin6_addr, &other.v6().sin6_addr)
                                : v4().sin_addr.s_addr == other.v4().sin_addr.s_addr;
}

std::string ip_address::text() const
{
    std::array<char, INET6_ADDRSTRLEN> host{};
    const void* const bytes =
        family() == AF_INET6 ? static_cast<const void*>(&v6().sin6_addr) : static_cast<const void*>(&v4().sin_addr);
    ::inet_ntop(family(), bytes, host.data(), host.size());
    const std::string plain = host.data();
    return (family() == AF_INET6 ? '[' + plain + ']' : plain) + ':' + std::to_string(port());
}

namespace
{
/// The first interface that `fits` says so of, by its name and address of `family`.
template <class Fits>
std::optional<network_interface> first_interface(int family, const Fits& fits)
{
    ifaddrs* list = nullptr;
    if (::getifaddrs(&list) != 0)
        return std::nullopt;
    const std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> owner{list, &::freeifaddrs};
    for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
        const auto address = ip_address::from(entry->ifa_addr);
        if (address && address->family() == family && fits(entry->ifa_name, *address))
            return network_interface{::if_nametoindex(entry->ifa_name), address};
    }
    return std::nullopt;
}
} // namespace

std::optional<network_interface> find_interface(const std::string& name_or_address, int family)
{
    if (const auto wanted = ip_address::read(name_or_address))
        return first_interface(wanted->family(),
                               [&](const char*, const ip_address& address) { return address.same_host(*wanted); });
    const unsigned index = ::if_nametoindex(name_or_address.c_str());
    if (index == 0)
        return std::nullopt;
    auto found = first_interface(family, [&](const char* name, const ip_address&) { return name_or_address == name; });
    return found ? found : network_interface{index, std::nullopt};
}

bool interface_has(const std::string& name, const ip_address& address)
{
    return first_interface(address.family(),
                           [&](const char* its_name, const ip_address& its_address) {
                               return name == its_name && its_address.same_host(address);
                           })
        .has_value();
}

std::optional<network_interface> interface_towards(const ip_address& target)
{
    const int probe = ::socket(target.family(), SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
    if (probe < 0)
        return std::nullopt;
    sockaddr_storage chosen{};
    socklen_t size = sizeof(chosen);
    const bool routed = ::connect(probe, target.get(), target.size()) == 0 &&
                        ::getsockname(probe, reinterpret_cast<sockaddr*>(&chosen), &size) == 0;
    ::close(probe);
    const auto local = ip_address::from(reinterpret_cast<const sockaddr*>(&chosen));
    if (!routed || !local)
        return std::nullopt;
    return first_interface(target.family(),
                           [&](const char*, const ip_address& address) { return address.same_host(*local); });
}
} // namespace zq_net
