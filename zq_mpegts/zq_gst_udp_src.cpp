// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_mpegts/zq_gst_udp_src.h"

#include "zq_mpegts/zq_udp_src.h"
#include "zq_mpegts/zq_udp_uri.h"

#include <mutex>
#include <utility>

GST_DEBUG_CATEGORY_STATIC(zq_udp_src_debug);
#define GST_CAT_DEFAULT zq_udp_src_debug

namespace
{
/// What belongs to an instance; the settings are read and written by any thread.
struct instance_data
{
    explicit instance_data(GstBaseSrc* element) : source{element} {}
    std::mutex mutex;
    zq_udp_src_settings settings;
    bool rtp_scheme = false;
    zq_udp_src source;
};

struct instance
{
    GstPushSrc parent;
    instance_data* data;
};

struct instance_class
{
    GstPushSrcClass parent;
};

enum property : guint
{
    uri = 1,
    address,
    port,
    interface_,
    source_filter,
    buffer_size,
    timeout,
    rtp,
    align,
    batch_time,
    stats,
    address2,
    port2,
    interface2,
};

GstPushSrcClass* parent_class = nullptr;

GstStaticPadTemplate source_template =
    GST_STATIC_PAD_TEMPLATE("src", GST_PAD_SRC, GST_PAD_ALWAYS,
                            GST_STATIC_CAPS("video/mpegts, systemstream=(boolean)true, packetsize=(int)188"));

instance_data& data_of(gpointer object) { return *static_cast<instance*>(object)->data; }

zq_udp_src_settings settings_of(instance_data& data)
{
    const std::lock_guard lock{data.mutex};
    return data.settings;
}

GType rtp_mode_type()
{
    static const GEnumValue values[] = {
        {static_cast<gint>(zq_net::rtp_mode::automatic), "Look at each datagram", "auto"},
        {static_cast<gint>(zq_net::rtp_mode::off), "Bare transport streams only", "off"},
        {static_cast<gint>(zq_net::rtp_mode::on), "RTP only", "on"},
        {0, nullptr, nullptr},
    };
    static const GType type = g_enum_register_static("ZqUdpSrcRtp", values);
    return type;
}

std::string text_of(const GValue* value)
{
    const gchar* const text = g_value_get_string(value);
    return text != nullptr ? text : "";
}

std::string uri_of(instance_data& data)
{
    const std::lock_guard lock{data.mutex};
    zq_udp_uri uri;
    uri.rtp = data.rtp_scheme;
    // A URI has room for one.
    if (data.settings.source_filter.find(',') == std::string::npos)
        uri.source = data.settings.source_filter;
    uri.address = data.settings.address.empty() ? "0.0.0.0" : data.settings.address;
    uri.port = static_cast<std::uint16_t>(data.settings.port);
    return uri.text();
}

/// Properties that a URI may carry as parameters.
bool is_parameter(const std::string& name)
{
    for (const char* known : {"interface", "source-filter", "buffer-size", "timeout", "rtp", "align", "batch-time",
                              "address2", "port2", "interface2"})
        if (name == known)
            return true;
    return false;
}

bool set_uri(GObject* object, const gchar* text, std::string& error)
{
    const auto read = zq_udp_uri::read(text != nullptr ? text : "", error);
    if (!read)
        return false;
    instance_data& data = data_of(object);
    {
        const std::lock_guard lock{data.mutex};
        data.rtp_scheme = read->rtp;
        data.settings.address = read->address;
        data.settings.port = read->port;
        data.settings.source_filter = read->source;
        data.settings.rtp = read->rtp ? zq_net::rtp_mode::on : zq_net::rtp_mode::automatic;
    }
    for (const auto& [name, value] : read->parameters) {
        if (is_parameter(name))
            gst_util_set_object_arg(object, name.c_str(), value.c_str());
        else
            GST_WARNING_OBJECT(object, "%s has an unknown parameter \"%s\"", text, name.c_str());
    }
    return true;
}

void set_property(GObject* object, guint id, const GValue* value, GParamSpec* param)
{
    instance_data& data = data_of(object);
    if (id == uri) {
        std::string error;
        if (!set_uri(object, g_value_get_string(value), error))
            GST_WARNING_OBJECT(object, "%s", error.c_str());
        return;
    }
    const std::lock_guard lock{data.mutex};
    zq_udp_src_settings& settings = data.settings;
    switch (id) {
    case address:
        settings.address = text_of(value);
        return;
    case port:
        settings.port = g_value_get_uint(value);
        return;
    case interface_:
        settings.interface = text_of(value);
        return;
    case source_filter:
        settings.source_filter = text_of(value);
        return;
    case buffer_size:
        settings.buffer_size = g_value_get_uint(value);
        return;
    case timeout:
        settings.timeout = g_value_get_uint64(value);
        return;
    case rtp:
        settings.rtp = static_cast<zq_net::rtp_mode>(g_value_get_enum(value));
        return;
    case align:
        settings.align = g_value_get_boolean(value) != FALSE;
        return;
    case batch_time:
        settings.batch_time = g_value_get_uint(value);
        return;
    case address2:
        settings.address2 = text_of(value);
        return;
    case port2:
        settings.port2 = g_value_get_uint(value);
        return;
    case interface2:
        settings.interface2 = text_of(value);
        return;
    default:
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, param);
    }
}

