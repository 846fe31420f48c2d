// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "zq_net/udp_socket.h"

#include <optional>
#include <string>
#include <string_view>

namespace tools
{
/// Address, port and source of "udp://[SOURCE@]GROUP:PORT"; IPv6 addresses stand in brackets, an empty GROUP is every
/// local address. Nothing when `text` is something else; whether the addresses are good is for the socket to find out.
[[nodiscard]] std::optional<zq_net::udp_settings> parse_udp_address(std::string_view text);
[[nodiscard]] bool is_udp_address(std::string_view text);
/// What is wrong with the name of an input that may be such an address, else empty.
[[nodiscard]] std::string udp_address_fault(const std::string& name);
} // namespace tools
