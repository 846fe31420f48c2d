// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/t2mi/T2MIPacketGatherer.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace mpegcore
{
/// Finds out which PIDs carry T2-MI when nothing says so: those whose T2-MI packets have good CRC-32s. What was
/// gathered on the way is kept, so that the proof costs nothing of the stream.
///
/// Memory: at most `limit` PIDs are looked at at a time, each with a gatherer and at most `enough` T2-MI packets; the
/// one that failed most makes room, or one that has been silent for `longest_silence` packets.
class T2MIProbe
{
public:
    static constexpr std::size_t limit = 16;
    static constexpr std::uint64_t longest_silence = 10'000;
    static constexpr unsigned enough = 8; ///< good packets that prove a PID against all that PSI says

    struct Packet
    {
        bool is_behind_gap = false; ///< something is missing between it and the one before
        std::vector<unsigned char> bytes;
    };

    struct Candidate
    {
        std::uint16_t PID = 0;
        T2MIPacketGatherer gatherer;
        unsigned good = 0;           ///< T2-MI packets with a good CRC-32 and the wanted stream id
        std::vector<Packet> packets; ///< the last ones with a good CRC-32
        bool is_gap = false;         ///< behind the last of them
        std::uint64_t last_put = 0;  ///< number of the packet that came last, of all that came
    };

    /// Only packets with this t2mi_stream_id are a proof; -1: with any.
    void set_stream_id(int t2mi_stream_id) { m_stream_id = t2mi_stream_id; }
    /// Takes a transport packet of 188 bytes. The candidate that it belongs to, or null.
    Candidate* put(std::uint16_t PID, const unsigned char* packet);
    /// The candidate of this PID, or null.
    Candidate* find(std::uint16_t PID);
    const std::vector<std::unique_ptr<Candidate>>& candidates() const { return m_candidates; }
    void clear() { m_candidates.clear(); }

private:
    Candidate* add(std::uint16_t PID);

    int m_stream_id = -1;
    std::uint64_t m_packets = 0; ///< that came
    std::vector<std::unique_ptr<Candidate>> m_candidates;
};
} // namespace mpegcore
