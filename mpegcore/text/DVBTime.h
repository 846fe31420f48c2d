// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mpegcore
{
class local_time_offset_descriptor;

/// A point in time, UTC, to the second.
using UTCSeconds = std::chrono::time_point<std::chrono::system_clock, std::chrono::seconds>;

/// The instant of a 40-bit UTC_time, start_time or time_of_change: MJD and BCD hhmmss (ETSI EN 300 468, Annex C).
/// Nothing when it is undefined (all ones), and when its digits are no time of day. For the other direction see
/// CEventInfo::time_t_to_start_time.
[[nodiscard]] std::optional<UTCSeconds> utc_of(std::uint64_t MJD_and_BCD);

/// A 24-bit duration, BCD hhmmss, 0 to 99 hours. Nothing when it is undefined (all ones), and when its digits are no
/// duration. For the other direction see CEventInfo::sec_to_duration.
[[nodiscard]] std::optional<std::chrono::seconds> duration_of(std::uint32_t BCD);

/// What local time is ahead of UTC: a 16-bit local_time_offset or next_time_offset, BCD hhmm, which a
/// local_time_offset_polarity of 1 makes negative (6.2.20). Nothing when its digits are no time of day.
[[nodiscard]] std::optional<std::chrono::minutes> time_offset_of(std::uint16_t BCD, bool polarity);

/// What local time in a region is ahead of UTC at the instant `at`, by a local_time_offset_descriptor; behind
/// time_of_change that is next_time_offset. `country_code` has 3 letters, in any case; region 0 is a country without
/// zones. Nothing when the descriptor does not tell.
[[nodiscard]] std::optional<std::chrono::minutes> local_time_offset(const local_time_offset_descriptor& descriptor,
                                                                    std::string_view country_code,
                                                                    unsigned country_region_id, UTCSeconds at);

/// ISO 8601: "2026-11-21T20:15:00Z".
[[nodiscard]] std::string to_iso_8601(UTCSeconds time);
/// The same instant in local time: "2026-11-21T21:15:00+01:00".
[[nodiscard]] std::string to_iso_8601(UTCSeconds time, std::chrono::minutes offset);
/// ISO 8601, without the units that are 0: "PT1H30M", "PT45S", "PT0S". Not negative.
[[nodiscard]] std::string to_iso_8601(std::chrono::seconds duration);
} // namespace mpegcore
