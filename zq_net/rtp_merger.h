// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "zq_net/piece.h"
#include "zq_net/reorder_window.h"
#include "zq_net/rtp_packet.h"
#include "zq_net/sequence_tracker.h"

#include <cstdint>
#include <vector>

namespace zq_net
{
/// One stream out of RTP packets that come on one way (leg), or on two that carry the same packets (SMPTE ST 2022-7):
/// the first copy of a number counts, so nothing is missing unless both legs lost it.
///
/// Another SSRC or a far sequence number is taken for a sender that began anew. With two legs it is so only when no
/// other leg still carries the old one; until then what the leg brings of the new one is foreign. The old
/// sender, should it send on, is then ignored as long as the new one does. A packet without payload begins no other.
class rtp_merger
{
public:
    struct leg_counters
    {
        std::uint64_t received = 0;  ///< packets of the stream, repeated ones too
        std::uint64_t repeated = 0;  ///< came twice on this leg
        std::uint64_t second = 0;    ///< had come on the other leg before
        std::uint64_t lost = 0;      ///< this leg did not bring; falls when one comes late
        std::uint64_t foreign = 0;   ///< of another sender, dropped
        std::uint64_t reordered = 0; ///< behind one with a higher number
    };

    /// `legs`: 1 or 2.
    rtp_merger(std::size_t legs, const reorder_window::limits& limits);

    /// What becomes due goes to `out`; the payload is borrowed from `packet` until `out` is cleared.
    void put(std::size_t leg, const rtp_packet& packet, std::uint64_t arrival, piece_list& out);
    /// What comes next continues nothing: it was not listened for a while. Nothing of that counts as lost.
    void forget();
    /// All legs have been read up to `now`: ends the waiting for what should have come by then.
    void advance(std::uint64_t now, piece_list& out);

    [[nodiscard]] std::uint64_t deadline() const { return m_window.deadline(); }
    [[nodiscard]] const leg_counters& counters(std::size_t leg) const { return m_legs[leg].counters; }
    /// Packets that no leg brought in time.
    [[nodiscard]] std::uint64_t lost() const { return m_window.lost(); }
    /// Came when waiting for them had ended; they count as lost, too.
    [[nodiscard]] std::uint64_t late() const { return m_late; }
    [[nodiscard]] std::uint64_t sender_changes() const { return m_sender_changes; }

private:
    /// So long after its last packet a sender counts as gone.
    static constexpr std::uint64_t silence = 1'000'000'000;

    struct leg_state
    {
        sequence_tracker tracker;
        leg_counters counters;
        std::uint64_t lost_before = 0; // by trackers of earlier senders
        std::uint32_t SSRC = 0;
        std::uint64_t last_arrival = 0;
        std::uint64_t last_counted = 0; // arrival of the last one that was not strange
        bool carries = false;           // the stream, as far as is known
        bool aside = false;             // counts anew from a lower number, which the stream does not follow yet
        std::vector<unsigned char> suspect;
        std::uint64_t suspect_arrival = 0;
    };

    bool is_of_the_stream(leg_state& from, const rtp_packet& packet, std::uint64_t arrival, piece_list& out);
    bool carried_elsewhere(const leg_state& but, std::uint64_t arrival) const;
    void begin(leg_state& from, const rtp_packet& packet, piece_list& out);
    void pass(leg_state& from, std::uint16_t sequence_number, const piece& payload, piece_list& out);
    void restart(leg_state& from, const rtp_packet& packet, std::uint64_t arrival, piece_list& out);
    void forget_count(leg_state& leg);
    bool fits(std::uint16_t sequence_number) const;
    bool is_due(std::uint16_t sequence_number) const;

    reorder_window m_window;
    std::uint64_t m_history;
    std::vector<leg_state> m_legs;
    bool m_started = false;
    bool m_anew = false; // for the next payload
    std::uint32_t m_SSRC = 0;
    bool m_has_former = false;
    std::uint32_t m_former_SSRC = 0;
    std::uint64_t m_last_arrival = 0; // of a packet of the stream
    std::uint64_t m_advanced_to = 0;
    std::uint64_t m_late = 0;
    std::uint64_t m_sender_changes = 0;
};
} // namespace zq_net
