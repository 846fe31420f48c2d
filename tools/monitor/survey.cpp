// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/survey.h"

namespace monitor
{
const char* name_of(stream_state state)
{
    switch (state) {
    case stream_state::waiting:
        return "waiting";
    case stream_state::closed:
        return "closed";
    case stream_state::silent:
        return "silent";
    case stream_state::bad:
        return "bad";
    case stream_state::warning:
        return "warning";
    case stream_state::good:
        return "good";
    }
    return "";
}

const stream_report* survey::find(const std::string& name) const
{
    for (const auto& stream : streams)
        if (stream->settings.name == name)
            return stream.get();
    return nullptr;
}

std::uint64_t errors_of(const snapshot& seen, unsigned priority)
{
    std::uint64_t errors = 0;
    for (const auto& check : mpegcore::TR101290_checks)
        if (check.priority == priority)
            errors += seen.checks[check.check].count;
    return errors;
}

std::string first_service(const snapshot& seen)
{
    for (const auto& service : seen.services)
        if (!service.name.empty())
            return service.name;
    return {};
}
} // namespace monitor
