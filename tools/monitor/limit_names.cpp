// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/limit_names.h"

#include "mpegcore/TransportPacket.h"

#include <algorithm>
#include <array>
#include <tuple>

namespace monitor
{
bool set_limit(mpegcore::MonitorLimits& limits, std::string_view name, std::uint64_t number)
{
    for (const auto& limit : mpegcore::MonitorTimeLimits)
        if (limit.name == name) {
            limits.*limit.time = number * mpegcore::MonitorLimits::ms;
            return true;
        }
    if (name == "T2MI_PID" && number < mpegcore::null_packet_PID) {
        limits.T2MI_PID = static_cast<int>(number);
        return true;
    }
    constexpr std::array counts{
        std::pair{std::string_view("sync_bytes_lost"), &mpegcore::MonitorLimits::sync_bytes_lost},
        std::pair{std::string_view("sync_bytes_regained"), &mpegcore::MonitorLimits::sync_bytes_regained}};
    constexpr std::uint64_t most_sync_bytes = 1000;
    for (const auto& [known, member] : counts)
        if (known == name && number > 0 && number <= most_sync_bytes) {
            limits.*member = static_cast<unsigned>(number);
            return true;
        }
    return false;
}

bool same_limits(const mpegcore::MonitorLimits& one, const mpegcore::MonitorLimits& other)
{
    const auto others = [](const mpegcore::MonitorLimits& limits) {
        return std::tie(limits.sync_bytes_lost, limits.sync_bytes_regained, limits.SI_is_expected, limits.T2MI_PID);
    };
    const auto& times = mpegcore::MonitorTimeLimits;
    return others(one) == others(other) && std::all_of(times.begin(), times.end(), [&](const auto& limit) {
               return one.*limit.time == other.*limit.time;
           });
}
} // namespace monitor
