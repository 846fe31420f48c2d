// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/t2mi/T2MIPacketCounts.h"

namespace mpegcore
{
void T2MIPacketCounts::reset()
{
    m_own.fill(none);
    m_shared = none;
}

T2MIPacketCounts::Step T2MIPacketCounts::follow(std::uint8_t t2mi_stream_id, std::uint8_t packet_count)
{
    int& own = m_own[t2mi_stream_id];
    const bool fits_own = own == none || packet_count == own;
    const bool fits_all = m_shared == none || packet_count == m_shared;
    const bool is_each_for_itself = m_proofs_of_own >= sure;
    if (m_last_stream_id != t2mi_stream_id && own != none) {
        if (fits_all && !fits_own) {
            ++m_proofs;
            m_proofs_of_own = 0;
        } else if (fits_own && !fits_all) {
            m_proofs = 0;
            ++m_proofs_of_own;
        }
    }
    m_last_stream_id = t2mi_stream_id;
    own = m_shared = (packet_count + 1) & 0xFF;
    if (m_proofs >= sure)
        return fits_all ? Step::goes_on : Step::gap_anywhere;
    // As long as nobody knows, nothing is missing if either counter says so.
    return fits_own || (fits_all && !is_each_for_itself) ? Step::goes_on : Step::gap_in_its_stream;
}
} // namespace mpegcore
