// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_mpegts/zq_udp_uri.h"

#include "zq_net/ip_address.h"

#include <gst/gst.h>

#include <memory>

namespace
{
struct release_uri
{
    void operator()(GstUri* uri) const { gst_uri_unref(uri); }
};

std::string or_empty(const gchar* text) { return text != nullptr ? text : ""; }

/// An address, whose interface may stand behind a "%" (RFC 6874).
std::string escaped(std::string address)
{
    if (const auto sign = address.find('%'); sign != std::string::npos)
        address.insert(sign + 1, "25");
    return address;
}

/// Where the parser found no host: true when it stopped at something, rather than that nothing is there.
bool has_unread_host(const std::string& text, const GstUri* parsed)
{
    gchar* const path = gst_uri_get_path(parsed);
    const bool found = path != nullptr || text.find('[') != std::string::npos;
    g_free(path);
    return found;
}
} // namespace

std::optional<zq_udp_uri> zq_udp_uri::read(const std::string& text, std::string& error)
{
    const std::unique_ptr<GstUri, release_uri> parsed{gst_uri_from_string(text.c_str())};
    const std::string scheme = parsed ? or_empty(gst_uri_get_scheme(parsed.get())) : "";
    if (g_ascii_strcasecmp(scheme.c_str(), "udp") != 0 && g_ascii_strcasecmp(scheme.c_str(), "rtp") != 0) {
        error = '"' + text + "\" begins with neither udp:// nor rtp://";
        return std::nullopt;
    }
    zq_udp_uri uri;
    uri.rtp = g_ascii_strcasecmp(scheme.c_str(), "rtp") == 0;
    uri.source = or_empty(gst_uri_get_userinfo(parsed.get()));
    uri.address = or_empty(gst_uri_get_host(parsed.get()));
    if (const guint port = gst_uri_get_port(parsed.get()); port != GST_URI_NO_PORT) {
        if (port > 65535) {
            error = '"' + text + "\" has a port above 65535";
            return std::nullopt;
        }
        uri.port = static_cast<std::uint16_t>(port);
    }
    if (uri.address.empty() && has_unread_host(text, parsed.get())) {
        error = '"' + text + "\" has no address that can be read; % is written %25";
        return std::nullopt;
    }
    for (const std::string& address : {uri.address, uri.source})
        if (!address.empty() && !zq_net::ip_address::read(address)) {
            error = '"' + address + "\" is no IPv4 or IPv6 address";
            return std::nullopt;
        }
    GList* const keys = gst_uri_get_query_keys(parsed.get());
    for (const GList* key = keys; key != nullptr; key = key->next) {
        const auto* const name = static_cast<const gchar*>(key->data);
        uri.parameters[name] = or_empty(gst_uri_get_query_value(parsed.get(), name));
    }
    g_list_free(keys);
    return uri;
}

std::string zq_udp_uri::text() const
{
    const std::string host = escaped(address);
    const bool brackets = host.find(':') != std::string::npos;
    return std::string{rtp ? "rtp://" : "udp://"} + (source.empty() ? "" : escaped(source) + '@') +
           (brackets ? '[' + host + ']' : host) + ':' + std::to_string(port);
}
