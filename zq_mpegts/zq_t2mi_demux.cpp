// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_mpegts/zq_t2mi_demux.h"

#include "mpegcore/text/Meanings.h"
#include "zq_mpegts/zq_t2mi_messages.h"

#include <algorithm>
#include <bitset>
#include <utility>

namespace
{
/// So much stream without T2-MI is worth a warning.
constexpr GstClockTime longest_search = 5 * GST_SECOND;
constexpr std::uint8_t TS_payload_type = 3;

guint group_of(GstPad* sink)
{
    guint group = GST_GROUP_ID_INVALID;
    if (GstEvent* const start = gst_pad_get_sticky_event(sink, GST_EVENT_STREAM_START, 0)) {
        gst_event_parse_group_id(start, &group);
        gst_event_unref(start);
    }
    return group != GST_GROUP_ID_INVALID ? group : gst_util_group_id_next();
}
} // namespace

zq_t2mi_demux::zq_t2mi_demux(GstElement* element, GstPad* sink, const zq_t2mi_demux_settings& settings)
    : m_element{element}, m_sink{sink}, m_demultiplexer{*this}, m_plp{settings.plp}, m_flows{gst_flow_combiner_new()}
{
    gst_segment_init(&m_segment, GST_FORMAT_TIME);
    m_demultiplexer.set_restore_nulls(settings.reinsert_null_packets);
    m_demultiplexer.set_merge_common_PLPs(settings.merge_common_plps);
    m_demultiplexer.set_stream_id(settings.stream_id);
    if (settings.plp >= 0)
        m_demultiplexer.set_PLPs(std::bitset<256>{}.set(static_cast<std::size_t>(settings.plp)));
    m_demultiplexer.set_PID(settings.pid);
}

zq_t2mi_demux::~zq_t2mi_demux() { gst_flow_combiner_free(m_flows); }

void zq_t2mi_demux::set_caps(const GstCaps* caps)
{
    const GstStructure* const structure = gst_caps_get_structure(caps, 0);
    m_has_rtp_caps = gst_structure_has_name(structure, "application/x-rtp");
    look_for_rtp();
}

/// A stream of bytes, such as a file, has no datagrams: a piece of it may look like RTP by chance.
void zq_t2mi_demux::look_for_rtp()
{
    using zq_net::rtp_mode;
    m_kind = zq_net::datagram_kind{m_has_rtp_caps                         ? rtp_mode::on
                                   : m_segment.format == GST_FORMAT_BYTES ? rtp_mode::off
                                                                          : rtp_mode::automatic};
}

void zq_t2mi_demux::set_segment(GstEvent* event)
{
    gst_event_copy_segment(event, &m_segment);
    m_has_segment = true;
    look_for_rtp();
    for (const auto& pad : m_pads)
        pad.second->set_segment(m_segment, gst_event_get_seqnum(event));
}

void zq_t2mi_demux::flush()
{
    m_demultiplexer.reset();
    gst_flow_combiner_reset(m_flows);
    m_flow = GST_FLOW_OK;
    for (const auto& pad : m_pads)
        pad.second->drop();
    m_first_pts = GST_CLOCK_TIME_NONE;
}

void zq_t2mi_demux::put(GstBuffer* buffer)
{
    GstMapInfo map;
    if (!gst_buffer_map(buffer, &map, GST_MAP_READ))
        return;
    take_time(buffer);
    if (GST_BUFFER_IS_DISCONT(buffer))
        m_demultiplexer.reset();
    if (const auto packet = m_kind.look(map.data, map.size, m_demultiplexer.awaited())) {
        using step = zq_net::sequence_tracker::step;
        const step found = m_sequence.see(packet->sequence_number);
        m_rtp_packets = m_sequence.received();
        m_rtp_lost = m_sequence.lost();
        // One that comes twice or late joins nothing, and would part what does.
        if (found != step::repeated && found != step::behind)
            m_demultiplexer.put(packet->payload, packet->payload_size);
    } else if (!m_kind.demands_rtp()) {
        m_demultiplexer.put(map.data, map.size);
    }
    gst_buffer_unmap(buffer, &map);
}

