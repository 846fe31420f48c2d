// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_mpegts/zq_udp_src_properties.h"

#include "zq_mpegts/zq_udp_uri.h"

#include <map>
#include <memory>

#define GST_CAT_DEFAULT zq_udp_src_debug

namespace
{
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

/// Properties that a URI may carry as parameters.
bool is_parameter(const std::string& name)
{
    for (const char* known : {"interface", "source-filter", "buffer-size", "timeout", "rtp", "align", "batch-time",
                              "address2", "port2", "interface2"})
        if (name == known)
            return true;
    return false;
}

struct unset_value
{
    void operator()(GValue* value) const
    {
        g_value_unset(value);
        delete value;
    }
};
using parameter_value = std::unique_ptr<GValue, unset_value>;

std::string refusal_of(const std::string& name, const std::string& value)
{
    return '"' + name + "\" cannot be \"" + value + '"';
}

/// What `text` is for the property; null when it is nothing that it can be.
parameter_value parameter_from(GObject* object, const std::string& name, const std::string& text)
{
    GParamSpec* const param = g_object_class_find_property(G_OBJECT_GET_CLASS(object), name.c_str());
    parameter_value value{new GValue{}};
    g_value_init(value.get(), param->value_type);
    if (param->value_type == G_TYPE_STRING)
        g_value_set_string(value.get(), text.c_str());
    else if (!gst_value_deserialize(value.get(), text.c_str()) || g_param_value_validate(param, value.get()))
        return nullptr;
    return value;
}
} // namespace

zq_udp_src_instance& zq_udp_src_instance::of(gpointer object) { return *static_cast<GstZqUdpSrc*>(object)->data; }

zq_udp_src_settings zq_udp_src_instance::settings_now()
{
    const std::lock_guard lock{mutex};
    return settings;
}

std::string zq_udp_src_uri(zq_udp_src_instance& data)
{
    const std::lock_guard lock{data.mutex};
    zq_udp_uri uri;
    uri.rtp = data.rtp_scheme;
    // A URI has room for one.
    if (const auto sources = data.settings.sources(); sources.size() == 1)
        uri.source = sources.front();
    uri.address = data.settings.address.empty() ? "0.0.0.0" : data.settings.address;
    uri.port = static_cast<std::uint16_t>(data.settings.port);
    return uri.text();
}

bool zq_udp_src_set_uri(GObject* object, const gchar* text, std::string& error)
{
    const auto read = zq_udp_uri::read(text != nullptr ? text : "", error);
    if (!read)
        return false;
    std::map<std::string, parameter_value> values;
    for (const auto& [name, value] : read->parameters) {
        if (!is_parameter(name)) {
            GST_WARNING_OBJECT(object, "%s has an unknown parameter \"%s\"", text, name.c_str());
            continue;
        }
        if (!(values[name] = parameter_from(object, name, value))) {
            error = refusal_of(name, value);
            return false;
        }
    }
    zq_udp_src_instance& data = zq_udp_src_instance::of(object);
    {
        const std::lock_guard lock{data.mutex};
        data.settings.address = read->address;
        data.settings.port = read->port;
        if (!read->source.empty())
            data.settings.source_filter = read->source;
        // What the scheme does not say stays as it was set.
        if (read->rtp || data.rtp_scheme)
            data.settings.rtp = read->rtp ? zq_net::rtp_mode::on : zq_net::rtp_mode::automatic;
        data.rtp_scheme = read->rtp;
    }
    for (const auto& [name, value] : values)
        g_object_set_property(object, name.c_str(), value.get());
    return true;
}

void zq_udp_src_set_property(GObject* object, guint id, const GValue* value, GParamSpec* param)
{
    zq_udp_src_instance& data = zq_udp_src_instance::of(object);
    if (id == uri) {
        std::string error;
        if (!zq_udp_src_set_uri(object, g_value_get_string(value), error))
            // A setter has no other way to say so.
            g_warning("%s: %s", GST_OBJECT_NAME(object), error.c_str());
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

void zq_udp_src_get_property(GObject* object, guint id, GValue* value, GParamSpec* param)
{
    zq_udp_src_instance& data = zq_udp_src_instance::of(object);
    const zq_udp_src_settings settings = data.settings_now();
    switch (id) {
    case uri:
        return g_value_set_string(value, zq_udp_src_uri(data).c_str());
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

void zq_udp_src_install_properties(GObjectClass* object_class)
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
    add(timeout, g_param_spec_uint64("timeout", "Timeout", "Nanoseconds of silence to tell of; 0 and all ones: never",
                                     0, G_MAXUINT64, 0, plain));
    add(rtp, g_param_spec_enum("rtp", "RTP", "What is RTP", rtp_mode_type(),
                               static_cast<gint>(zq_net::rtp_mode::automatic), plain));
    add(align, g_param_spec_boolean("align", "Align", "Find 188-byte packets across datagrams", TRUE, plain));
    add(batch_time,
        g_param_spec_uint("batch-time", "Batch time",
                          "Milliseconds to wait behind a datagram for more; adds to the latency", 0, 10000, 0, plain));
    add(stats,
        g_param_spec_boxed("stats", "Statistics", "What was received and what was lost", GST_TYPE_STRUCTURE, readable));
    text(address2, "address2", "Second address", "Of a second leg with the same RTP (ST 2022-7); empty: the first one");
    add(port2, g_param_spec_uint("port2", "Second port",
                                 "Of the second leg, which is there when one of the three is set; 0: that of the first",
                                 0, 65535, 0, plain));
    text(interface2, "interface2", "Second interface", "Of the second leg");
}
