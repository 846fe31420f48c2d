// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_mpegts/zq_t2mi_pad.h"

#include <cstring>
#include <string>
#include <utility>

namespace
{
constexpr gsize packet_size = 188;
/// A baseband frame has at most 36 packets, which often come with one input buffer.
constexpr gsize buffer_size = 43 * packet_size;

GstCaps* transport_stream_caps()
{
    return gst_caps_new_simple("video/mpegts", "systemstream", G_TYPE_BOOLEAN, TRUE, "packetsize", G_TYPE_INT, 188,
                               nullptr);
}
} // namespace

zq_t2mi_pad::zq_t2mi_pad(GstElement* element, std::uint8_t plp_id, guint group)
{
    const std::string name = "plp_" + std::to_string(plp_id);
    GstPadTemplate* const pad_template = gst_element_get_pad_template(element, "plp_%u");
    m_pad = GST_PAD(gst_object_ref_sink(gst_pad_new_from_template(pad_template, name.c_str())));
    gst_pad_use_fixed_caps(m_pad);
    gst_pad_set_active(m_pad, TRUE);

    gchar* const stream_id = gst_pad_create_stream_id(m_pad, element, name.c_str());
    GstCaps* const caps = transport_stream_caps();
    m_stream = gst_stream_new(stream_id, caps, GST_STREAM_TYPE_CONTAINER, GST_STREAM_FLAG_NONE);
    GstEvent* const start = gst_event_new_stream_start(stream_id);
    gst_event_set_group_id(start, group);
    gst_event_set_stream(start, m_stream);
    gst_pad_push_event(m_pad, start);
    gst_pad_push_event(m_pad, gst_event_new_caps(caps));
    gst_caps_unref(caps);
    g_free(stream_id);
}

zq_t2mi_pad::~zq_t2mi_pad()
{
    drop();
    gst_object_unref(m_stream);
    gst_object_unref(m_pad);
}

void zq_t2mi_pad::set_segment(const GstSegment& segment, guint32 seqnum)
{
    GstSegment own = segment;
    if (segment.format == GST_FORMAT_BYTES) {
        gst_segment_init(&own, GST_FORMAT_BYTES);
        own.start = own.time = own.position = m_bytes;
    }
    GstEvent* const event = gst_event_new_segment(&own);
    gst_event_set_seqnum(event, seqnum);
    gst_pad_push_event(m_pad, event);
}

void zq_t2mi_pad::add(const unsigned char* packet, bool is_behind_gap, GstClockTime pts, GstClockTime dts)
{
    if (m_block != nullptr && (is_behind_gap || m_fill + packet_size > buffer_size))
        end();
    m_discont = m_discont || is_behind_gap;
    if (m_block == nullptr) {
        m_block = static_cast<guint8*>(g_malloc(buffer_size));
        m_fill = 0;
        m_pts = pts;
        m_dts = dts;
    }
    std::memcpy(m_block + m_fill, packet, packet_size);
    m_fill += packet_size;
    m_bytes += packet_size;
}

void zq_t2mi_pad::end()
{
    guint8* const block = std::exchange(m_block, nullptr);
    GstBuffer* const buffer =
        gst_buffer_new_wrapped_full(static_cast<GstMemoryFlags>(0), block, buffer_size, 0, m_fill, block, g_free);
    GST_BUFFER_PTS(buffer) = m_pts;
    GST_BUFFER_DTS(buffer) = m_dts;
    GST_BUFFER_OFFSET(buffer) = m_bytes - m_fill;
    GST_BUFFER_OFFSET_END(buffer) = m_bytes;
    if (std::exchange(m_discont, false))
        GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_DISCONT);
    if (m_filled == nullptr && m_list == nullptr) {
        m_filled = buffer;
        return;
    }
    if (m_list == nullptr) {
        m_list = gst_buffer_list_new();
        gst_buffer_list_add(m_list, std::exchange(m_filled, nullptr));
    }
    gst_buffer_list_add(m_list, buffer);
}

GstFlowReturn zq_t2mi_pad::push()
{
    if (m_block != nullptr)
        end();
    GstFlowReturn flow = GST_FLOW_OK;
    if (m_filled != nullptr)
        flow = gst_pad_push(m_pad, std::exchange(m_filled, nullptr));
    else if (m_list != nullptr)
        flow = gst_pad_push_list(m_pad, std::exchange(m_list, nullptr));
    // Whoever is linked next has not seen what came before.
    if (flow == GST_FLOW_NOT_LINKED)
        m_discont = true;
    return flow;
}

void zq_t2mi_pad::follow_time(GstClockTime pts, bool had_data)
{
    constexpr GstClockTime longest_silence = 500 * GST_MSECOND;
    if (!had_data && GST_CLOCK_TIME_IS_VALID(m_time) && pts < m_time + longest_silence && pts >= m_time)
        return;
    if (!had_data && GST_CLOCK_TIME_IS_VALID(m_time) && pts > m_time)
        gst_pad_push_event(m_pad, gst_event_new_gap(m_time, pts - m_time));
    m_time = pts;
}

void zq_t2mi_pad::drop()
{
    m_time = GST_CLOCK_TIME_NONE;
    g_free(std::exchange(m_block, nullptr));
    gst_clear_buffer(&m_filled);
    gst_clear_buffer_list(&m_list);
    m_discont = true;
}
