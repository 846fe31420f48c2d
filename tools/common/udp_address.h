// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tools
{
/// Where datagrams come from: "udp://[SOURCE@]GROUP:PORT".
struct udp_address
{
    std::string source; ///< of source-specific multicast; empty: any
    std::string group;  ///< or a local address; empty: all
    std::uint16_t port = 0;
};

/// Nothing when `text` begins with "udp://" and goes on differently. Whether the addresses are good is for
/// open_udp_socket() to find out.
[[nodiscard]] std::optional<udp_address> parse_udp_address(std::string_view text);
[[nodiscard]] bool is_udp_address(std::string_view text);

/// A socket that receives what is sent to `address`, joined on the local interface of the IPv4 address `interface`
/// (empty: the system's choice). Negative, with the reason in `fault`, when that fails. The caller closes it.
[[nodiscard]] int open_udp_socket(const udp_address& address, const std::string& interface, std::string& fault);
} // namespace tools
