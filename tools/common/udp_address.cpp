// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/common/udp_address.h"

#include "tools/common/parse_number.h"

#include <cerrno>
#include <cstring>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tools
{
namespace
{
constexpr std::string_view scheme = "udp://";
constexpr int receive_buffer = 4 << 20;

/// False when it is none; an empty text is INADDR_ANY.
bool parse_address(const std::string& text, in_addr& address)
{
    address.s_addr = htonl(INADDR_ANY);
    return text.empty() || inet_pton(AF_INET, text.c_str(), &address) == 1;
}

bool is_multicast(const in_addr& address) { return IN_MULTICAST(ntohl(address.s_addr)); }

bool join(int socket, const in_addr& group, const in_addr& source, const in_addr& interface)
{
    if (source.s_addr != htonl(INADDR_ANY)) {
        ip_mreq_source request{};
        request.imr_multiaddr = group;
        request.imr_sourceaddr = source;
        request.imr_interface = interface;
        return setsockopt(socket, IPPROTO_IP, IP_ADD_SOURCE_MEMBERSHIP, &request, sizeof request) == 0;
    }
    ip_mreq request{};
    request.imr_multiaddr = group;
    request.imr_interface = interface;
    return setsockopt(socket, IPPROTO_IP, IP_ADD_MEMBERSHIP, &request, sizeof request) == 0;
}

bool bind_to(int socket, const in_addr& address, std::uint16_t port)
{
    sockaddr_in name{};
    name.sin_family = AF_INET;
    name.sin_addr = address;
    name.sin_port = htons(port);
    const int one = 1;
    // Without the larger buffer it works, too.
    static_cast<void>(setsockopt(socket, SOL_SOCKET, SO_RCVBUF, &receive_buffer, sizeof receive_buffer));
    return setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one) == 0 &&
           bind(socket, reinterpret_cast<const sockaddr*>(&name), sizeof name) == 0;
}
} // namespace

bool is_udp_address(std::string_view text) { return text.substr(0, scheme.size()) == scheme; }

std::optional<udp_address> parse_udp_address(std::string_view text)
{
    if (!is_udp_address(text))
        return std::nullopt;
    text.remove_prefix(scheme.size());
    udp_address address;
    if (const auto at = text.find('@'); at != std::string_view::npos) {
        address.source = text.substr(0, at);
        text.remove_prefix(at + 1);
    }
    const auto colon = text.rfind(':');
    if (colon == std::string_view::npos || !parse_number(text.substr(colon + 1), address.port) || address.port == 0)
        return std::nullopt;
    address.group = text.substr(0, colon);
    return address;
}

int open_udp_socket(const udp_address& address, const std::string& interface, std::string& fault)
{
    in_addr group{};
    in_addr source{};
    in_addr local{};
    const auto bad = [&fault](const std::string& text) {
        fault = "\"" + text + "\" is no IPv4 address";
        return -1;
    };
    if (!parse_address(address.group, group))
        return bad(address.group);
    if (!parse_address(address.source, source))
        return bad(address.source);
    if (!parse_address(interface, local))
        return bad(interface);
    const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (descriptor >= 0 && bind_to(descriptor, group, address.port) &&
        (!is_multicast(group) || join(descriptor, group, source, local)))
        return descriptor;
    fault = std::strerror(errno);
    if (descriptor >= 0)
        close(descriptor);
    return -1;
}
} // namespace tools
