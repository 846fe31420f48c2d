// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/TablePrinter.h"
#include "tools/tables/section_listener.h"

#include <string>

namespace tables
{
/// "DEU" or "ESP:2": a country code, and the number of a region where the country has several (ETSI EN 300
/// 468, 6.2.20). False when the text is anything else.
[[nodiscard]] bool parse_region(const std::string& text, mpegcore::LocalTime& local_time);

/// When the section is a TOT that tells of the region, keeps what it tells.
void follow_local_time(const heard_section& section, mpegcore::LocalTime& local_time);
} // namespace tables
