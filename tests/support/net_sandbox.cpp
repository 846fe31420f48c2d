// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/net_sandbox.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <net/route.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>

namespace support
{
namespace
{
bool sandboxed = false;

sockaddr address_of(const char* text)
{
    sockaddr_in internet{};
    internet.sin_family = AF_INET;
    internet.sin_addr.s_addr = ::inet_addr(text);
    sockaddr generic{};
    static_assert(sizeof(generic) == sizeof(internet));
    std::memcpy(&generic, &internet, sizeof(generic));
    return generic;
}

bool bring_loopback_up(int socket)
{
    ifreq request{};
    std::strcpy(request.ifr_name, "lo");
    request.ifr_flags = IFF_UP | IFF_RUNNING | IFF_LOOPBACK | IFF_MULTICAST;
    return ::ioctl(socket, SIOCSIFFLAGS, &request) == 0;
}

bool route_multicast_to_loopback(int socket)
{
    char device[] = "lo";
    rtentry route{};
    route.rt_dst = address_of("224.0.0.0");
    route.rt_genmask = address_of("240.0.0.0");
    route.rt_gateway = address_of("0.0.0.0");
    route.rt_flags = RTF_UP;
    route.rt_dev = device;
    return ::ioctl(socket, SIOCADDRT, &route) == 0;
}
} // namespace

bool enter_net_sandbox()
{
    if (::unshare(CLONE_NEWNET) != 0 && ::unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0)
        return false;
    const int socket = ::socket(AF_INET, SOCK_DGRAM, 0);
    sandboxed = bring_loopback_up(socket) && route_multicast_to_loopback(socket);
    ::close(socket);
    return sandboxed;
}

bool in_net_sandbox() { return sandboxed; }
} // namespace support
