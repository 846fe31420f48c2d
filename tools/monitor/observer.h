// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "tools/monitor/receivers.h"
#include "tools/monitor/survey.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>

namespace monitor
{
/// Looks at all streams once a second, and makes alarms and a history of what it sees.
class observer
{
public:
    using event_sink = std::function<void(const event&)>;

    /// `hold_off`: nanoseconds without an error after which an alarm ends. `tell` is called for each event.
    observer(std::uint64_t hold_off, event_sink tell) : m_hold_off(hold_off), m_tell(std::move(tell)) {}

    /// To be called once a second.
    [[nodiscard]] std::shared_ptr<survey> look(const stream_set& streams, const moment& now);

private:
    struct watch
    {
        std::shared_ptr<watched_stream> stream; ///< keeps its address from being another's
        alarm_book alarms;
        std::shared_ptr<const snapshot> before;
        std::uint64_t bit_rate = 0;
        std::uint64_t last_change = 0; ///< serial numbers of what was told
        std::deque<std::uint64_t> history;
        pid_history PIDs;
    };

    [[nodiscard]] std::shared_ptr<const stream_report> look_at(watch& watched, const moment& now);
    void look_for_alarms(watch& watched, const snapshot& seen, const moment& now);
    void look_at_checks(watch& watched, const snapshot& seen, const moment& now);
    void tell_changes(watch& watched, const snapshot& seen);
    void drop_others(const stream_set& streams, const moment& now);
    void tell(const event& told);

    std::uint64_t m_hold_off;
    event_sink m_tell;
    std::map<const watched_stream*, watch> m_watches;
    event_ring m_ring;
    std::shared_ptr<const std::deque<event>> m_events = std::make_shared<const std::deque<event>>();
    std::uint64_t m_events_shown = 0;
};
} // namespace monitor
