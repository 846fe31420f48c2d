// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_mpegts/zq_gst_udp_src.h"

#include "zq_mpegts/zq_udp_src_properties.h"

#include <utility>

GST_DEBUG_CATEGORY(zq_udp_src_debug);
#define GST_CAT_DEFAULT zq_udp_src_debug

namespace
{
using instance_data = zq_udp_src_instance;
using instance = GstZqUdpSrc;

struct instance_class
{
    GstPushSrcClass parent;
};

GstPushSrcClass* parent_class = nullptr;

instance_data& data_of(gpointer object) { return zq_udp_src_instance::of(object); }

GstStaticPadTemplate source_template =
    GST_STATIC_PAD_TEMPLATE("src", GST_PAD_SRC, GST_PAD_ALWAYS,
                            GST_STATIC_CAPS("video/mpegts, systemstream=(boolean)true, packetsize=(int)188"));

gboolean start(GstBaseSrc* element)
{
    instance_data& data = data_of(element);
    try {
        return data.source.start(data.settings_now()) ? TRUE : FALSE;
    } catch (const std::exception& error) {
        GST_ELEMENT_ERROR(element, RESOURCE, OPEN_READ, ("%s", error.what()), (nullptr));
        return FALSE;
    }
}

gboolean stop(GstBaseSrc* element)
{
    data_of(element).source.stop();
    return TRUE;
}

gboolean unlock(GstBaseSrc* element)
{
    data_of(element).source.unlock();
    return TRUE;
}

gboolean unlock_stop(GstBaseSrc* element)
{
    data_of(element).source.unlock_stop();
    return TRUE;
}

GstStateChangeReturn change_state(GstElement* element, GstStateChange transition)
{
    zq_udp_src& source = data_of(element).source;
    if (transition == GST_STATE_CHANGE_PAUSED_TO_PLAYING)
        source.play();
    else if (transition == GST_STATE_CHANGE_PLAYING_TO_PAUSED)
        source.pause();
    return GST_ELEMENT_CLASS(parent_class)->change_state(element, transition);
}

gboolean is_seekable(GstBaseSrc*) { return FALSE; }

gboolean query(GstBaseSrc* element, GstQuery* asked)
{
    switch (GST_QUERY_TYPE(asked)) {
    case GST_QUERY_LATENCY:
        // No upper bound: what downstream does not take waits in the socket.
        gst_query_set_latency(asked, TRUE, data_of(element).source.latency(), GST_CLOCK_TIME_NONE);
        return TRUE;
    case GST_QUERY_SCHEDULING:
        gst_query_set_scheduling(
            asked,
            static_cast<GstSchedulingFlags>(GST_SCHEDULING_FLAG_SEQUENTIAL | GST_SCHEDULING_FLAG_BANDWIDTH_LIMITED), 1,
            -1, 0);
        gst_query_add_scheduling_mode(asked, GST_PAD_MODE_PUSH);
        return TRUE;
    default:
        return GST_BASE_SRC_CLASS(parent_class)->query(element, asked);
    }
}

GstFlowReturn create(GstPushSrc* element, GstBuffer** buffer)
{
    *buffer = nullptr;
    instance_data& data = data_of(element);
    data.streaming_thread = std::this_thread::get_id();
    try {
        return data.source.create(*buffer);
    } catch (const std::exception& error) {
        GST_ELEMENT_ERROR(element, RESOURCE, READ, ("%s", error.what()), (nullptr));
        return GST_FLOW_ERROR;
    }
}

void dispose(GObject* object)
{
    // Dropped in another state, which GStreamer forbids, it would leave its thread in memory that is freed.
    if (GST_STATE(object) != GST_STATE_NULL) {
        g_critical("zqudpsrc is dropped in the state %s instead of NULL",
                   gst_element_state_get_name(GST_STATE(object)));
        const auto stop = [](GstElement* element, gpointer) { gst_element_set_state(element, GST_STATE_NULL); };
        // A thread cannot wait for its own end: another one does, and holds the element until then.
        if (data_of(object).streaming_thread.load() == std::this_thread::get_id())
            return gst_element_call_async(GST_ELEMENT(object), stop, nullptr, nullptr);
        stop(GST_ELEMENT(object), nullptr);
    }
    G_OBJECT_CLASS(parent_class)->dispose(object);
}

void finalize(GObject* object)
{
    delete std::exchange(reinterpret_cast<instance*>(object)->data, nullptr);
    G_OBJECT_CLASS(parent_class)->finalize(object);
}

void class_init(gpointer g_class, gpointer)
{
    parent_class = GST_PUSH_SRC_CLASS(g_type_class_peek_parent(g_class));
    GObjectClass* const object_class = G_OBJECT_CLASS(g_class);
    object_class->set_property = zq_udp_src_set_property;
    object_class->get_property = zq_udp_src_get_property;
    object_class->dispose = dispose;
    object_class->finalize = finalize;
    zq_udp_src_install_properties(object_class);
    GstElementClass* const element_class = GST_ELEMENT_CLASS(g_class);
    element_class->change_state = change_state;
    gst_element_class_add_static_pad_template(element_class, &source_template);
    gst_element_class_set_static_metadata(element_class, "UDP and RTP source for transport streams", "Source/Network",
                                          "Receives MPEG-2 transport streams over UDP and RTP", "Quillmark");
    GstBaseSrcClass* const source_class = GST_BASE_SRC_CLASS(g_class);
    source_class->start = start;
    source_class->stop = stop;
    source_class->unlock = unlock;
    source_class->unlock_stop = unlock_stop;
    source_class->is_seekable = is_seekable;
    source_class->query = query;
    GST_PUSH_SRC_CLASS(g_class)->create = create;
}

void init(GTypeInstance* object, gpointer)
{
    auto* const element = GST_BASE_SRC(object);
    reinterpret_cast<instance*>(object)->data = new instance_data{element};
    gst_base_src_set_live(element, TRUE);
    gst_base_src_set_format(element, GST_FORMAT_TIME);
}

const gchar* const* uri_protocols(GType)
{
    static const gchar* const protocols[] = {"udp", "rtp", nullptr};
    return protocols;
}

gboolean uri_set(GstURIHandler* handler, const gchar* text, GError** error)
{
    GST_OBJECT_LOCK(handler);
    const GstState state = GST_STATE(handler);
    GST_OBJECT_UNLOCK(handler);
    if (state > GST_STATE_READY) {
        g_set_error_literal(error, GST_URI_ERROR, GST_URI_ERROR_BAD_STATE, "the source is running");
        return FALSE;
    }
    std::string reason;
    if (zq_udp_src_set_uri(G_OBJECT(handler), text, reason))
        return TRUE;
    g_set_error_literal(error, GST_URI_ERROR, GST_URI_ERROR_BAD_URI, reason.c_str());
    return FALSE;
}

void uri_handler_init(gpointer g_interface, gpointer)
{
    auto* const handler = static_cast<GstURIHandlerInterface*>(g_interface);
    handler->get_type = [](GType) { return GST_URI_SRC; };
    handler->get_protocols = uri_protocols;
    handler->get_uri = [](GstURIHandler* given) { return g_strdup(zq_udp_src_uri(data_of(given)).c_str()); };
    handler->set_uri = uri_set;
}
} // namespace

GType zq_udp_src_get_type()
{
    static const GType type = [] {
        const GType made =
            g_type_register_static_simple(GST_TYPE_PUSH_SRC, "ZqUdpSrc", sizeof(instance_class), class_init,
                                          sizeof(instance), init, static_cast<GTypeFlags>(0));
        const GInterfaceInfo handler{uri_handler_init, nullptr, nullptr};
        g_type_add_interface_static(made, GST_TYPE_URI_HANDLER, &handler);
        return made;
    }();
    return type;
}

gboolean zq_register_udp_src(GstPlugin* plugin)
{
    if (zq_udp_src_debug == nullptr)
        GST_DEBUG_CATEGORY_INIT(zq_udp_src_debug, "zqudpsrc", 0, "Transport streams from UDP and RTP");
    return gst_element_register(plugin, "zqudpsrc", GST_RANK_NONE, zq_udp_src_get_type());
}
