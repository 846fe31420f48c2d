// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/monitor/T2MIFrameCheck.h"

#include <algorithm>

namespace mpegcore
{
bool T2MIFrameCheck::is_same(Place one, Place other)
{
    return one.superframe_idx == other.superframe_idx && one.frame_idx == other.frame_idx;
}

void T2MIFrameCheck::forget()
{
    m_runs = {};
    m_has_L1 = false;
    m_followed = 0;
}

void T2MIFrameCheck::put_frame(Place place, std::uint8_t plp_id, bool intl_frame_start, std::uint64_t now)
{
    if (m_has_L1 && m_listed[plp_id] && is_same(place, m_last)) {
        m_checks.raise(Check::T2MI_transmission_order_error, now, Finding::frame_behind_L1, plp_id, m_PID);
        return;
    }
    auto& [older, newer] = m_runs[plp_id];
    if (!newer.is_there || !is_same(place, newer.place)) {
        older = newer;
        newer = {place, true, intl_frame_start, 0};
    }
    ++newer.frames;
}

void T2MIFrameCheck::put_L1(std::uint8_t superframe_idx, const L1Current& L1, std::uint64_t now)
{
    const Place place{superframe_idx, L1.frame_idx};
    // Some senders leave superframe_idx as it is.
    const bool begins_next = L1.frame_idx == 0 && m_last.frame_idx + 1 == L1.L1PRE.NUM_T2_FRAMES;
    if (m_has_L1 && superframe_idx == m_last.superframe_idx && L1.frame_idx < m_last.frame_idx && !begins_next)
        m_checks.raise(Check::T2MI_transmission_order_error, now, Finding::L1_goes_back, L1.frame_idx, m_PID);
    m_listed.reset();
    const auto& dynamic = L1.L1DYN_CURR.PLPs;
    for (std::size_t at = 0; at < std::min(L1.L1CONF.PLPs.size(), dynamic.size()); ++at) {
        m_listed.set(L1.L1CONF.PLPs[at].PLP_ID);
        check_blocks(place, L1.L1CONF.PLPs[at], dynamic[at].PLP_NUM_BLOCKS, now);
    }
    m_has_L1 = true;
    m_last = place;
    ++m_followed;
}

void T2MIFrameCheck::check_blocks(Place place, const L1PostConfigurable::PLP& PLP, unsigned PLP_NUM_BLOCKS,
                                  std::uint64_t now)
{
    // Frames for the T2 frame may have come in front of the L1 of the one before.
    constexpr unsigned enough_L1 = 2;
    auto& runs = m_runs[PLP.PLP_ID];
    const auto found = std::find_if(runs.begin(), runs.end(),
                                    [&](const Run& run) { return run.is_there && is_same(run.place, place); });
    const bool came = found != runs.end();
    const std::uint64_t frames = came ? found->frames : 0;
    const bool is_known = came ? found->is_whole : m_followed >= enough_L1;
    if (came)
        found->is_there = false;
    // Where an interleaving frame takes several T2 frames, which of them tell its blocks is not looked at.
    const bool takes_one = PLP.TIME_IL_TYPE == 0 || PLP.TIME_IL_LENGTH <= 1;
    const bool is_mapped = PLP.FRAME_INTERVAL != 0 && place.frame_idx % PLP.FRAME_INTERVAL == PLP.FIRST_FRAME_IDX;
    if (is_known && takes_one && is_mapped && frames != PLP_NUM_BLOCKS)
        m_checks.raise(Check::T2MI_plp_num_blocks_error, now, Finding::PLP_blocks,
                       std::uint64_t{PLP.PLP_ID} << 48 | std::uint64_t{PLP_NUM_BLOCKS} << 32 | frames, m_PID);
}
} // namespace mpegcore
