// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstdint>
#include <optional>
#include <string_view>

namespace monitor
{
/// FNV-1a with 64 bits, whose result no release changes: processes of several releases share one list.
[[nodiscard]] constexpr std::uint64_t fnv1a(std::string_view text)
{
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const char letter : text)
        hash = (hash ^ static_cast<unsigned char>(letter)) * 0x100000001B3;
    return hash;
}

/// The part of a list of streams that one of several processes takes.
struct shard
{
    unsigned index = 0; ///< from 0, below `count`
    unsigned count = 1;

    [[nodiscard]] bool holds(std::string_view name) const { return fnv1a(name) % count == index; }
};

/// "I/N"; nothing when `text` is something else or I is not below N.
[[nodiscard]] std::optional<shard> parse_shard(std::string_view text);
} // namespace monitor
