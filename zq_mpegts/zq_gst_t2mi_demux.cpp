// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_mpegts/zq_gst_t2mi_demux.h"

#include "zq_mpegts/zq_t2mi_demux.h"

#include <memory>
#include <mutex>
#include <string>
#include <utility>

GST_DEBUG_CATEGORY_STATIC(zq_t2mi_demux_debug);
#define GST_CAT_DEFAULT zq_t2mi_demux_debug

namespace
{
/// What belongs to an instance. The mutex is for the settings and the pointer, which any thread reads.
struct instance_data
{
    std::mutex mutex;
    zq_t2mi_demux_settings settings;
    std::shared_ptr<zq_t2mi_demux> demux; ///< since the last start; kept behind the stop for its figures
    GstPad* sink = nullptr;
    std::mutex seek_mutex;
    guint32 last_seek = GST_SEQNUM_INVALID;
};

struct instance
{
    GstElement parent;
    instance_data* data;
};

struct instance_class
{
    GstElementClass parent;
};

enum property : guint
{
    pid = 1,
    stream_id,
    plp,
    reinsert_null_packets,
    merge_common_plps,
    stats,
};

GstElementClass* parent_class = nullptr;

GstStaticPadTemplate sink_template =
    GST_STATIC_PAD_TEMPLATE("sink", GST_PAD_SINK, GST_PAD_ALWAYS, GST_STATIC_CAPS("video/mpegts; application/x-rtp"));

GstStaticPadTemplate source_template =
    GST_STATIC_PAD_TEMPLATE("plp_%u", GST_PAD_SRC, GST_PAD_SOMETIMES,
                            GST_STATIC_CAPS("video/mpegts, systemstream=(boolean)true, packetsize=(int)188"));

instance_data& data_of(gpointer object) { return *reinterpret_cast<instance*>(object)->data; }

std::shared_ptr<zq_t2mi_demux> demux_of(gpointer object)
{
    instance_data& data = data_of(object);
    const std::lock_guard lock{data.mutex};
    return data.demux;
}

void set_property(GObject* object, guint id, const GValue* value, GParamSpec* param)
{
    instance_data& data = data_of(object);
    const std::lock_guard lock{data.mutex};
    switch (id) {
    case pid:
        data.settings.pid = g_value_get_int(value);
        return;
    case stream_id:
        data.settings.stream_id = g_value_get_int(value);
        return;
    case plp:
        data.settings.plp = g_value_get_int(value);
        return;
    case reinsert_null_packets:
        data.settings.reinsert_null_packets = g_value_get_boolean(value) != FALSE;
        return;
    case merge_common_plps:
        data.settings.merge_common_plps = g_value_get_boolean(value) != FALSE;
        return;
    default:
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, param);
    }
}

void get_property(GObject* object, guint id, GValue* value, GParamSpec* param)
{
    instance_data& data = data_of(object);
    const std::lock_guard lock{data.mutex};
    switch (id) {
    case pid:
        return g_value_set_int(value, data.settings.pid);
    case stream_id:
        return g_value_set_int(value, data.settings.stream_id);
    case plp:
        return g_value_set_int(value, data.settings.plp);
    case reinsert_null_packets:
        return g_value_set_boolean(value, data.settings.reinsert_null_packets);
    case merge_common_plps:
        return g_value_set_boolean(value, data.settings.merge_common_plps);
    case stats:
        return g_value_take_boxed(value, data.demux != nullptr
                                             ? data.demux->stats()
                                             : gst_structure_new_empty("application/x-zqt2midemux-stats"));
    default:
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, param);
    }
}

/// Nothing of C++ may pass through GStreamer's frames.
template <class Work>
GstFlowReturn guarded(GstObject* element, Work work)
{
    try {
        return work();
    } catch (const std::exception& error) {
        GST_ELEMENT_ERROR(element, STREAM, DEMUX, ("%s", error.what()), (nullptr));
        return GST_FLOW_ERROR;
    }
}

