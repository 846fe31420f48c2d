// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "support/net_sandbox.h"
#include "zq_net/ip_address.h"

#include <net/if.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace support
{
inline bool run_quietly(const std::string& command)
{
    return std::system(("{ " + command + "; } >/dev/null 2>&1").c_str()) == 0;
}

/// A network interface that is there as long as this is, in the network of this process alone, with addresses that are
/// set aside for documentation.
class made_interface
{
public:
    explicit made_interface(std::string name = "zq0", unsigned number = 0)
        : m_name{std::move(name)},
          m_ipv4{"192.0.2." + std::to_string(5 + 64 * number)},
          m_ipv6{"2001:db8:" + std::to_string(number) + "::5"},
          m_made{in_net_sandbox() && make()},
          m_has_ipv6{m_made && add_ipv6(m_ipv6) && add_ipv6("fe80::5")}
    {}
    ~made_interface()
    {
        // Elsewhere one of this name would be somebody's.
        if (in_net_sandbox())
            run_quietly("ip link del " + m_name);
    }
    made_interface(const made_interface&) = delete;
    made_interface& operator=(const made_interface&) = delete;

    /// False without a network of this process alone, and without the program ip.
    [[nodiscard]] bool is_made() const { return m_made; }
    [[nodiscard]] bool has_ipv6() const { return m_has_ipv6; }
    [[nodiscard]] const std::string& name() const { return m_name; }
    [[nodiscard]] unsigned index() const { return ::if_nametoindex(m_name.c_str()); }
    [[nodiscard]] const std::string& ipv4() const { return m_ipv4; }
    [[nodiscard]] const std::string& ipv6() const { return m_ipv6; }

    bool add_ipv6(const std::string& address) const
    {
        return run_quietly("ip addr add " + address + "/64 dev " + m_name + " nodad");
    }

private:
    bool make() const
    {
        const std::string peer = m_name + "peer";
        return run_quietly("ip link add " + m_name + " type veth peer name " + peer + " && ip addr add " + m_ipv4 +
                           "/26 dev " + m_name + " && ip link set " + m_name + " up && ip link set " + peer + " up");
    }

    std::string m_name, m_ipv4, m_ipv6;
    bool m_made, m_has_ipv6;
};

/// Sends to a group on one interface; those of this host who joined it there get it back. `from` is an address of the
/// interface, or empty for the system's choice.
inline void send_to_group(const std::string& interface, const std::string& group, std::uint16_t port,
                          const std::vector<unsigned char>& datagram, const std::string& from = "")
{
    const auto index = static_cast<int>(::if_nametoindex(interface.c_str()));
    auto target = *zq_net::ip_address::read(group, port);
    target.set_scope(static_cast<unsigned>(index));
    const int socket = ::socket(target.family(), SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ip_mreqn out{};
    out.imr_ifindex = index;
    if (target.family() == AF_INET6)
        ::setsockopt(socket, IPPROTO_IPV6, IPV6_MULTICAST_IF, &index, sizeof(index));
    else
        ::setsockopt(socket, IPPROTO_IP, IP_MULTICAST_IF, &out, sizeof(out));
    if (!from.empty()) {
        const auto source = *zq_net::ip_address::read(from);
        ::bind(socket, source.get(), source.size());
    }
    ::sendto(socket, datagram.data(), datagram.size(), 0, target.get(), target.size());
    ::close(socket);
}
} // namespace support
