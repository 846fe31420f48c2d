// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "support/watchdog.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <ctime>
#include <stdexcept>
#include <thread>

namespace support
{
/// Waits, while being made, until the kernel stamps datagrams when they come. The kernel begins to a moment after the
/// first socket asked for it, and until then stamps them when they are read. It goes on for as long as this lives.
class kernel_stamps
{
public:
    kernel_stamps()
    {
        const int on = 1;
        sockaddr_in own{};
        own.sin_family = AF_INET;
        own.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof own;
        auto* const address = reinterpret_cast<sockaddr*>(&own);
        if (::setsockopt(m_socket, SOL_SOCKET, SO_TIMESTAMPNS, &on, sizeof on) != 0 ||
            ::bind(m_socket, address, size) != 0 || ::getsockname(m_socket, address, &size) != 0)
            throw std::runtime_error("kernel_stamps: no socket");
        int in_a_row = 0;
        if (!eventually([&] {
                ::sendto(m_socket, "", 1, 0, address, size);
                std::this_thread::sleep_for(std::chrono::milliseconds{5});
                in_a_row = age_of_next() > 4000000 ? in_a_row + 1 : 0;
                return in_a_row == 3;
            }))
            throw std::runtime_error("kernel_stamps: none");
    }
    ~kernel_stamps() { ::close(m_socket); }
    kernel_stamps(const kernel_stamps&) = delete;
    kernel_stamps& operator=(const kernel_stamps&) = delete;

private:
    /// Nanoseconds between the stamp of the next datagram and now.
    long age_of_next() const
    {
        char byte = 0;
        iovec place{&byte, 1};
        alignas(cmsghdr) char control[CMSG_SPACE(sizeof(timespec))];
        msghdr header{};
        header.msg_iov = &place;
        header.msg_iovlen = 1;
        header.msg_control = control;
        header.msg_controllen = sizeof control;
        if (::recvmsg(m_socket, &header, 0) < 0 || CMSG_FIRSTHDR(&header) == nullptr)
            return 0;
        timespec stamp{}, now{};
        std::memcpy(&stamp, CMSG_DATA(CMSG_FIRSTHDR(&header)), sizeof stamp);
        ::clock_gettime(CLOCK_REALTIME, &now);
        return (now.tv_sec - stamp.tv_sec) * 1000000000 + now.tv_nsec - stamp.tv_nsec;
    }

    const int m_socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
};
} // namespace support
