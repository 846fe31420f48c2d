// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/t2mi/T2MIPLPs.h"

#include <algorithm>
#include <utility>

namespace mpegcore
{
namespace
{
/// frame_idx, plp_id, intl_frame_start and rfu.
constexpr std::size_t frame_prefix_size = 3;

std::uint64_t losses(const UserPacketCounters& counters)
{
    return counters.dropped_parts + counters.header_errors + counters.SYNCD_disagreements;
}

const L1PostConfigurable::PLP* find_PLP(const L1Current& L1, std::uint8_t plp_id)
{
    const auto& PLPs = L1.L1CONF.PLPs;
    const auto found =
        std::find_if(PLPs.begin(), PLPs.end(), [plp_id](const auto& plp) { return plp.PLP_ID == plp_id; });
    return found != PLPs.end() ? &*found : nullptr;
}
} // namespace

void T2MIPLPs::set_restore_nulls(bool restore)
{
    m_restores_nulls = restore;
    m_table.set_restore_nulls(restore || m_merger);
}

void T2MIPLPs::set_merge_common_PLPs(bool merge)
{
    flush();
    m_merger.reset();
    if (merge) {
        m_merger =
            std::make_unique<CommonPLPMerger>([this](std::uint8_t plp_id, const UserPacket& packet,
                                                     bool is_behind_gap) { hand_out(plp_id, packet, is_behind_gap); });
        if (m_has_L1)
            m_merger->follow(m_L1);
    }
    set_restore_nulls(m_restores_nulls);
}

void T2MIPLPs::flush()
{
    if (m_merger)
        m_merger->flush();
}

bool T2MIPLPs::take_frame(unsigned char* payload, std::size_t size)
{
    if (size < frame_prefix_size)
        return false;
    const std::uint8_t plp_id = payload[1];
    const bool is_chosen = m_chosen[plp_id];
    const bool is_merged = m_merger && (m_merger->is_common(plp_id) || (is_chosen && m_merger->is_data(plp_id)));
    if (!is_chosen && !is_merged)
        return true;
    T2MIPLP& plp = m_table.of(plp_id);
    if (is_chosen && !plp.is_there) {
        plp.is_there = true;
        m_listener.on_PLP_appeared(plp_id);
    }
    const auto& counters = plp.reader.counters();
    const std::uint64_t losses_before = losses(counters), formats_before = counters.other_formats;
    bool is_first = true;
    const auto take_packet = [&](const UserPacket& packet) {
        // What a frame drops, it drops in front of its first packet.
        const bool is_behind_gap = is_first && (plp.is_behind_gap || losses(counters) != losses_before);
        if (is_first)
            is_first = plp.is_behind_gap = false;
        if (!m_merger)
            m_listener.on_packet(plp_id, packet, is_behind_gap);
        else
            merge(plp_id, packet, is_behind_gap);
    };
    const bool is_taken = plp.reader.put(payload + frame_prefix_size, size - frame_prefix_size, take_packet);
    if (is_first && losses(counters) != losses_before)
        plp.is_behind_gap = true;
    if (!is_taken && counters.other_formats != formats_before && !plp.told_format) {
        plp.told_format = true;
        m_listener.on_warning(T2MIListener::Warning::not_a_transport_stream, plp_id);
    }
    return true;
}

void T2MIPLPs::merge(std::uint8_t plp_id, const UserPacket& packet, bool is_behind_gap)
{
    const bool is_data = m_merger->is_data(plp_id);
    if (!is_data && m_chosen[plp_id])
        hand_out(plp_id, packet, is_behind_gap);
    if (is_data || m_merger->is_common(plp_id))
        m_merger->put(plp_id, packet, is_behind_gap);
}

/// For merging, null packets are put back in any case.
void T2MIPLPs::hand_out(std::uint8_t plp_id, const UserPacket& packet, bool is_behind_gap)
{
    if (packet.is_restored_null && !m_restores_nulls) {
        if (is_behind_gap)
            m_owed_gaps.set(plp_id);
        return;
    }
    const bool owed = m_owed_gaps[plp_id];
    m_owed_gaps.reset(plp_id);
    m_listener.on_packet(plp_id, packet, is_behind_gap || owed);
}

const UserPacketCounters* T2MIPLPs::counters(std::uint8_t plp_id) const
{
    const T2MIPLP* const plp = m_table.find(plp_id);
    return plp != nullptr ? &plp->reader.counters() : nullptr;
}

const L1PostConfigurable::PLP* T2MIPLPs::L1_of(std::uint8_t plp_id) const
{
    return m_has_L1 ? find_PLP(m_L1, plp_id) : nullptr;
}

bool T2MIPLPs::take_L1(const unsigned char* payload, std::size_t size)
{
    // Behind frame_idx and freq_source; the dynamic part is another in every frame.
    constexpr std::size_t configuration_at = 2, L1PRE_size = 21, behind_length = configuration_at + L1PRE_size + 2;
    if (size < behind_length)
        return false;
    const std::size_t bits = static_cast<std::size_t>(payload[behind_length - 2] << 8 | payload[behind_length - 1]);
    const std::size_t end = std::min(size, behind_length + (bits + 7) / 8);
    const unsigned char* const configuration = payload + configuration_at;
    if (m_has_L1 && std::equal(configuration, payload + end, m_L1_bytes.begin(), m_L1_bytes.end()))
        return true;
    L1Current L1;
    if (!L1.read(payload, size))
        return false;
    m_L1_bytes.assign(configuration, payload + end);
    follow_L1(L1);
    return true;
}

void T2MIPLPs::follow_L1(const L1Current& L1)
{
    const L1Current before = std::exchange(m_L1, L1);
    const bool had_L1 = std::exchange(m_has_L1, true);
    if (m_merger)
        m_merger->follow(m_L1);
    m_listener.on_L1_changed(m_L1);
    for (const std::uint8_t plp_id : m_table.seen()) {
        T2MIPLP& plp = m_table.of(plp_id);
        if (!plp.is_there || !had_L1 || find_PLP(before, plp_id) == nullptr || find_PLP(m_L1, plp_id) != nullptr)
            continue;
        plp.is_there = false;
        plp.reader.drop_part();
        plp.is_behind_gap = true;
        m_listener.on_PLP_gone(plp_id);
    }
}
} // namespace mpegcore
