// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "tools/monitor/watched_stream.h"

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace monitor
{
/// The streams that are watched, in the order of their list.
using stream_set = std::vector<std::shared_ptr<watched_stream>>;

/// A thread that looks after its streams at each tick.
class receiver
{
public:
    explicit receiver(unsigned tick_ms);
    ~receiver();
    receiver(const receiver&) = delete;
    receiver& operator=(const receiver&) = delete;

    /// These instead of those before, from the next tick on. What is in both goes on undisturbed; the others let go
    /// of their ports before any of the new ones is opened.
    void look_after(stream_set streams);

private:
    void run();
    void take_over();

    const std::uint64_t m_tick; ///< nanoseconds
    std::atomic<bool> m_ended{false};
    std::mutex m_mutex;
    bool m_has_next = false;
    stream_set m_next;
    stream_set m_streams; ///< the thread's
    std::thread m_thread;
};

/// All receivers of the process, and who looks after which stream.
class receivers
{
public:
    receivers(unsigned threads, unsigned tick_ms);

    /// Watches these instead of those before; streams whose settings stayed the same are left alone. `streams` have
    /// different names.
    void watch(const std::vector<stream_settings>& streams);
    [[nodiscard]] const stream_set& streams() const { return m_streams; }

private:
    std::vector<std::unique_ptr<receiver>> m_receivers;
    stream_set m_streams;
    std::map<std::string, std::size_t> m_places; ///< which receiver, by the name of the stream
};
} // namespace monitor
