// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/common/udp_address.h"

#include "tools/common/parse_number.h"

namespace tools
{
namespace
{
constexpr std::string_view scheme = "udp://";

std::string without_brackets(std::string_view host)
{
    const bool has_them = host.size() >= 2 && host.front() == '[' && host.back() == ']';
    return std::string(has_them ? host.substr(1, host.size() - 2) : host);
}
} // namespace

bool is_udp_address(std::string_view text) { return text.substr(0, scheme.size()) == scheme; }

std::optional<zq_net::udp_settings> parse_udp_address(std::string_view text)
{
    if (!is_udp_address(text))
        return std::nullopt;
    text.remove_prefix(scheme.size());
    zq_net::udp_settings settings;
    if (const auto at = text.find('@'); at != std::string_view::npos) {
        if (at > 0)
            settings.sources.push_back(without_brackets(text.substr(0, at)));
        text.remove_prefix(at + 1);
    }
    const auto colon = text.rfind(':');
    if (colon == std::string_view::npos || !parse_number(text.substr(colon + 1), settings.port) || settings.port == 0)
        return std::nullopt;
    settings.address = without_brackets(text.substr(0, colon));
    return settings;
}

std::string udp_address_fault(const std::string& name)
{
    const bool bad = is_udp_address(name) && !parse_udp_address(name);
    return bad ? "\"" + name + "\" is not udp://[SOURCE@]GROUP:PORT" : std::string();
}
} // namespace tools
