// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/t2mi/T2MIDemultiplexer.h"
#include "zq_mpegts/zq_t2mi_pad.h"
#include "zq_net/datagram_kind.h"
#include "zq_net/sequence_tracker.h"

#include <gst/base/gstflowcombiner.h>
#include <gst/gst.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

/// What an application sets on a `zqt2midemux`; taken over at the next start. -1 as described in the properties.
struct zq_t2mi_demux_settings
{
    gint pid = -1;
    gint stream_id = -1;
    gint plp = -1;
    bool reinsert_null_packets = true;
    bool merge_common_plps = false;
};

/// What stands behind one `zqt2midemux` element, from start to stop. stats() is for any thread, all else for the
/// streaming thread.
class zq_t2mi_demux : private mpegcore::T2MIListener
{
public:
    zq_t2mi_demux(GstElement* element, GstPad* sink, const zq_t2mi_demux_settings& settings);
    ~zq_t2mi_demux() override;
    zq_t2mi_demux(const zq_t2mi_demux&) = delete;
    zq_t2mi_demux& operator=(const zq_t2mi_demux&) = delete;

    void set_caps(const GstCaps* caps);
    /// Takes over the segment and hands it to all pads.
    void set_segment(GstEvent* event);
    /// Nothing that comes joins what came.
    void flush();
    /// Bytes that came; push() hands on what they gave.
    void put(GstBuffer* buffer);
    /// What all pads say together. Nobody being linked is no failure: a pad for somebody may still come.
    GstFlowReturn push();
    /// Gives what was held back. Says what is wrong when there never was a PLP, else nothing.
    [[nodiscard]] std::string finish();
    /// Takes all pads away.
    void remove_pads();

    [[nodiscard]] GstStructure* stats() const;

private:
    void on_packet(std::uint8_t plp_id, const mpegcore::UserPacket& packet, bool is_behind_gap) override;
    void on_PLP_appeared(std::uint8_t plp_id) override;
    void on_PLP_gone(std::uint8_t plp_id) override;
    void on_L1_changed(const mpegcore::L1Current& L1) override;
    void on_PID(std::uint16_t PID) override;
    void on_warning(Warning warning, unsigned id) override;

    void take_time(GstBuffer* buffer);
    void note_missing();
    [[nodiscard]] bool has_T2MI() const { return m_demultiplexer.gatherer_counters().packets != 0; }
    void hand_on(zq_t2mi_pad& pad);
    [[nodiscard]] bool has_all_pads() const;
    zq_t2mi_pad& add_pad(std::uint8_t plp_id);
    void look_for_rtp();
    void tell_no_more_pads();
    void tell_streams();
    void tell_tags(zq_t2mi_pad& pad);

    GstElement* m_element;
    GstPad* m_sink;
    zq_net::datagram_kind m_kind{zq_net::rtp_mode::automatic};
    zq_net::sequence_tracker m_sequence;
    std::atomic<std::uint64_t> m_rtp_packets{0};
    std::atomic<std::uint64_t> m_rtp_lost{0};
    mpegcore::T2MIDemultiplexer m_demultiplexer;
    std::map<std::uint8_t, std::unique_ptr<zq_t2mi_pad>> m_pads; ///< by PLP
    std::array<zq_t2mi_pad*, 256> m_pad_of{};                    ///< the same, null without
    const gint m_plp;                                            ///< the only one that gets a pad, or -1
    GstFlowCombiner* m_flows;
    GstFlowReturn m_flow = GST_FLOW_OK; ///< what all pads said together
    GstSegment m_segment;
    bool m_has_segment = false;
    guint m_group = 0;
    bool m_has_rtp_caps = false;
    bool m_had_PLPs = false;
    bool m_had_pads = false;
    GstClockTime m_pts = GST_CLOCK_TIME_NONE; ///< of the buffer at hand
    GstClockTime m_dts = GST_CLOCK_TIME_NONE;
    GstClockTime m_first_pts = GST_CLOCK_TIME_NONE;
    bool m_told_missing = false;
    bool m_told_no_more_pads = false;
};
