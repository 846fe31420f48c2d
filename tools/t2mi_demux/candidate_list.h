// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/PacketFinder.h"
#include "mpegcore/t2mi/T2MIProbe.h"

#include <cstddef>
#include <cstdint>
#include <set>
#include <vector>

namespace t2mi_demux
{
/// The PIDs of a stream that carry T2-MI, whatever its PSI says: up to as many as T2MIProbe looks at.
class candidate_list
{
public:
    struct candidate
    {
        std::uint16_t PID = 0;
        std::uint64_t packets = 0;     ///< T2-MI packets with a good CRC-32
        std::set<unsigned> stream_ids; ///< of the last of them
    };

    /// Takes the next bytes of the stream.
    void put(const unsigned char* data, std::size_t size);
    void finish();

    /// Those with two good T2-MI packets, by PID.
    [[nodiscard]] std::vector<candidate> found() const;

private:
    void look(const unsigned char* packet);

    mpegcore::PacketFinder m_finder;
    mpegcore::T2MIProbe m_probe;
};
} // namespace t2mi_demux
