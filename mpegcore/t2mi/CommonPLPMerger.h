// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/t2mi/L1Current.h"
#include "mpegcore/t2mi/PacketClock.h"
#include "mpegcore/t2mi/RelaxedCounter.h"
#include "mpegcore/t2mi/UserPacketReader.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <vector>

namespace mpegcore
{
/// Puts the packets of the common PLP of a group back into its data PLPs (ETSI EN 302 755, annex D): the transport
/// streams of a group have one rate, and a packet that all of them have is sent once, in the common PLP; each data PLP
/// has a null packet in its place. Which place that is, the input stream synchroniser tells: both come with the same
/// ISCR. It has to have its long form, 3 bytes; the short one begins anew too often.
///
/// A null packet of a data PLP waits until the common PLP has got as far, and what stands behind it waits with it: for
/// at most `longest_wait` or `most_waiting` packets. What has no time goes through as it is.
///
/// Deleted null packets must have been put back in all that is put in.
///
/// Memory: for each data PLP of a group with a common PLP up to most_waiting packets, for each common one up to
/// most_common.
class CommonPLPMerger
{
public:
    static constexpr std::size_t most_waiting = 4096;
    static constexpr std::size_t most_common = 2048;
    static constexpr std::int32_t longest_wait = 3 << 19; ///< elementary periods; 0.17 s in a channel of 8 MHz

    /// Called inside the methods below, none of which it may call.
    using Sink = std::function<void(std::uint8_t plp_id, const UserPacket&, bool is_behind_gap)>;

    explicit CommonPLPMerger(Sink sink) : m_sink(std::move(sink)) {}

    /// Takes the groups from L1. If they are others than before, what waits is given.
    void follow(const L1Current& L1);
    /// The PLP is the common one of a group that has data PLPs.
    bool is_common(std::uint8_t plp_id) const { return m_group_of_common.count(plp_id) != 0; }
    /// The PLP is a data PLP of a group with a common one: its packets come out of the sink.
    bool is_data(std::uint8_t plp_id) const { return m_data.count(plp_id) != 0; }

    /// Of a common or data PLP.
    void put(std::uint8_t plp_id, const UserPacket& packet, bool is_behind_gap);
    /// Gives what waits; what comes next does not follow.
    void flush();

    /// Packets of common PLPs that took the place of a null packet; any thread may read it.
    const RelaxedCounter& merged() const { return m_merged; }

private:
    struct Packet
    {
        PacketPlace place;
        bool is_null = false;
        bool is_restored_null = false;
        bool is_behind_gap = false;
        std::uint8_t ISSY_size = 0;
        std::array<unsigned char, 3> ISSY{};
        std::array<unsigned char, 188> data{};
    };

    struct Group
    {
        PacketPeriod period;
        PacketClock clock;         ///< of the common PLP
        PacketPlace newest;        ///< of its last packet
        std::deque<Packet> common; ///< its packets that are no null packets
        std::uint64_t first = 0;   ///< number of the front one, of all that came
    };

    struct Data
    {
        std::uint8_t group = 0;
        PacketClock clock;
        std::deque<Packet> waiting;
        std::uint64_t next = 0; ///< number of the first packet of the common PLP that may come next
    };

    enum class Choice
    {
        as_it_is,
        common_packet,
        wait
    };

    void put_common(Group& group, const UserPacket& packet, bool is_behind_gap);
    void put_data(std::uint8_t plp_id, Data& data, const UserPacket& packet, bool is_behind_gap);
    void give(std::uint8_t plp_id, Data& data, bool all);
    Choice choose(const Group& group, Data& data, bool all) const;
    static std::optional<std::int32_t> pass(const Group& group, Data& data, const PacketPlace& place);
    static Packet copy_of(const UserPacket& packet, const PacketPlace& place, bool is_behind_gap);
    void hand_out(std::uint8_t plp_id, const Packet& packet, bool is_behind_gap) const;

    Sink m_sink;
    std::map<std::uint8_t, std::uint8_t> m_group_of_common; ///< PLP_GROUP_ID by PLP_ID
    std::map<std::uint8_t, Group> m_groups;                 ///< by PLP_GROUP_ID
    std::map<std::uint8_t, Data> m_data;                    ///< by PLP_ID
    RelaxedCounter m_merged;
};
} // namespace mpegcore
