// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/TablePrinter.h"
#include "mpegcore/text/DVBTime.h"

#include <string>

namespace mpegcore
{
/// ISO 8601: in local time as far as the options know it, else in UTC.
inline std::string printed_time(UTCSeconds instant, const PrintOptions& options)
{
    const LocalTime& local = options.local_time;
    if (local.offsets != nullptr)
        if (const auto offset = local_time_offset(*local.offsets, local.country_code, local.country_region_id, instant))
            return to_iso_8601(instant, *offset);
    return to_iso_8601(instant);
}
} // namespace mpegcore
