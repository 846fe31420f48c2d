// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "tools/monitor/demo/player.h"
#include "tools/monitor/stream_settings.h"

#include <string>
#include <vector>

namespace monitor
{
/// Hands the streams of the demo to `played`, and the settings by which they are watched to `streams`. False, with a
/// sentence in `fault`, when there is no port for one.
[[nodiscard]] bool add_demo(player& played, std::vector<stream_settings>& streams, std::string& fault);
/// The same for a file that is sent by its PCRs, [NAME=]FILE.
[[nodiscard]] bool add_file(const std::string& argument, player& played, std::vector<stream_settings>& streams,
                            std::string& fault);
} // namespace monitor
