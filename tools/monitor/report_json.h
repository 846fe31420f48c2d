// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "tools/monitor/survey.h"

#include <string>

namespace monitor
{
/// All streams, a few members each. `with_recent` adds the bit rates of the last minute.
[[nodiscard]] std::string streams_json(const survey& all, bool with_recent);
/// One stream with all that is known of it, as a line without a newline. `events` adds the bit rates of the last ten
/// minutes and the stream's events among these.
[[nodiscard]] std::string stream_json(const stream_report& report, const std::deque<event>* events = nullptr);
} // namespace monitor
