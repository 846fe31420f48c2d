// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "support/watchdog.h"
#include "zq_net_source/zq_udp_source.h"

#include <mutex>
#include <string>
#include <vector>

namespace support
{
/// A receiver that keeps every datagram it was given.
struct receiving
{
    zq_net_statistics statistics;
    std::mutex mutex;
    std::vector<std::vector<unsigned char>> datagrams;
    std::vector<std::uint64_t> times;
    zq_udp_source source{[this](std::uint64_t time, unsigned char* data, unsigned long size) {
                             const std::lock_guard lock{mutex};
                             datagrams.emplace_back(data, data + size);
                             times.push_back(time);
                         },
                         statistics};
    watchdog guard;

    std::size_t count()
    {
        const std::lock_guard lock{mutex};
        return datagrams.size();
    }
    std::string last_error() const { return statistics.get_items()[3].second; }
    std::string bit_rate() const { return statistics.get_items()[2].second; }
};
} // namespace support
