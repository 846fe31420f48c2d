// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstdint>
#include <map>
#include <optional>
#include <string>

/// What an address of the form `udp://[SOURCE@]ADDRESS[:PORT][?NAME=VALUE&...]` says; `rtp://` alike.
struct zq_udp_uri
{
    static constexpr std::uint16_t default_port = 5004;

    bool rtp = false;
    std::string source; ///< of a group; empty: any
    std::string address;
    std::uint16_t port = default_port;
    std::map<std::string, std::string> parameters;

    /// Nothing, with the reason in `error`, when `text` has another form or a host name in place of an address.
    [[nodiscard]] static std::optional<zq_udp_uri> read(const std::string& text, std::string& error);
    /// Without the parameters.
    [[nodiscard]] std::string text() const;
};