void get_property(GObject* object, guint id, GValue* value, GParamSpec* param)
{
    instance_data& data = data_of(object);
    const zq_udp_src_settings settings = settings_of(data);
    switch (id) {
    case uri:
        return g_value_set_string(value, uri_of(data).c_str());
    case address:
        return g_value_set_string(value, settings.address.c_str());
    case port:
        return g_value_set_uint(value, settings.port);
    case interface_:
        return g_value_set_string(value, settings.interface.c_str());
    case source_filter:
        return g_value_set_string(value, settings.source_filter.c_str());
    case buffer_size:
        return g_value_set_uint(value, settings.buffer_size);
    case timeout:
        return g_value_set_uint64(value, settings.timeout);
    case rtp:
        return g_value_set_enum(value, static_cast<gint>(settings.rtp));
    case align:
        return g_value_set_boolean(value, settings.align);
    case batch_time:
        return g_value_set_uint(value, settings.batch_time);
    case stats:
        return g_value_take_boxed(value, data.source.stats());
    case address2:
        return g_value_set_string(value, settings.address2.c_str());
    case port2:
        return g_value_set_uint(value, settings.port2);
    case interface2:
        return g_value_set_string(value, settings.interface2.c_str());
    default:
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, param);
    }
}

gboolean start(GstBaseSrc* element)
{
    instance_data& data = data_of(element);
    try {
        return data.source.start(settings_of(data)) ? TRUE : FALSE;
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
    try {
        return data_of(element).source.create(*buffer);
    } catch (const std::exception& error) {
        GST_ELEMENT_ERROR(element, RESOURCE, READ, ("%s", error.what()), (nullptr));
        return GST_FLOW_ERROR;
    }
}

void finalize(GObject* object)
{
    delete std::exchange(reinterpret_cast<instance*>(object)->data, nullptr);
    G_OBJECT_CLASS(parent_class)->finalize(object);
}

void install_properties(GObjectClass* object_class)
{
    constexpr auto plain = static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS);
    constexpr auto readable = static_cast<GParamFlags>(G_PARAM_READABLE | G_PARAM_STATIC_STRINGS);
    const auto add = [object_class](guint id, GParamSpec* param) {
        g_object_class_install_property(object_class, id, param);
    };
    const auto text = [&](guint id, const char* name, const char* nick, const char* blurb) {
        add(id, g_param_spec_string(name, nick, blurb, "", plain));
    };
    add(uri, g_param_spec_string("uri", "URI", "udp:// or rtp://[SOURCE@]ADDRESS:PORT, properties as parameters",
                                 "udp://0.0.0.0:5004", plain));
    text(address, "address", "Address", "Group, or local address, IPv4 or IPv6; empty: every local IPv4 address");
    add(port, g_param_spec_uint("port", "Port", "Port; 0: the system's choice", 0, 65535, 5004, plain));
    text(interface_, "interface", "Interface", "Name or address of one; empty: the routing table's choice");
    text(source_filter, "source-filter", "Source filter", "Take of a group only what these addresses send (a,b)");
    add(buffer_size,
        g_param_spec_uint("buffer-size", "Buffer size",
                          "Bytes that the kernel may keep; never lowers its own; 0: 8 MiB", 0, G_MAXINT, 0, plain));
    add(timeout, g_param_spec_uint64("timeout", "Timeout", "Nanoseconds of silence to tell of; 0: never", 0,
                                     G_MAXUINT64, 0, plain));
    add(rtp, g_param_spec_enum("rtp", "RTP", "What is RTP", rtp_mode_type(),
                               static_cast<gint>(zq_net::rtp_mode::automatic), plain));
    add(align, g_param_spec_boolean("align", "Align", "Find 188-byte packets across datagrams", TRUE, plain));
    add(batch_time,
        g_param_spec_uint("batch-time", "Batch time",
                          "Milliseconds to wait behind a datagram for more; adds to the latency", 0, 10000, 0, plain));
    add(stats,
        g_param_spec_boxed("stats", "Statistics", "What was received and what was lost", GST_TYPE_STRUCTURE, readable));
    text(address2, "address2", "Second address", "Of a second leg with the same RTP (ST 2022-7); empty: the first one");
    add(port2, g_param_spec_uint("port2", "Second port", "Of the second leg; 0: there is none", 0, 65535, 0, plain));
    text(interface2, "interface2", "Second interface", "Of the second leg");
}

void class_init(gpointer g_class, gpointer)
{
    parent_class = GST_PUSH_SRC_CLASS(g_type_class_peek_parent(g_class));
    GObjectClass* const object_class = G_OBJECT_CLASS(g_class);
    object_class->set_property = set_property;
    object_class->get_property = get_property;
    object_class->finalize = finalize;
    install_properties(object_class);
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
    if (set_uri(G_OBJECT(handler), text, reason))
        return TRUE;
    g_set_error_literal(error, GST_URI_ERROR, GST_URI_ERROR_BAD_URI, reason.c_str());
    return FALSE;
}

void uri_handler_init(gpointer g_interface, gpointer)
{
    auto* const handler = static_cast<GstURIHandlerInterface*>(g_interface);
    handler->get_type = [](GType) { return GST_URI_SRC; };
    handler->get_protocols = uri_protocols;
    handler->get_uri = [](GstURIHandler* given) { return g_strdup(uri_of(data_of(given)).c_str()); };
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
