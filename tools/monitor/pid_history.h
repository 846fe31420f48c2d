// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "tools/monitor/snapshot.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace monitor
{
/// Bit rates of one PID, the last one last.
struct pid_rates
{
    std::uint16_t PID = 0;
    std::vector<std::uint64_t> rates;
};

/// What the PIDs of a stream carried in the last ten minutes.
class pid_history
{
public:
    static constexpr std::size_t most_PIDs = 64; ///< the first ones that tables name, by PID
    static constexpr std::size_t most_points = 60;
    static constexpr unsigned seconds_a_point = 10;

    using all_rates = std::vector<pid_rates>;

    /// To be called once a second. `came`: the bit rates are those of now; else it was none on any of them.
    void look(const std::vector<pid_state>& PIDs, bool came = true);
    /// By PID; each with as many points as it has been there for. Never null, and never changed.
    [[nodiscard]] std::shared_ptr<const all_rates> rates() const { return m_rates; }

private:
    void add_point();

    unsigned m_seconds = 0;                        ///< of the next point
    std::map<std::uint16_t, std::uint64_t> m_sums; ///< of it
    std::shared_ptr<const all_rates> m_rates = std::make_shared<const all_rates>();
};
} // namespace monitor
