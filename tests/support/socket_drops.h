// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace support
{
/// What the kernel dropped of the IPv4 UDP socket on `port`, by its own list of sockets.
inline std::uint64_t socket_drops(std::uint16_t port)
{
    std::ifstream list{"/proc/thread-self/net/udp"};
    std::string line;
    std::getline(list, line); // the head
    while (std::getline(list, line)) {
        std::istringstream columns{line};
        std::string number, local, last;
        columns >> number >> local;
        while (columns >> last) {
        }
        if (std::strtoul(local.substr(local.find(':') + 1).c_str(), nullptr, 16) == port)
            return std::strtoull(last.c_str(), nullptr, 10);
    }
    throw std::runtime_error("no socket on port " + std::to_string(port));
}
} // namespace support
