// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/receive_buffer.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace zq_net
{
namespace
{
bool ask_for(int socket, int option, int size)
{
    return ::setsockopt(socket, SOL_SOCKET, option, &size, sizeof(size)) == 0;
}

/// What the unprivileged option would give: the kernel cuts it to a limit that may lie below a socket's default.
int obtainable_receive_buffer(int wanted)
{
    const int probe = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
    if (probe < 0)
        return 0;
    const int size = ask_for(probe, SO_RCVBUF, wanted) ? receive_buffer(probe) : 0;
    ::close(probe);
    return size;
}
} // namespace

int receive_buffer(int socket)
{
    int size = 0;
    socklen_t length = sizeof(size);
    return ::getsockopt(socket, SOL_SOCKET, SO_RCVBUF, &size, &length) == 0 ? size / 2 : 0;
}

void enlarge_receive_buffer(int socket, int wanted)
{
    const int present = receive_buffer(socket);
    if (present >= wanted || ask_for(socket, SO_RCVBUFFORCE, wanted))
        return;
    if (obtainable_receive_buffer(wanted) > present)
        ask_for(socket, SO_RCVBUF, wanted);
}
} // namespace zq_net
