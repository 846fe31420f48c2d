// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/monitor/TR101290.h"
#include "mpegcore/t2mi/L1Current.h"

#include <array>
#include <bitset>
#include <cstdint>

namespace mpegcore
{
/// Holds the baseband frames of a T2-MI stream against its L1 signalling: the checks 11.2.2.6 and 11.2.2.7 of ETSI TR
/// 101 290.
class T2MIFrameCheck
{
public:
    /// Where in the stream of T2 frames a T2-MI packet belongs.
    struct Place
    {
        std::uint8_t superframe_idx = 0;
        std::uint8_t frame_idx = 0; ///< of a baseband frame: of the first T2 frame of its interleaving frame
    };

    T2MIFrameCheck(std::uint16_t PID, TR101290& checks) : m_PID(PID), m_checks(checks) {}

    /// A baseband frame came.
    void put_frame(Place place, std::uint8_t plp_id, bool intl_frame_start, std::uint64_t now);
    /// The L1 signalling of a T2 frame came, behind all of its baseband frames.
    void put_L1(std::uint8_t superframe_idx, const L1Current& L1, std::uint64_t now);
    /// Something is missing in front of what comes next.
    void forget();

private:
    /// Baseband frames of one PLP with one place.
    struct Run
    {
        Place place;
        bool is_there = false;
        bool is_whole = false; ///< it began with intl_frame_start
        std::uint32_t frames = 0;
    };
    /// Of a PLP, the older one first: it may be a T2 frame ahead of the others.
    using Runs = std::array<Run, 2>;

    static bool is_same(Place one, Place other);
    void check_blocks(Place place, const L1PostConfigurable::PLP& PLP, unsigned PLP_NUM_BLOCKS, std::uint64_t now);

    std::uint16_t m_PID;
    TR101290& m_checks;
    std::array<Runs, 256> m_runs; ///< by plp_id
    std::bitset<256> m_listed;    ///< by the last L1
    bool m_has_L1 = false;
    Place m_last;            ///< of the last L1
    unsigned m_followed = 0; ///< L1s since something was missing
};
} // namespace mpegcore