void zq_t2mi_demux::take_time(GstBuffer* buffer)
{
    m_pts = GST_BUFFER_PTS(buffer);
    m_dts = GST_BUFFER_DTS(buffer);
    if (m_had_PLPs || m_told_missing || !GST_CLOCK_TIME_IS_VALID(m_pts))
        return;
    if (!GST_CLOCK_TIME_IS_VALID(m_first_pts))
        m_first_pts = m_pts;
    if (m_pts >= m_first_pts + longest_search)
        note_missing();
}

void zq_t2mi_demux::note_missing()
{
    m_told_missing = true;
    if (has_T2MI())
        GST_ELEMENT_WARNING(m_element, STREAM, DEMUX, ("PLP %d was not found in 5 seconds of the stream.", m_plp),
                            (nullptr));
    else
        GST_ELEMENT_WARNING(m_element, STREAM, DEMUX, ("No T2-MI was found in 5 seconds of the stream."), (nullptr));
}

GstFlowReturn zq_t2mi_demux::push()
{
    const bool has_time = m_segment.format == GST_FORMAT_TIME && GST_CLOCK_TIME_IS_VALID(m_pts);
    for (const auto& pad : m_pads) {
        const bool had_data = pad.second->has_data();
        // A pad without data keeps what it said last.
        if (had_data)
            hand_on(*pad.second);
        if (has_time)
            pad.second->follow_time(m_pts, had_data);
    }
    return m_flow == GST_FLOW_NOT_LINKED ? GST_FLOW_OK : m_flow;
}

void zq_t2mi_demux::hand_on(zq_t2mi_pad& pad)
{
    m_flow = gst_flow_combiner_update_pad_flow(m_flows, pad.pad(), pad.push());
}

std::string zq_t2mi_demux::finish()
{
    m_demultiplexer.finish();
    static_cast<void>(push());
    if (m_had_pads) {
        tell_no_more_pads();
        return {};
    }
    return m_had_PLPs                 ? "No PLP gave a transport packet."
           : has_T2MI() && m_plp >= 0 ? "The stream has no PLP " + std::to_string(m_plp) + "."
           : has_T2MI()               ? "The stream has no PLP."
                                      : "The stream has no T2-MI.";
}

void zq_t2mi_demux::tell_no_more_pads()
{
    if (!std::exchange(m_told_no_more_pads, true))
        gst_element_no_more_pads(m_element);
}

void zq_t2mi_demux::remove_pads()
{
    for (const auto& pad : m_pads) {
        gst_flow_combiner_remove_pad(m_flows, pad.second->pad());
        gst_pad_set_active(pad.second->pad(), FALSE);
        gst_element_remove_pad(m_element, pad.second->pad());
    }
    m_pads.clear();
    m_pad_of.fill(nullptr);
}

void zq_t2mi_demux::on_packet(std::uint8_t plp_id, const mpegcore::UserPacket& packet, bool is_behind_gap)
{
    zq_t2mi_pad& pad = m_pad_of[plp_id] != nullptr ? *m_pad_of[plp_id] : add_pad(plp_id);
    pad.add(packet.data, is_behind_gap, m_pts, m_dts);
    // Null packets that are put back make much of few bytes.
    if (pad.has_much_data())
        hand_on(pad);
}

/// All that are to come by L1, or the only one that is wanted.
bool zq_t2mi_demux::has_all_pads() const
{
    if (m_plp >= 0)
        return !m_pads.empty();
    const auto* const L1 = m_demultiplexer.L1();
    return !m_pads.empty() && L1 != nullptr &&
           std::all_of(L1->L1CONF.PLPs.begin(), L1->L1CONF.PLPs.end(), [this](const auto& plp) {
               return plp.PLP_PAYLOAD_TYPE != TS_payload_type || m_pads.count(plp.PLP_ID) != 0;
           });
}

void zq_t2mi_demux::on_PLP_appeared(std::uint8_t /*plp_id*/) { m_had_PLPs = true; }