/// Takes what GStreamer hands over.
template <class Object, void (*release)(Object*)>
struct releaser
{
    void operator()(Object* object) const { release(object); }
};
using owned_buffer = std::unique_ptr<GstBuffer, releaser<GstBuffer, gst_buffer_unref>>;
using owned_list = std::unique_ptr<GstBufferList, releaser<GstBufferList, gst_buffer_list_unref>>;

GstFlowReturn chain(GstPad*, GstObject* element, GstBuffer* buffer)
{
    const owned_buffer owned{buffer};
    return guarded(element, [=] {
        const auto demux = demux_of(element);
        demux->put(buffer);
        return demux->push();
    });
}

GstFlowReturn chain_list(GstPad*, GstObject* element, GstBufferList* list)
{
    const owned_list owned{list};
    return guarded(element, [=] {
        const auto demux = demux_of(element);
        const guint count = gst_buffer_list_length(list);
        for (guint at = 0; at < count; ++at)
            demux->put(gst_buffer_list_get(list, at));
        return demux->push();
    });
}

gboolean end_of_stream(GstPad* pad, GstObject* element, GstEvent* event)
{
    if (const std::string fault = demux_of(element)->finish(); !fault.empty())
        GST_ELEMENT_ERROR(element, STREAM, DEMUX, ("%s", fault.c_str()), (nullptr));
    return gst_pad_event_default(pad, element, event);
}

gboolean sink_event(GstPad* pad, GstObject* element, GstEvent* event)
{
    const auto demux = demux_of(element);
    if (demux == nullptr)
        return gst_pad_event_default(pad, element, event);
    switch (GST_EVENT_TYPE(event)) {
    case GST_EVENT_CAPS: {
        GstCaps* caps = nullptr;
        gst_event_parse_caps(event, &caps);
        demux->set_caps(caps);
        gst_event_unref(event);
        return TRUE;
    }
    case GST_EVENT_SEGMENT:
        demux->set_segment(event);
        gst_event_unref(event);
        return TRUE;
    case GST_EVENT_STREAM_START:
    case GST_EVENT_STREAM_COLLECTION:
    case GST_EVENT_TAG:
        // The pads have their own.
        gst_event_unref(event);
        return TRUE;
    case GST_EVENT_FLUSH_STOP:
        demux->flush();
        return gst_pad_event_default(pad, element, event);
    case GST_EVENT_EOS:
        return end_of_stream(pad, element, event);
    default:
        return gst_pad_event_default(pad, element, event);
    }
}

gboolean sink_query(GstPad* pad, GstObject* element, GstQuery* query)
{
    // Several pads cannot agree on memory, and packets are copied anyway.
    if (GST_QUERY_TYPE(query) == GST_QUERY_ALLOCATION)
        return FALSE;
    return gst_pad_query_default(pad, element, query);
}

/// One seek that comes over several pads goes upstream once.
gboolean element_takes_seek(instance_data& data, GstEvent* event)
{
    const std::lock_guard lock{data.seek_mutex};
    const guint32 seqnum = gst_event_get_seqnum(event);
    return std::exchange(data.last_seek, seqnum) != seqnum;
}

gboolean source_event(GstPad* pad, GstObject* element, GstEvent* event)
{
    if (GST_EVENT_TYPE(event) == GST_EVENT_SEEK && !element_takes_seek(data_of(element), event)) {
        gst_event_unref(event);
        return TRUE;
    }
    return gst_pad_event_default(pad, element, event);
}

void pad_added(GstElement*, GstPad* pad)
{
    if (GST_PAD_IS_SRC(pad))
        gst_pad_set_event_function(pad, source_event);
}

GstStateChangeReturn change_state(GstElement* element, GstStateChange change)
{
    instance_data& data = data_of(element);
    if (change == GST_STATE_CHANGE_READY_TO_PAUSED) {
        const std::lock_guard lock{data.mutex};
        data.demux = std::make_shared<zq_t2mi_demux>(element, data.sink, data.settings);
    }
    const GstStateChangeReturn result = parent_class->change_state(element, change);
    if (change == GST_STATE_CHANGE_PAUSED_TO_READY)
        demux_of(element)->remove_pads();
    return result;
}

