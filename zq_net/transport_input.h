// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "zq_net/burst_size.h"
#include "zq_net/continuity_check.h"
#include "zq_net/crowd.h"
#include "zq_net/datagram_kind.h"
#include "zq_net/input_figures.h"
#include "zq_net/input_leg.h"
#include "zq_net/nanoseconds.h"
#include "zq_net/piece.h"
#include "zq_net/read_pacing.h"
#include "zq_net/rtp_merger.h"
#include "zq_net/ts_aligner.h"
#include "zq_net/wakeable_wait.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace zq_net
{
struct input_settings
{
    std::vector<udp_settings> legs;     ///< one, or two that bring the same RTP packets
    rtp_mode rtp = rtp_mode::automatic; ///< two legs are always taken for RTP
    bool align = true;                  ///< give whole packets; otherwise the bytes as they come
    unsigned batch_time = 0;            ///< milliseconds to wait behind a datagram for more
    unsigned longest_wait = 0;          ///< milliseconds after which receive() says so when nothing came; 0: never
    bool notes = false;                 ///< keep in notes() what each datagram was
    bool waits = true; ///< false: receive() takes what lies there and comes back at once, whatever batch_time says
    bool joins = true; ///< pieces() may put datagrams of a few milliseconds together, under one arrival
};

/// One datagram, without its bytes.
struct datagram_note
{
    std::uint64_t arrival = 0;    ///< nanoseconds of the system's real-time clock
    std::size_t payload_size = 0; ///< bytes behind the headers of UDP and RTP
};

/// Receives a transport stream from UDP: sockets, RTP, order, packets, counting. One thread receives; others may
/// interrupt it and read the figures.
class transport_input
{
public:
    enum class result
    {
        data,        ///< pieces() has something
        nothing,     ///< nothing for `longest_wait`, or nothing of use came
        interrupted, ///< until resume()
        failed,      ///< error() says why
    };
    static constexpr std::size_t most_slots = 64;
    static constexpr std::size_t slots_in_silence = 2; ///< for a leg
    /// Datagrams that a packet out of order waits for at most, and nanoseconds.
    static constexpr std::uint64_t reorder_wait_one_leg = 20'000'000;
    static constexpr std::uint64_t reorder_wait_two_legs = 50'000'000;

    /// False with a sentence in error().
    [[nodiscard]] bool open(const input_settings& settings);
    void close();
    [[nodiscard]] const std::string& error() const { return m_error; }
    /// Why what an interface has become cannot be received on, which is tried again each second; empty when it can.
    [[nodiscard]] std::string follow_error() const;

    /// Lets datagrams gather where that is worth it, as receive() begins with otherwise, so that the memory for it need
    /// not be had meanwhile. A receive() behind a rest takes what came, and says so at once when nothing did; then
    /// there is no rest until something does. interrupt() ends it.
    void rest();
    /// Receives into `memory`, which has room for `slots` datagrams of `slot_size` bytes (for two legs at least two).
    /// What pieces() lend lies there or in the input itself, until the next call.
    [[nodiscard]] result receive(unsigned char* memory, std::size_t slots, std::size_t slot_size);
    [[nodiscard]] const piece_list& pieces() const { return m_pieces; }
    /// Those of the last receive() as they came, with input_settings::notes.
    [[nodiscard]] const std::vector<datagram_note>& notes() const { return m_notes; }
    /// True when the last receive() filled the memory that it had for a leg, so that there may be more.
    [[nodiscard]] bool has_more() const { return m_read > 0 && m_has_more; }

    /// Room that the next receive() is best given, behind a rest() if there is to be one: as many datagrams as are
    /// likely to be there, of the size they had; few where it may wait for long.
    [[nodiscard]] std::size_t wanted_slots() const
    {
        const std::size_t legs = m_settings.legs.size();
        if (m_settings.waits && !m_rested && !is_worth_a_rest() && m_read <= 1)
            return std::min(m_burst.next(), slots_in_silence) * legs;
        return std::max(m_burst.next(), std::min(m_pacing.expected(how_patient()), most_slots / legs)) * legs;
    }
    [[nodiscard]] std::size_t wanted_slot_size() const { return m_slot_size; }

    /// From any thread: ends a receive() and all that follow, until resume().
    void interrupt();
    /// From any thread, while nobody is in rest() or receive(). What came in between is not received.
    void resume();
    /// From any thread. While idle an open input drops what comes, uncounted, so receive() gives nothing. What came
    /// before it was set to false is dropped, what comes from then on is not, whoever waits in receive() meanwhile.
    void set_idle(bool idle);

    /// From any thread.
    [[nodiscard]] input_figures figures();
    /// True since a datagram of RTP was seen.
    [[nodiscard]] bool sees_rtp() const { return m_sees_rtp; }
    /// How long a datagram may lie unread for others to come, in nanoseconds: the batch time, or the rest that a dense
    /// stream is given without one, which is longer in a crowd; 0 where receive() does not wait. It changes in open()
    /// and receive() only, and holds from then on.
    [[nodiscard]] std::uint64_t batch_wait() const
    {
        if (m_settings.batch_time > 0)
            return m_settings.batch_time * ms;
        return m_settings.waits ? how_patient().longest_rest : 0;
    }
    /// How long a packet may wait for those before it, in nanoseconds.
    [[nodiscard]] std::uint64_t reorder_wait() const;
    /// The address that the first leg receives on.
    [[nodiscard]] ip_address address() const { return m_legs.front().socket.address(); }

private:
    bool open_sockets();
    result wait_and_read(unsigned char* memory, std::size_t slots, std::size_t slot_size, bool rested);
    [[nodiscard]] const read_pacing::patience& how_patient() const
    {
        return m_in_a_crowd ? read_pacing::in_a_crowd : read_pacing::alone;
    }
    [[nodiscard]] bool is_worth_a_rest() const;
    bool let_gather();
    void wait_for_any();
    unsigned wait_limit(const input_leg& leg) const;
    bool wait_for_more();
    bool wait_until(std::uint64_t until);
    int read_leg(std::size_t leg, unsigned char* memory, std::size_t used, std::size_t slots, std::size_t slot_size,
                 bool wait);
    void begin_anew();
    void take_from(input_leg& leg, std::uint64_t fresh_from);
    bool is_stale(input_leg& leg, std::uint64_t arrival);
    void take(std::size_t leg, const datagram_reader::datagram& datagram);
    void note(std::uint64_t arrival, std::size_t payload_size);
    void take_bytes(piece bytes);
    void deliver();
    void look_at_packets();
    void follow_interfaces();
    void publish(std::uint64_t now);

    input_settings m_settings;
    std::string m_error;
    std::vector<input_leg> m_legs; // sockets opened and closed under m_mutex
    datagram_kind m_kind{rtp_mode::automatic};
    rtp_merger m_merger{1, {}};
    ts_aligner m_aligner;
    continuity_check m_continuity;
    sender_list m_senders;
    piece_list m_ordered{0};     // payloads in order, before the packets are found in them
    std::size_t m_delivered = 0; // of them
    piece_list m_pieces;
    std::vector<datagram_note> m_notes;
    std::size_t m_looked_at = 0;       // pieces whose packets were looked at, all but the last to the end
    std::size_t m_looked_at_bytes = 0; // of the piece behind them
    burst_size m_burst{most_slots};    // of one leg
    read_pacing m_pacing;
    crowd::member m_place;     // in the crowd, while open and waiting without a batch time
    bool m_in_a_crowd = false; // as of the last receive()
    bool m_has_more = false;   // the last read ended where its memory did
    bool m_flowing = false;
    bool m_rested = false;  // since the last receive()
    bool m_ran_dry = false; // nothing came in a rest, nor since
    bool m_anew = false;    // for the next bytes: something is missing in front of them
    std::atomic<bool> m_sees_rtp{false};
    std::size_t m_slot_size = 7 * ts_packet_size;
    std::size_t m_read = 0; // datagrams of this receive()
    std::uint64_t m_last_arrival = 0;
    std::uint64_t m_not_ts = 0;
    std::uint64_t m_interval_start = 0;
    std::uint64_t m_interval_bytes = 0;
    std::uint64_t m_bit_rate = 0;
    std::uint64_t m_begun_from = 0;             // the last m_fresh_from that took effect
    std::atomic<std::uint64_t> m_fresh_from{0}; // by real_time(): what came before is dropped

    std::mutex m_mutex;
    std::atomic<bool> m_interrupted{false};
    wakeable_wait m_waiting;         // ended by interrupt()
    std::atomic<bool> m_shut{false}; // sockets were interrupted and have to be opened again
    input_figures m_figures;
};
} // namespace zq_net
