// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/monitor/MonitorLimits.h"

#include <cstdint>
#include <string_view>

namespace monitor
{
/// Of a limit: a day, for one that is a time.
inline constexpr std::uint64_t highest_limit = 24ULL * 3600 * 1000;

/// Sets what has this name in MonitorLimits; times are given in milliseconds. False when there is none of the name, or
/// it is no number of this kind.
[[nodiscard]] bool set_limit(mpegcore::MonitorLimits& limits, std::string_view name, std::uint64_t number);
[[nodiscard]] bool same_limits(const mpegcore::MonitorLimits& one, const mpegcore::MonitorLimits& other);
} // namespace monitor
