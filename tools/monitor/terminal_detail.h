// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "tools/monitor/survey.h"

#include <deque>
#include <string>
#include <vector>

namespace monitor
{
/// What a terminal tells of one stream, as lines of any length: how it comes in, errors, T2-MI, services, PIDs, tables,
/// and its own ones of `events`, the last one first. Texts from the air are as they came.
[[nodiscard]] std::vector<std::string> detail_of(const stream_report& report, const std::deque<event>& events);
} // namespace monitor
