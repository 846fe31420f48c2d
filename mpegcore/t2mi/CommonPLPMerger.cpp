// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/t2mi/CommonPLPMerger.h"

#include "mpegcore/TransportPacket.h"

#include <algorithm>
#include <utility>

namespace mpegcore
{
namespace
{
bool has_null_PID(const unsigned char* packet) { return ((packet[1] & 0x1FU) << 8 | packet[2]) == null_packet_PID; }
} // namespace

void CommonPLPMerger::follow(const L1Current& L1)
{
    constexpr std::uint8_t common_type = 0;
    std::map<std::uint8_t, std::uint8_t> common, data;
    std::map<std::uint8_t, std::uint8_t> common_of_group;
    for (const auto& plp : L1.L1CONF.PLPs)
        if (plp.PLP_TYPE == common_type)
            common_of_group.emplace(plp.PLP_GROUP_ID, plp.PLP_ID);
    for (const auto& plp : L1.L1CONF.PLPs) {
        const auto of_group = common_of_group.find(plp.PLP_GROUP_ID);
        if (plp.PLP_TYPE == common_type || of_group == common_of_group.end())
            continue;
        data.emplace(plp.PLP_ID, plp.PLP_GROUP_ID);
        common.emplace(of_group->second, plp.PLP_GROUP_ID);
    }
    const bool is_same = common == m_group_of_common && data.size() == m_data.size() &&
                         std::equal(data.begin(), data.end(), m_data.begin(), [](const auto& now, const auto& before) {
                             return now.first == before.first && now.second == before.second.group;
                         });
    if (is_same)
        return;
    flush();
    m_group_of_common = std::move(common);
    m_groups.clear();
    m_data.clear();
    for (const auto& [plp_id, group] : data)
        m_data[plp_id].group = group;
}

void CommonPLPMerger::put(std::uint8_t plp_id, const UserPacket& packet, bool is_behind_gap)
{
    if (const auto common = m_group_of_common.find(plp_id); common != m_group_of_common.end()) {
        put_common(m_groups[common->second], packet, is_behind_gap);
        for (auto& [data_id, data] : m_data)
            if (data.group == common->second)
                give(data_id, data, false);
    } else if (const auto data = m_data.find(plp_id); data != m_data.end()) {
        put_data(plp_id, data->second, packet, is_behind_gap);
    }
}

void CommonPLPMerger::put_common(Group& group, const UserPacket& packet, bool is_behind_gap)
{
    // Sparse as it is, its ISCR may come round between two of its own: the data PLPs tell the period.
    const PacketPlace place = group.clock.next(packet, is_behind_gap, nullptr);
    if (!place.is_known)
        return;
    group.newest = place;
    if (has_null_PID(packet.data))
        return;
    if (group.common.size() == most_common) {
        group.common.pop_front();
        ++group.first;
    }
    group.common.push_back(copy_of(packet, place, false));
}

void CommonPLPMerger::put_data(std::uint8_t plp_id, Data& data, const UserPacket& packet, bool is_behind_gap)
{
    Group& group = m_groups[data.group];
    const PacketPlace place = data.clock.next(packet, is_behind_gap, &group.period);
    const bool may_change = place.is_known && has_null_PID(packet.data);
    if (data.waiting.empty() && !may_change) {
        // Or one whose place was lost would seem to lie ahead once ISCR has come round.
        if (place.is_known && group.period.is_known())
            static_cast<void>(pass(group, data, place));
        m_sink(plp_id, packet, is_behind_gap);
        return;
    }
    data.waiting.push_back(copy_of(packet, place, is_behind_gap));
    give(plp_id, data, false);
}

void CommonPLPMerger::give(std::uint8_t plp_id, Data& data, bool all)
{
    Group& group = m_groups[data.group];
    while (!data.waiting.empty()) {
        const Packet& first = data.waiting.front();
        const Choice choice = choose(group, data, all);
        if (choice == Choice::wait)
            return;
        if (choice == Choice::common_packet) {
            ++m_merged;
            hand_out(plp_id, group.common[static_cast<std::size_t>(data.next++ - group.first)], first.is_behind_gap);
        } else {
            hand_out(plp_id, first, first.is_behind_gap);
        }
        data.waiting.pop_front();
    }
}

/// What stands in the place of the first packet that waits.
CommonPLPMerger::Choice CommonPLPMerger::choose(const Group& group, Data& data, bool all) const
{
    const Packet& first = data.waiting.front();
    if (!first.is_null || !first.place.is_known)
        return Choice::as_it_is;
    const bool waits_no_more = all || data.waiting.size() >= most_waiting;
    if (!group.period.is_known())
        return waits_no_more ? Choice::as_it_is : Choice::wait;
    const std::uint32_t time = first.place.time(group.period);
    const auto half_period = static_cast<std::int32_t>(group.period.get() / 2);
    if (const auto ahead = pass(group, data, first.place))
        return *ahead > half_period ? Choice::as_it_is : Choice::common_packet;
    const PacketPlace& last = data.waiting.back().place;
    const bool is_common_there =
        group.newest.is_known && ISCR_difference(group.newest.time(group.period), time) > half_period;
    const bool waited_long =
        last.is_known && ISCR_difference(last.time(group.period), time) > longest_wait - half_period;
    return is_common_there || waited_long || waits_no_more ? Choice::as_it_is : Choice::wait;
}

/// Passes the packets of the common PLP that stand before `place`. How far the next is ahead, if there is one.
std::optional<std::int32_t> CommonPLPMerger::pass(const Group& group, Data& data, const PacketPlace& place)
{
    const std::uint32_t time = place.time(group.period);
    const auto half_period = static_cast<std::int32_t>(group.period.get() / 2);
    data.next = std::max(data.next, group.first);
    for (; data.next - group.first < group.common.size(); ++data.next) {
        const Packet& packet = group.common[static_cast<std::size_t>(data.next - group.first)];
        const std::int32_t ahead = ISCR_difference(packet.place.time(group.period), time);
        if (ahead >= -half_period)
            return ahead;
    }
    return std::nullopt;
}

void CommonPLPMerger::flush()
{
    for (auto& [plp_id, data] : m_data) {
        give(plp_id, data, true);
        data.clock.reset();
        data.next = 0;
    }
    m_groups.clear();
}

CommonPLPMerger::Packet CommonPLPMerger::copy_of(const UserPacket& packet, const PacketPlace& place, bool is_behind_gap)
{
    Packet copy;
    copy.place = place;
    copy.is_null = has_null_PID(packet.data);
    copy.is_restored_null = packet.is_restored_null;
    copy.is_behind_gap = is_behind_gap;
    copy.ISSY_size = packet.ISSY_size;
    std::copy_n(packet.ISSY, packet.ISSY_size, copy.ISSY.begin());
    std::copy_n(packet.data, copy.data.size(), copy.data.begin());
    return copy;
}

void CommonPLPMerger::hand_out(std::uint8_t plp_id, const Packet& packet, bool is_behind_gap) const
{
    const unsigned char* const ISSY = packet.ISSY_size != 0 ? packet.ISSY.data() : nullptr;
    m_sink(plp_id, {packet.data.data(), ISSY, packet.ISSY_size, packet.is_restored_null}, is_behind_gap);
}
} // namespace mpegcore
