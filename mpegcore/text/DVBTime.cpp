// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/text/DVBTime.h"

#include "mpegcore/descriptors/local_time_offset_descriptor.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>

namespace mpegcore
{
namespace
{
using namespace std::chrono;

constexpr std::int64_t MJD_of_1970 = 40587;

/// Two BCD digits as a number up to `highest`.
std::optional<int> number_of(std::uint64_t BCD, int highest)
{
    const int high = static_cast<int>(BCD >> 4 & 0xF);
    const int low = static_cast<int>(BCD & 0xF);
    const int number = 10 * high + low;
    if (high > 9 || low > 9 || number > highest)
        return std::nullopt;
    return number;
}

std::optional<seconds> hhmmss_of(std::uint64_t BCD, int highest_hour)
{
    const auto hour = number_of(BCD >> 16, highest_hour);
    const auto minute = number_of(BCD >> 8, 59);
    const auto second = number_of(BCD, 59);
    if (!hour || !minute || !second)
        return std::nullopt;
    return hours(*hour) + minutes(*minute) + seconds(*second);
}

/// Date and time of day, without a zone. Not by gmtime(), whose time_t may end in January 2038.
std::string date_and_time(UTCSeconds time)
{
    constexpr std::int64_t day_seconds = 86400;
    const std::int64_t since_1970 = time.time_since_epoch().count();
    const std::int64_t time_of_day = (since_1970 % day_seconds + day_seconds) % day_seconds;
    // Years from March on, so that the leap day is the last, in cycles of 400 years; 0000-03-01 is day 0.
    const std::int64_t day = (since_1970 - time_of_day) / day_seconds + 719468;
    const std::int64_t cycle = (day >= 0 ? day : day - 146096) / 146097;
    const std::int64_t day_of_cycle = day - cycle * 146097;
    const std::int64_t year_of_cycle =
        (day_of_cycle - day_of_cycle / 1460 + day_of_cycle / 36524 - day_of_cycle / 146096) / 365;
    const std::int64_t day_of_year = day_of_cycle - (365 * year_of_cycle + year_of_cycle / 4 - year_of_cycle / 100);
    const std::int64_t month_from_march = (5 * day_of_year + 2) / 153;
    const auto day_of_month = static_cast<int>(day_of_year - (153 * month_from_march + 2) / 5 + 1);
    const auto month = static_cast<int>(month_from_march < 10 ? month_from_march + 3 : month_from_march - 9);
    const std::int64_t year = year_of_cycle + cycle * 400 + (month <= 2 ? 1 : 0);
    std::array<char, 96> text{};
    std::snprintf(text.data(), text.size(), "%04lld-%02d-%02dT%02d:%02d:%02d", static_cast<long long>(year), month,
                  day_of_month, static_cast<int>(time_of_day / 3600), static_cast<int>(time_of_day / 60 % 60),
                  static_cast<int>(time_of_day % 60));
    return text.data();
}

bool is_country(const std::array<unsigned char, 3>& code, std::string_view name)
{
    return std::equal(code.begin(), code.end(), name.begin(), name.end(), [](unsigned char a, char b) {
        return std::toupper(a) == std::toupper(static_cast<unsigned char>(b));
    });
}
} // namespace

std::optional<UTCSeconds> utc_of(std::uint64_t MJD_and_BCD)
{
    // All ones are no digits either.
    const auto time_of_day = hhmmss_of(MJD_and_BCD & 0xFFFFFF, 23);
    if (!time_of_day || MJD_and_BCD >> 40 != 0)
        return std::nullopt;
    const auto days = static_cast<std::int64_t>(MJD_and_BCD >> 24) - MJD_of_1970;
    return UTCSeconds(seconds(86400 * days) + *time_of_day);
}

std::optional<seconds> duration_of(std::uint32_t BCD)
{
    if (BCD >> 24 != 0)
        return std::nullopt;
    return hhmmss_of(BCD, 99);
}

std::optional<minutes> time_offset_of(std::uint16_t BCD, bool polarity)
{
    const auto offset = hhmmss_of(std::uint64_t{BCD} << 8, 23);
    if (!offset)
        return std::nullopt;
    const auto whole = duration_cast<minutes>(*offset);
    return polarity ? -whole : whole;
}

std::optional<minutes> local_time_offset(const local_time_offset_descriptor& descriptor, std::string_view country_code,
                                         unsigned country_region_id, UTCSeconds at)
{
    for (const auto& entry : descriptor.entries) {
        if (!entry || entry->country_region_id != country_region_id || !is_country(entry->country_code, country_code))
            continue;
        const auto change = utc_of(entry->time_of_change);
        const bool changed = change && at >= *change;
        return time_offset_of(changed ? entry->next_time_offset : entry->local_time_offset,
                              entry->local_time_offset_polarity != 0);
    }
    return std::nullopt;
}

std::string to_iso_8601(UTCSeconds time) { return date_and_time(time) + 'Z'; }

std::string to_iso_8601(UTCSeconds time, minutes offset)
{
    const auto size = static_cast<int>(std::abs(offset.count()));
    std::array<char, 40> zone{};
    std::snprintf(zone.data(), zone.size(), "%c%02d:%02d", offset < minutes(0) ? '-' : '+', size / 60, size % 60);
    return date_and_time(time + offset) + zone.data();
}

std::string to_iso_8601(seconds duration)
{
    std::string text = "PT";
    const auto put = [&text](auto number, char unit) {
        if (number != 0)
            text += std::to_string(number) + unit;
    };
    put(duration.count() / 3600, 'H');
    put(duration.count() / 60 % 60, 'M');
    put(duration.count() % 60, 'S');
    return text.size() == 2 ? "PT0S" : text;
}
} // namespace mpegcore