void finalize(GObject* object)
{
    delete std::exchange(reinterpret_cast<instance*>(object)->data, nullptr);
    G_OBJECT_CLASS(parent_class)->finalize(object);
}

void install_properties(GObjectClass* object_class)
{
    constexpr auto settable =
        static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | GST_PARAM_MUTABLE_READY);
    constexpr auto readable = static_cast<GParamFlags>(G_PARAM_READABLE | G_PARAM_STATIC_STRINGS);
    const auto add = [object_class](guint id, GParamSpec* param) {
        g_object_class_install_property(object_class, id, param);
    };
    add(pid, g_param_spec_int("pid", "PID", "PID of the T2-MI packets; -1: find it", -1, 8191, -1, settable));
    add(stream_id, g_param_spec_int("stream-id", "Stream id", "T2-MI stream on that PID; -1: the first that comes", -1,
                                    7, -1, settable));
    add(plp, g_param_spec_int("plp", "PLP", "Id of the only PLP that gets a pad; -1: all do", -1, 255, -1, settable));
    add(reinsert_null_packets,
        g_param_spec_boolean("reinsert-null-packets", "Reinsert null packets",
                             "Put back the null packets that the sender deleted", TRUE, settable));
    add(merge_common_plps,
        g_param_spec_boolean("merge-common-plps", "Merge common PLPs",
                             "Put the packets of a group's common PLP into its data PLPs where ISSY tells their place",
                             FALSE, settable));
    add(stats, g_param_spec_boxed("stats", "Statistics", "What came, what was lost, and the same for each PLP",
                                  GST_TYPE_STRUCTURE, readable));
}

void class_init(gpointer g_class, gpointer)
{
    parent_class = GST_ELEMENT_CLASS(g_type_class_peek_parent(g_class));
    GObjectClass* const object_class = G_OBJECT_CLASS(g_class);
    object_class->set_property = set_property;
    object_class->get_property = get_property;
    object_class->finalize = finalize;
    install_properties(object_class);
    GstElementClass* const element_class = GST_ELEMENT_CLASS(g_class);
    element_class->change_state = change_state;
    element_class->pad_added = pad_added;
    gst_element_class_add_static_pad_template(element_class, &sink_template);
    gst_element_class_add_static_pad_template(element_class, &source_template);
    gst_element_class_set_static_metadata(
        element_class, "T2-MI demultiplexer", "Codec/Demuxer",
        "Gives the transport streams of the PLPs of DVB-T2 modulator interface streams", "Quillmark");
}

void init(GTypeInstance* object, gpointer)
{
    auto* const data = reinterpret_cast<instance*>(object)->data = new instance_data;
    data->sink = gst_pad_new_from_static_template(&sink_template, "sink");
    gst_pad_set_chain_function(data->sink, chain);
    gst_pad_set_chain_list_function(data->sink, chain_list);
    gst_pad_set_event_function(data->sink, sink_event);
    gst_pad_set_query_function(data->sink, sink_query);
    gst_element_add_pad(GST_ELEMENT(object), data->sink);
}
} // namespace

GType zq_t2mi_demux_get_type()
{
    static const GType type =
        g_type_register_static_simple(GST_TYPE_ELEMENT, "ZqT2MIDemux", sizeof(instance_class), class_init,
                                      sizeof(instance), init, static_cast<GTypeFlags>(0));
    return type;
}

gboolean zq_register_t2mi_demux(GstPlugin* plugin)
{
    if (zq_t2mi_demux_debug == nullptr)
        GST_DEBUG_CATEGORY_INIT(zq_t2mi_demux_debug, "zqt2midemux", 0, "PLPs out of T2-MI");
    return gst_element_register(plugin, "zqt2midemux", GST_RANK_NONE, zq_t2mi_demux_get_type());
}
