// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdint>
#include <optional>
#include <string>

namespace zq_net
{
/// An IPv4 or IPv6 address with a port, in the form that the socket calls take.
class ip_address
{
public:
    /// A number, not a name: "192.0.2.1", "2001:db8::1", "fe80::1%eth0". Nothing when `text` is something else.
    [[nodiscard]] static std::optional<ip_address> read(const std::string& text, std::uint16_t port = 0);
    /// All addresses of a family, AF_INET or AF_INET6.
    [[nodiscard]] static ip_address any(int family, std::uint16_t port);
    /// What a socket call gave; nothing for families other than the two.
    [[nodiscard]] static std::optional<ip_address> from(const sockaddr* given);

    [[nodiscard]] int family() const { return m_storage.ss_family; }
    [[nodiscard]] std::uint16_t port() const;
    void set_port(std::uint16_t port);
    /// For addresses that mean something on one link only: the index of its interface. 0: none given, or of IPv4.
    [[nodiscard]] unsigned scope() const { return family() == AF_INET6 ? v6().sin6_scope_id : 0; }
    void set_scope(unsigned interface_index);
    [[nodiscard]] bool is_multicast() const;
    [[nodiscard]] bool is_any() const;
    /// Equal but for the port. Two hosts on two links may have the same address.
    [[nodiscard]] bool same_host(const ip_address& other) const;

    [[nodiscard]] const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&m_storage); }
    [[nodiscard]] socklen_t size() const { return family() == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in); }
    [[nodiscard]] const sockaddr_storage& storage() const { return m_storage; }

    /// "192.0.2.1:5000", "[2001:db8::1]:5000".
    [[nodiscard]] std::string text() const;

private:
    sockaddr_in& v4() { return reinterpret_cast<sockaddr_in&>(m_storage); }
    sockaddr_in6& v6() { return reinterpret_cast<sockaddr_in6&>(m_storage); }
    const sockaddr_in& v4() const { return reinterpret_cast<const sockaddr_in&>(m_storage); }
    const sockaddr_in6& v6() const { return reinterpret_cast<const sockaddr_in6&>(m_storage); }

    sockaddr_storage m_storage{};
};

/// A network interface of this host.
struct network_interface
{
    unsigned index = 0;
    std::optional<ip_address> address; ///< its first one of the family that was asked for
};

/// By its name or by one of its addresses. Nothing when this host has none such.
[[nodiscard]] std::optional<network_interface> find_interface(const std::string& name_or_address, int family);
/// Whether the interface of this name has the address, be it its first one or another.
[[nodiscard]] bool interface_has(const std::string& name, const ip_address& address);
/// The one that the routing table chooses for what is sent to `target`.
[[nodiscard]] std::optional<network_interface> interface_towards(const ip_address& target);
} // namespace zq_net
