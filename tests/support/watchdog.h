// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace support
{
/// Turns a hang into a failure: ends the process when it lives longer than `limit`.
class watchdog
{
public:
    explicit watchdog(std::chrono::seconds limit = std::chrono::seconds{120});
    ~watchdog();

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_done = false;
    std::thread m_thread;
};

/// Waits, at most as long as a slow machine may need, until `reached` says so. The result is its last answer.
bool eventually(const std::function<bool()>& reached, std::chrono::seconds limit = std::chrono::seconds{30});
} // namespace support
