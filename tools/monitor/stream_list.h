// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "tools/monitor/stream_settings.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace monitor
{
/// The streams of a TOML file (zq-monitor(1) says what stands in it).
struct stream_list
{
    std::vector<stream_settings> streams;
    /// What is wrong, "FILE:LINE: reason" each, or "FILE: reason" for a file that cannot be read. With any of them the
    /// list is not one to use.
    std::vector<std::string> faults;

    static constexpr std::size_t largest_file = std::size_t{16} << 20; ///< bytes
};

[[nodiscard]] stream_list read_stream_list(const std::string& file);
/// The same of what stands in a file; `file` is for the faults.
[[nodiscard]] stream_list parse_stream_list(std::string_view text, const std::string& file);
} // namespace monitor
