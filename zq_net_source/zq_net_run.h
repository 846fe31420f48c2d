// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "zq_net_source/zq_data_provider.h"
#include "zq_net_source/zq_net_pad.h"
#include "zq_net_source/zq_net_statistics.h"
#include "zq_net_source/zq_udp_source.h"

#include <chrono>
#include <cstdint>
#include <future>
#include <memory>
#include <mutex>
#include <string>

/// What an application sets on the element; a run works with the values of its start.
struct zq_net_settings
{
    std::string address;
    std::uint16_t port = 0;
    std::string interface;
    int input_type = 0;
    std::uint8_t plp = 0;
};

/// All that lives from one start of the element to its stop: receiver, provider, pool and segment state.
///
/// A receive thread that sits in a push which downstream holds cannot be joined. Such a run is set aside as a whole,
/// so the thread never meets anything that belongs to a later run, and is collected when the push has come back.
class zq_net_run
{
public:
    zq_net_run(std::shared_ptr<zq_net_pad> pad, std::shared_ptr<zq_net_statistics> statistics,
               zq_net_settings settings);

    /// Opens the receiver, whose thread negotiates and makes the provider before it reads the first datagram. Waits
    /// up to `grace` for that: downstream may hold it for as long as this very state change is not over. A receiver
    /// that could not be opened leaves only stream-start and caps, sent by that thread too.
    /// `predecessor`, if given, is a run set aside; this one negotiates when the push that holds it has come back.
    void start(std::shared_ptr<zq_net_run> predecessor, std::chrono::milliseconds grace);

    /// Stops the thread and releases provider and pool, in this order. False when the thread was still in a push
    /// `grace` later, or is the caller's; call it again then, or abandon().
    [[nodiscard]] bool stop(std::chrono::milliseconds grace);

    /// The predecessor that this run still waited for when it was stopped, if any.
    [[nodiscard]] std::shared_ptr<zq_net_run> take_predecessor() { return std::move(m_predecessor); }

    /// Leaves `run`, which stop() could not end, to its thread: it is destroyed when that ends.
    static void abandon(std::shared_ptr<zq_net_run> run);

private:
    bool push_data(std::uint64_t timestamp, unsigned char* data, std::uint64_t size);
    void prepare();
    bool neogation();
    bool net_neogation();
    bool announce();
    bool wait_for_predecessor();
    void send_segment(std::uint64_t start);
    void make_provider();

    std::shared_ptr<zq_net_pad> m_pad;
    std::shared_ptr<zq_net_statistics> m_statistics;
    zq_net_settings m_settings;
    std::shared_ptr<zq_net_run> m_predecessor;
    std::promise<void> m_prepared;
    bool m_silent = false; // the receiver could not be opened: nothing will need a pool
    bool m_segment_pending = true;
    std::chrono::steady_clock::time_point m_start_time{};
    // Destroyed from the last to the first: the thread ends before what it uses.
    std::mutex m_pool_mutex; // for the pointer, which the receive thread sets while stop() may read it
    std::shared_ptr<GstBufferPool> m_pool;
    std::shared_ptr<zq_data_provider> m_provider;
    zq_udp_source m_receiver;
};
