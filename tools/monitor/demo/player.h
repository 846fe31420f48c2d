// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "tools/monitor/demo/packet_source.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

namespace monitor
{
/// How the packets of a source go out.
struct wire
{
    bool rtp = false;
    /// Every so often some datagrams in a row are left out; 0: never.
    std::chrono::seconds loss_interval{0};
    unsigned datagrams_lost = 3;
};

/// Sends streams to ports of the loopback in their time, seven packets a datagram, from a thread of its own.
class player
{
public:
    player();
    ~player();
    player(const player&) = delete;
    player& operator=(const player&) = delete;

    /// The port that the stream will go to, which is free at the moment; 0, with errno set, when there is none.
    [[nodiscard]] std::uint16_t add(std::unique_ptr<packet_source> source, const wire& way = {});
    /// From now on it plays; nothing may be added any more.
    void start();

private:
    class line;

    void run();

    std::vector<std::unique_ptr<line>> m_lines;
    std::atomic<bool> m_ended{false};
    std::thread m_thread;
};
} // namespace monitor
