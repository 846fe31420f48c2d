// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/monitor/MonitorLimits.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace monitor
{
/// A stream to watch.
struct stream_settings
{
    std::string name;      ///< as shown; no other stream has it
    std::string address;   ///< "udp://[SOURCE@]GROUP:PORT"
    std::string interface; ///< to join a group on, a name or an address of one; empty: what the routing table chooses
    int buffer_size = 0;   ///< bytes that the kernel may keep; 0: the usual
    std::map<std::string, std::string> labels; ///< of the metric that tells of the stream's settings
    mpegcore::MonitorLimits limits;
};

[[nodiscard]] bool operator==(const stream_settings& one, const stream_settings& other);

/// What is wrong with a name, an address or the name of a label; empty when nothing is.
[[nodiscard]] std::string stream_name_fault(std::string_view name);
[[nodiscard]] std::string stream_address_fault(const std::string& address);
[[nodiscard]] std::string label_fault(std::string_view name);

/// The stream that an argument names: an address, or NAME=ADDRESS.
[[nodiscard]] stream_settings stream_of_argument(const std::string& argument);
/// The names that more than one of `streams` has.
[[nodiscard]] std::vector<std::string> repeated_names(const std::vector<stream_settings>& streams);
} // namespace monitor
