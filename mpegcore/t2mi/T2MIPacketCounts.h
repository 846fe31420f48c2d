// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <array>
#include <cstdint>

namespace mpegcore
{
/// Follows packet_count over the T2-MI packets of one PID. Several streams there may count together or each for itself;
/// until one is sure, what fits either is taken to follow.
class T2MIPacketCounts
{
public:
    enum class Step
    {
        goes_on,
        gap_in_its_stream, ///< T2-MI packets of this stream are missing
        gap_anywhere,      ///< of this stream or another one: they count together
    };

    T2MIPacketCounts() { reset(); }

    Step follow(std::uint8_t t2mi_stream_id, std::uint8_t packet_count);
    /// What comes next does not follow; how streams count stays known.
    void reset();

private:
    static constexpr int none = -1;
    static constexpr unsigned sure = 4;

    std::array<int, 8> m_own; ///< that should come next, by t2mi_stream_id
    int m_shared = none;      ///< the same, were there one counter for the PID
    int m_last_stream_id = none;
    unsigned m_proofs = 0;        ///< changes of the stream where only one counter for the PID explains what came
    unsigned m_proofs_of_own = 0; ///< where only one for each stream does
};
} // namespace mpegcore
