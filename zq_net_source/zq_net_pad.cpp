// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net_source/zq_net_pad.h"

GstStaticPadTemplate zq_net_pad_template =
    GST_STATIC_PAD_TEMPLATE("src_net", GST_PAD_SRC, GST_PAD_ALWAYS, GST_STATIC_CAPS("video/mpegts"));

static gboolean gst_pad_net_query(GstPad* pad, GstObject* parent, GstQuery* query)
{
    if (parent == nullptr)
        return FALSE;
    if (GST_QUERY_TYPE(query) != GST_QUERY_CAPS)
        return gst_pad_query_default(pad, parent, query);
    // The filter is not applied; that is meant.
    const auto caps = zq_net_pad::net_pad_query_caps(pad);
    if (!caps)
        return FALSE;
    gst_query_set_caps_result(query, caps.get());
    return TRUE;
}

static gboolean gst_pad_net_sink_event(GstPad* pad, GstObject* parent, GstEvent* event)
{
    if (parent == nullptr)
        return FALSE;
    // FALSE whatever the default handler did; that is meant.
    gst_pad_event_default(pad, parent, event);
    return FALSE;
}

static bool push_pad_caps(GstPad* pad)
{
    // GLib prints the conditions as they are written here.
    // clang-format off
    g_return_val_if_fail(GST_IS_PAD (pad), false);
    const zq_caps_pointer held{gst_pad_query_caps(pad, nullptr)};
    GstCaps* const caps = held.get();
    g_return_val_if_fail(caps != NULL && gst_caps_is_fixed (caps), false); // NOLINT(modernize-use-nullptr)
    // clang-format on
    GstEvent* event = gst_event_new_caps(caps);
    return (GST_PAD_IS_SRC(pad) ? gst_pad_push_event(pad, event) : gst_pad_send_event(pad, event)) != FALSE;
}

bool zq_net_pad::create_net_pad(GstElement* element)
{
    pad.reset(GST_PAD(gst_object_ref_sink(gst_pad_new_from_static_template(&zq_net_pad_template, "src_net"))));
    gst_pad_set_event_function(pad.get(), GST_DEBUG_FUNCPTR(gst_pad_net_sink_event));
    gst_pad_set_query_function(pad.get(), GST_DEBUG_FUNCPTR(gst_pad_net_query));
    gst_pad_use_fixed_caps(pad.get());
    GST_OBJECT_FLAG_SET(pad.get(), GST_PAD_FLAG_PROXY_CAPS);
    return gst_element_add_pad(element, pad.get()) != FALSE;
}

void zq_net_pad::send_stream_start(const char* stream_id) const
{
    GstEvent* event = nullptr;
    if (const zq_element_pointer element{gst_pad_get_parent_element(pad.get())}) {
        const zq_text_pointer full_id{gst_pad_create_stream_id_printf(pad.get(), element.get(), "%s", stream_id)};
        event = gst_event_new_stream_start(full_id.get());
    }
    if (event == nullptr)
        return;
    gst_event_set_group_id(event, gst_util_group_id_next());
    // Without a reference to the element: downstream may hold the push longer than the application its element.
    gst_pad_push_event(pad.get(), event);
}

bool zq_net_pad::set_pad_caps() const { return push_pad_caps(pad.get()); }

bool zq_net_pad::isConnect(GstPad* pad) { return pad != nullptr && gst_pad_is_linked(pad); }

zq_caps_pointer zq_net_pad::net_pad_query_caps(GstPad*)
{
    return zq_caps_pointer{gst_caps_new_empty_simple("video/mpegts")};
}
