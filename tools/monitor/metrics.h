// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "tools/monitor/survey.h"

#include <cstdint>
#include <string>

namespace monitor
{
inline constexpr const char* metrics_content_type = "text/plain; version=0.0.4; charset=utf-8";

/// What of the process stands among the metrics.
struct process_facts
{
    std::string version;
    std::uint64_t start_time = 0; ///< nanoseconds since 1970
};

/// PIDs of a stream that have metrics: those that a table names, up to so many.
inline constexpr std::size_t most_PIDs_with_metrics = 64;

/// All streams in Prometheus' text format 0.0.4. The names are a promise: docs/zq-monitor.md lists them.
[[nodiscard]] std::string metrics_text(const survey& all, const process_facts& process);
} // namespace monitor
