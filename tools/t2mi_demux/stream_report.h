// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/t2mi/T2MIDemultiplexer.h"

#include "tools/t2mi_demux/candidate_list.h"

#include <array>
#include <cstdint>
#include <string>

namespace t2mi_demux
{
/// What there is to say about a T2-MI stream: bit rates by the T2 frames that L1 counts and their length, everything
/// else by the demultiplexer.
class stream_report
{
public:
    stream_report(const mpegcore::T2MIDemultiplexer& demultiplexer, const candidate_list& candidates)
        : m_demultiplexer(demultiplexer), m_candidates(candidates)
    {}

    /// A T2 frame has ended: its L1-current came.
    void note_T2_frame();
    void note_timestamp(const mpegcore::DVBT2Timestamp& timestamp)
    {
        m_timestamp = timestamp;
        m_has_timestamp = true;
    }

    /// Lines to read.
    [[nodiscard]] std::string text() const;
    /// One object in one line.
    [[nodiscard]] std::string json() const;
    /// A few lines of counters.
    [[nodiscard]] std::string counters() const;

private:
    /// bit/s of the PLP's packets; 0 while there are too few frames to tell.
    [[nodiscard]] std::uint64_t bit_rate(std::uint8_t plp_id) const;
    [[nodiscard]] std::string candidate_line(const candidate_list::candidate& candidate) const;
    [[nodiscard]] std::string PLP_line(std::uint8_t plp_id) const;

    const mpegcore::T2MIDemultiplexer& m_demultiplexer;
    const candidate_list& m_candidates;
    bool m_has_timestamp = false;
    mpegcore::DVBT2Timestamp m_timestamp;
    std::uint64_t m_T2_frames = 0;
    std::array<std::uint64_t, 256> m_first_packets{}; ///< of each PLP, when the first T2 frame had ended
    std::array<std::uint64_t, 256> m_last_packets{};  ///< and the last one
};
} // namespace t2mi_demux