/// With the first packet: a sink behind a pad that gives none would keep the pipeline from starting.
zq_t2mi_pad& zq_t2mi_demux::add_pad(std::uint8_t plp_id)
{
    if (!m_had_pads)
        m_group = group_of(m_sink);
    m_had_pads = true;
    auto& pad = m_pads[plp_id];
    pad = std::make_unique<zq_t2mi_pad>(m_element, plp_id, m_group);
    m_pad_of[plp_id] = pad.get();
    if (m_has_segment)
        pad->set_segment(m_segment, gst_util_seqnum_next());
    tell_tags(*pad);
    gst_flow_combiner_add_pad(m_flows, pad->pad());
    gst_element_add_pad(m_element, pad->pad());
    m_flow = GST_FLOW_OK;
    tell_streams();
    if (has_all_pads())
        tell_no_more_pads();
    return *m_pad_of[plp_id];
}

void zq_t2mi_demux::on_PLP_gone(std::uint8_t plp_id)
{
    const auto found = m_pads.find(plp_id);
    if (found == m_pads.end())
        return;
    const auto pad = std::move(found->second);
    m_pads.erase(found);
    m_pad_of[plp_id] = nullptr;
    static_cast<void>(pad->push());
    gst_pad_push_event(pad->pad(), gst_event_new_eos());
    gst_flow_combiner_remove_pad(m_flows, pad->pad());
    gst_pad_set_active(pad->pad(), FALSE);
    gst_element_remove_pad(m_element, pad->pad());
    tell_streams();
}

void zq_t2mi_demux::on_L1_changed(const mpegcore::L1Current& L1)
{
    gst_element_post_message(m_element, gst_message_new_element(GST_OBJECT(m_element), zq_t2mi_L1_structure(L1)));
    for (const auto& pad : m_pads)
        tell_tags(*pad.second);
    if (has_all_pads())
        tell_no_more_pads();
}

void zq_t2mi_demux::on_PID(std::uint16_t PID) { GST_INFO_OBJECT(m_element, "T2-MI on PID 0x%04x", PID); }

void zq_t2mi_demux::on_warning(Warning warning, unsigned id)
{
    switch (warning) {
    case Warning::scrambled:
        GST_ELEMENT_WARNING(m_element, STREAM, DECRYPT, ("The T2-MI on PID %u is scrambled.", id), (nullptr));
        return;
    case Warning::not_a_transport_stream:
        GST_ELEMENT_WARNING(m_element, STREAM, FORMAT, ("PLP %u carries no transport stream.", id), (nullptr));
        return;
    case Warning::no_T2MI:
        // Where there are time stamps, they tell.
        if (!GST_CLOCK_TIME_IS_VALID(m_first_pts) && !m_told_missing)
            note_missing();
    }
}

/// The collection of the pads that there are, on the bus and on each of them.
void zq_t2mi_demux::tell_streams()
{
    GstStreamCollection* const collection = gst_stream_collection_new(nullptr);
    for (const auto& pad : m_pads)
        gst_stream_collection_add_stream(collection, GST_STREAM(gst_object_ref(pad.second->stream())));
    for (const auto& pad : m_pads)
        gst_pad_push_event(pad.second->pad(), gst_event_new_stream_collection(collection));
    gst_element_post_message(m_element, gst_message_new_stream_collection(GST_OBJECT(m_element), collection));
    gst_object_unref(collection);
    std::vector<std::uint8_t> plp_ids;
    for (const auto& pad : m_pads)
        plp_ids.push_back(pad.first);
    gst_element_post_message(m_element,
                             gst_message_new_element(GST_OBJECT(m_element), zq_t2mi_plps_structure(plp_ids)));
}

void zq_t2mi_demux::tell_tags(zq_t2mi_pad& pad)
{
    for (const auto& [plp_id, known] : m_pads) {
        if (known.get() != &pad)
            continue;
        const auto* const plp = m_demultiplexer.L1_of(plp_id);
        if (plp == nullptr)
            return;
        GstTagList* const tags = zq_t2mi_tags(*plp);
        gst_stream_set_tags(pad.stream(), tags);
        gst_pad_push_event(pad.pad(), gst_event_new_tag(tags));
    }
}

GstStructure* zq_t2mi_demux::stats() const
{
    return zq_t2mi_stats_structure(m_demultiplexer, m_rtp_packets, m_rtp_lost);
}
