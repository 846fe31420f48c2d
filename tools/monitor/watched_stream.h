// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/monitor/StreamMonitor.h"
#include "tools/monitor/delivery_meter.h"
#include "tools/monitor/moment.h"
#include "tools/monitor/note_keeper.h"
#include "tools/monitor/snapshot.h"
#include "tools/monitor/stream_settings.h"
#include "zq_net/transport_input.h"
#include "zq_net/ts_aligner.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace monitor
{
/// One stream: its socket, its analysis, and what is known of it. Work is for one thread, the receiver's; the rest for
/// any.
class watched_stream
{
public:
    static constexpr std::uint64_t retry_interval = 2'000'000'000; ///< nanoseconds, where a socket cannot be opened

    explicit watched_stream(stream_settings settings);

    [[nodiscard]] const stream_settings& settings() const { return m_settings; }
    /// What was known when it was looked at last, once a second; null: not at all yet.
    [[nodiscard]] std::shared_ptr<const snapshot> last() const;

    /// Takes in what has come, using `memory` for it, and never waits. True when there may be more.
    [[nodiscard]] bool work(const moment& now, std::vector<unsigned char>& memory);
    /// Lets go of the port.
    void close() { m_input.close(); }

private:
    void open(const moment& now);
    [[nodiscard]] bool drain(const moment& now, std::vector<unsigned char>& memory);
    void analyse(const zq_net::piece& bytes, const moment& now);
    void find_packets(const zq_net::piece& bytes, std::uint64_t arrival);
    void report(const moment& now);
    void hand_over();
    [[nodiscard]] std::shared_ptr<const snapshot> look(const moment& now);
    void look_at_input(snapshot& seen, const moment& now);
    void look_at_contents(snapshot& seen) const;
    void look_at_T2MI(snapshot& seen) const;

    const stream_settings m_settings;
    zq_net::transport_input m_input;
    bool m_is_open = false;
    std::string m_fault;
    std::uint64_t m_next_try = 0;
    std::uint64_t m_next_tick = 0;
    std::uint64_t m_next_report = 0;
    std::uint64_t m_last_arrival = 0; ///< by the clock
    zq_net::ts_aligner m_aligner;     ///< for packets that lie across datagrams
    zq_net::piece_list m_aligned;
    std::uint64_t m_not_ts = 0;
    bool m_is_rtp = false;     ///< as long as the socket brings nothing else
    bool m_was_not_ts = false; ///< the last datagram had no packets
    delivery_meter m_delivery;
    note_keeper m_notes;
    mpegcore::StreamMonitor m_monitor;

    std::shared_ptr<const snapshot> m_next_last; ///< to be handed over
    mutable std::mutex m_mutex; ///< held for the moment of handing over only; the receiver does not wait for it
    std::shared_ptr<const snapshot> m_last;
};
} // namespace monitor
