// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "zq_net/burst_size.h"
#include "zq_net/datagram_reader.h"
#include "zq_net/read_pacing.h"
#include "zq_net_source/zq_net_statistics.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

/// One IPv4 UDP socket and the thread that reads it. Every datagram goes to the callback, on that thread.
///
/// Closed -> open() -> receiving -> close() -> closed. A failed open() leaves no thread; the next close(), open() or
/// the destructor closes what it left. All members are for one controlling thread, except where said otherwise.
class zq_udp_source
{
public:
    /// (nanoseconds since the thread started, the bytes, their count). The bytes are valid during the call only.
    using callback = std::function<void(std::uint64_t, unsigned char*, unsigned long)>;

    /// Longest datagram delivered whole, in bytes; the socket layer cuts longer ones.
    static constexpr std::size_t max_datagram = 64000;

    /// `before_first`, if given, runs once on the receive thread before the first datagram is read; datagrams wait in
    /// the socket meanwhile. `statistics` must outlive the receiver.
    zq_udp_source(callback on_datagram, zq_net_statistics& statistics, std::function<void()> before_first = {});
    virtual ~zq_udp_source();
    zq_udp_source(const zq_udp_source&) = delete;
    zq_udp_source& operator=(const zq_udp_source&) = delete;

    /// Binds and starts the thread. `address` is used when it is a multicast group, which is then joined on
    /// `interface` (the address of a local interface; "" is the system's choice). For a unicast `address` only
    /// `interface` counts: the local address to bind, "" for all. Only the low 16 bits of `port` count.
    /// On failure prints the failed call to standard output and returns false.
    bool open(const std::string& address, std::uint32_t port, const std::string& interface);

    /// For a receiver that could not be opened: runs `before_first` on a thread all the same, which then ends. It is
    /// stopped and collected like one that receives.
    void run_before_first();

    /// Asks the thread to end and wakes it from its wait for data; it begins no callback any more.
    void ask_to_stop();

    /// Asks the thread to stop and joins it, then closes the socket. Waits for a running callback, however long it
    /// takes. Not callable on the receive thread.
    void close();

    /// As close(), but gives up when the callback is still running `callback_grace` after the call, or when called
    /// on the receive thread: the socket is closed, the thread ends with its callback, and the result is false.
    /// Call it again, or close(), to collect the thread.
    [[nodiscard]] bool close_for(std::chrono::milliseconds callback_grace);

    /// Lets go of a thread that close_for() could not collect: when it ends, it closes this receiver and drops
    /// `owner`, which must be what keeps this object alive.
    void abandon(std::shared_ptr<void> owner);

    /// True once a stop was asked for. For the callback, to end a wait of its own.
    [[nodiscard]] bool stopping() const { return m_stopping.load(std::memory_order_acquire); }

    /// Waits up to 1 s for a datagram and receives it. Its size, 0 when none came (or an empty one), or -1 with
    /// errno set when receiving failed. Not for use beside a running receive thread.
    int read(unsigned char* buffer, unsigned long size);

    /// What the callback's time stamps count from. For the receive thread only.
    [[nodiscard]] std::chrono::steady_clock::time_point thread_start() const { return m_thread_start; }

    /// 224.0.0.0 to 239.255.255.255, both included. What does not parse is not multicast.
    [[nodiscard]] static bool isMulticast(const std::string& address);

    /// Receives on the calling thread until `stop` is ready, which it notices within 1 s.
    void work_thread(std::future<void>&& stop);

private:
    /// What the bit rate is measured over.
    struct rate_interval
    {
        std::chrono::steady_clock::time_point start;
        std::uint64_t bytes = 0;
    };

    static constexpr std::size_t most_at_once = 16; // datagrams in one call
    static constexpr std::size_t slot_size = 2048;  // for each; the reader has room for longer ones
    static constexpr int longest_wait_ms = 1000;
    static constexpr int endless = -1;

    bool bind_multicast(const std::string& address, std::uint16_t port, const std::string& interface);
    bool bind_unicast(std::uint16_t port, const std::string& interface);
    void start_thread(bool receives);
    bool wait_for_data(int socket, int wait_ms) const;
    int receive(zq_net::datagram_reader& reader, unsigned char* memory);
    void hand_over(const zq_net::datagram_reader::datagram& datagram, rate_interval& interval);
    bool wait_ended(std::chrono::milliseconds callback_grace);
    void close_socket();
    template <class Call>
    void call_out(const Call& call);

    // Read by the receive thread outside callbacks only; close_for() closes it while that thread is inside one.
    std::atomic<int> m_socket{-1};
    std::thread m_thread;
    std::shared_ptr<std::promise<void>> m_stop_promise;
    int m_wait_ms = longest_wait_ms; // of work_thread() for one datagram
    zq_net::burst_size m_burst{most_at_once};
    zq_net::read_pacing m_pacing;
    bool m_more = false; // datagrams are likely to be there still
    callback m_callback;
    zq_net_statistics& m_statistics;
    std::function<void()> m_before_first;
    std::chrono::steady_clock::time_point m_thread_start{};

    std::atomic<bool> m_stopping{false};
    std::atomic<bool> m_in_callback{false};
    std::mutex m_end_mutex;
    std::condition_variable m_end_changed;
    bool m_ended = true;
    std::shared_ptr<void> m_owner;
};
