// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/pid_history.h"

#include <algorithm>
#include <utility>

namespace monitor
{
void pid_history::look(const std::vector<pid_state>& PIDs, bool came)
{
    std::size_t count = 0;
    for (const auto& PID : PIDs)
        if (PID.figures.is_referenced && ++count <= most_PIDs)
            m_sums[PID.figures.PID] += came ? PID.figures.bit_rate : 0;
    if (++m_seconds == seconds_a_point)
        add_point();
}

void pid_history::add_point()
{
    auto next = std::make_shared<all_rates>();
    for (const auto& [PID, sum] : std::exchange(m_sums, {})) {
        if (next->size() == most_PIDs)
            break;
        auto& told = next->emplace_back();
        told.PID = PID;
        const auto before =
            std::lower_bound(m_rates->begin(), m_rates->end(), PID,
                             [](const pid_rates& each, std::uint16_t other) { return each.PID < other; });
        if (before != m_rates->end() && before->PID == PID) {
            const auto kept = std::min(before->rates.size(), most_points - 1);
            told.rates.assign(before->rates.end() - static_cast<std::ptrdiff_t>(kept), before->rates.end());
        }
        told.rates.push_back(sum / seconds_a_point);
    }
    m_rates = std::move(next);
    m_seconds = 0;
}
} // namespace monitor
