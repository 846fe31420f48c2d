// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/monitor/T2MIFrameCheck.h"
#include "mpegcore/monitor/TR101290.h"
#include "mpegcore/t2mi/T2MIDemultiplexer.h"

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace mpegcore
{
/// What one PLP came to.
struct PLPFigures
{
    std::uint8_t plp_id = 0;
    std::uint64_t frames = 0;                    ///< baseband frames
    std::uint64_t packets = 0;                   ///< of its transport stream, those that the sender deleted put back
    std::uint64_t header_errors = 0;             ///< frames with a bad BBHEADER
    const L1PostConfigurable::PLP* L1 = nullptr; ///< what L1 says of it; null: it does not list the PLP
};

/// What a T2-MI stream carries.
struct T2MIContents
{
    std::uint16_t PID = 0;
    int t2mi_stream_id = T2MIDemultiplexer::any; ///< or any: none came yet
    std::uint64_t packets = 0;                   ///< T2-MI packets with a good CRC-32, of all streams of the PID
    const L1Current* L1 = nullptr;               ///< the last other one; null: none came yet
    std::vector<PLPFigures> PLPs;                ///< that came or that L1 lists, by plp_id
};

/// The checks of ETSI TR 101 290, 11.2.2, on the T2-MI packets of one PID.
class T2MIWatch : private T2MIListener
{
public:
    T2MIWatch(std::uint16_t PID, TR101290& checks);

    /// A packet of the PID, 188 bytes.
    void put(const unsigned char* packet, std::uint64_t now);
    /// What comes next does not follow.
    void reset();

    std::uint16_t PID() const { return m_PID; }
    T2MIContents contents() const;

private:
    void on_baseband_frame(const T2MIHeader& header, std::uint8_t frame_idx, std::uint8_t plp_id,
                           bool intl_frame_start) override;
    void on_T2MI_packet(const T2MIHeader& header, const unsigned char* payload, std::size_t size) override;
    void on_PLP_appeared(std::uint8_t plp_id) override { m_PLPs.set(plp_id); }
    void on_PLP_gone(std::uint8_t plp_id) override { m_PLPs.reset(plp_id); }
    void on_L1_changed(const L1Current&) override { m_has_timestamp = false; }
    void check_timestamp(std::uint8_t superframe_idx, const DVBT2Timestamp& timestamp);
    /// Since put() looked last.
    bool has_new_gap() const;
    void check_step(const DVBT2Timestamp& timestamp);

    std::uint16_t m_PID;
    TR101290& m_checks;
    T2MIDemultiplexer m_demultiplexer;
    std::bitset<256> m_PLPs; ///< that came
    std::uint64_t m_now = 0;
    // As far as they were raised.
    std::uint64_t m_CRC_32_errors = 0, m_packet_count_gaps = 0, m_payload_errors = 0;

    T2MIFrameCheck m_frames;
    L1Current m_L1; ///< of the last T2 frame; here so that its loops keep their room

    bool m_has_timestamp = false; ///< the next one can be held against it
    std::uint8_t m_superframe_idx = 0;
    DVBT2Timestamp m_timestamp;
};
} // namespace mpegcore
