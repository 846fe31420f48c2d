// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/shard.h"

#include "tools/common/parse_number.h"

namespace monitor
{
std::optional<shard> parse_shard(std::string_view text)
{
    const auto slash = text.find('/');
    shard parsed;
    if (slash == std::string_view::npos || !tools::parse_number(text.substr(0, slash), parsed.index) ||
        !tools::parse_number(text.substr(slash + 1), parsed.count) || parsed.index >= parsed.count)
        return std::nullopt;
    return parsed;
}
} // namespace monitor
