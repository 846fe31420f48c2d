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

zq_t2mi_pad::zq_t2mi_pad(GstElement* element, std::uint8_t plp_id, guint group) : m_element{element}
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
    if (m_buffer != nullptr && (is_behind_gap || m_fill + packet_size > m_map.size))
        end();
    m_discont = m_discont || is_behind_gap;
    if (m_buffer == nullptr)
        begin(pts, dts);
    if (m_buffer == nullptr)
        return;
    std::memcpy(m_map.data + m_fill, packet, packet_size);
    m_fill += packet_size;
    m_bytes += packet_size;
}

void zq_t2mi_pad::begin(GstClockTime pts, GstClockTime dts)
{
    m_buffer = gst_buffer_new_allocate(nullptr, buffer_size, nullptr);
    if (m_buffer == nullptr || !gst_buffer_map(m_buffer, &m_map, GST_MAP_WRITE)) {
        gst_clear_buffer(&m_buffer);
        m_discont = true;
        return;
    }
    m_fill = 0;
    GST_BUFFER_PTS(m_buffer) = pts;
    GST_BUFFER_DTS(m_buffer) = dts;
    GST_BUFFER_OFFSET(m_buffer) = m_bytes;
    if (std::exchange(m_discont, false))
        GST_BUFFER_FLAG_SET(m_buffer, GST_BUFFER_FLAG_DISCONT);
}

void zq_t2mi_pad::end()
{
    gst_buffer_unmap(m_buffer, &m_map);
    gst_buffer_resize(m_buffer, 0, static_cast<gssize>(m_fill));
    GST_BUFFER_OFFSET_END(m_buffer) = m_bytes;
    if (m_list == nullptr)
        m_list = gst_buffer_list_new();
    gst_buffer_list_add(m_list, std::exchange(m_buffer, nullptr));
}

GstFlowReturn zq_t2mi_pad::push()
{
    if (m_buffer != nullptr)
        end();
    if (m_list == nullptr)
        return GST_FLOW_OK;
    GstBufferList* const list = std::exchange(m_list, nullptr);
    GstFlowReturn flow = GST_FLOW_OK;
    if (gst_buffer_list_length(list) == 1) {
        GstBuffer* const buffer = gst_buffer_ref(gst_buffer_list_get(list, 0));
        gst_buffer_list_unref(list);
        flow = gst_pad_push(m_pad, buffer);
    } else {
        flow = gst_pad_push_list(m_pad, list);
    }
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
    if (m_buffer != nullptr) {
        gst_buffer_unmap(m_buffer, &m_map);
        gst_clear_buffer(&m_buffer);
    }
    gst_clear_buffer_list(&m_list);
    m_discont = true;
}
