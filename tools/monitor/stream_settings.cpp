// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/stream_settings.h"

#include "tools/common/udp_address.h"
#include "tools/monitor/json_writer.h"
#include "tools/monitor/limit_names.h"
#include "zq_net/ip_address.h"

#include <algorithm>
#include <array>
#include <optional>
#include <set>
#include <tuple>

namespace monitor
{
bool operator==(const stream_settings& one, const stream_settings& other)
{
    const auto fields = [](const stream_settings& stream) {
        return std::tie(stream.name, stream.address, stream.interface, stream.buffer_size, stream.labels);
    };
    return fields(one) == fields(other) && same_limits(one.limits, other.limits);
}

namespace
{
/// Without the link that a local address may name, which is only known where it is received.
std::optional<zq_net::ip_address> read_address(const std::string& text)
{
    return zq_net::ip_address::read(text.substr(0, text.find('%')));
}
} // namespace

std::string stream_name_fault(std::string_view name)
{
    constexpr std::size_t longest = 100;
    if (name.empty() || name.size() > longest)
        return "a name has 1 to 100 bytes";
    const auto is_control = [](char letter) { return static_cast<unsigned char>(letter) < 0x20 || letter == 0x7F; };
    if (std::any_of(name.begin(), name.end(), is_control))
        return "a name has no control characters";
    return valid_utf8(name) == name ? "" : "a name is UTF-8";
}

std::string stream_address_fault(const std::string& address)
{
    const auto parsed = tools::parse_udp_address(address);
    if (!parsed)
        return "\"" + valid_utf8(address) + "\" is not udp://[SOURCE@]GROUP:PORT";
    const auto fault = [](const std::string& text, const char* what) {
        return "\"" + valid_utf8(text) + "\" is not " + what;
    };
    const auto group = read_address(parsed->address);
    if (!group && !parsed->address.empty())
        return fault(parsed->address, "an IP address");
    for (const auto& text : parsed->sources) {
        const auto source = read_address(text);
        if (!source)
            return fault(text, "an IP address");
        if (!group || !group->is_multicast() || group->family() != source->family())
            return fault(address, "a group with a source of its kind");
    }
    return {};
}

std::string label_fault(std::string_view name)
{
    const auto is_letter = [](char letter) { return (letter >= 'a' && letter <= 'z') || letter == '_'; };
    const auto is_good = [&](char letter) { return is_letter(letter) || (letter >= '0' && letter <= '9'); };
    const std::string quoted = "the label \"" + std::string(name) + "\" ";
    if (name.empty() || !is_letter(name.front()) || !std::all_of(name.begin(), name.end(), is_good))
        return quoted + "is not made of a to z, 0 to 9 and _";
    if (name.substr(0, 2) == "__")
        return quoted + "begins with __, which belongs to Prometheus";
    constexpr std::array<std::string_view, 8> ours{"stream", "address", "interface", "source",
                                                   "group",  "port",    "le",        "quantile"};
    return std::find(ours.begin(), ours.end(), name) == ours.end() ? "" : quoted + "has a meaning already";
}

stream_settings stream_of_argument(const std::string& argument)
{
    stream_settings stream;
    const auto equals = argument.find('=');
    stream.name = equals == std::string::npos ? argument : argument.substr(0, equals);
    stream.address = equals == std::string::npos ? argument : argument.substr(equals + 1);
    return stream;
}

std::vector<std::string> repeated_names(const std::vector<stream_settings>& streams)
{
    std::set<std::string> names;
    std::vector<std::string> repeated;
    for (const auto& stream : streams)
        if (!names.insert(stream.name).second)
            repeated.push_back(stream.name);
    return repeated;
}
} // namespace monitor
