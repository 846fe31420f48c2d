// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <gst/gst.h>

#include <memory>

/// Owning pointers for what GStreamer hands out: the reference goes with the pointer.
template <auto release>
struct zq_gst_deleter
{
    template <class T>
    void operator()(T* object) const
    {
        release(object);
    }
};

inline void zq_release_caps(GstCaps* caps) { gst_caps_unref(caps); }
inline void zq_release_query(GstQuery* query) { gst_query_unref(query); }
inline void zq_release_buffer(GstBuffer* buffer) { gst_buffer_unref(buffer); }

using zq_pad_pointer = std::unique_ptr<GstPad, zq_gst_deleter<gst_object_unref>>;
using zq_element_pointer = std::unique_ptr<GstElement, zq_gst_deleter<gst_object_unref>>;
using zq_caps_pointer = std::unique_ptr<GstCaps, zq_gst_deleter<zq_release_caps>>;
using zq_query_pointer = std::unique_ptr<GstQuery, zq_gst_deleter<zq_release_query>>;
using zq_buffer_pointer = std::unique_ptr<GstBuffer, zq_gst_deleter<zq_release_buffer>>;
using zq_segment_pointer = std::unique_ptr<GstSegment, zq_gst_deleter<gst_segment_free>>;
using zq_text_pointer = std::unique_ptr<gchar, zq_gst_deleter<g_free>>;
