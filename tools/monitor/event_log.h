// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace monitor
{
/// The beginning or the end of an alarm, or something that happened once.
struct event
{
    enum class kind
    {
        begin,
        end,
        note,
    };

    std::uint64_t time = 0; ///< nanoseconds since 1970
    kind what = kind::begin;
    std::string stream;
    std::string check; ///< "1.4", "input", ...
    std::string name;  ///< "Continuity_count_error", ...
    unsigned priority = 1;
    std::string text;           ///< what is known of it; may be empty
    std::uint64_t duration = 0; ///< of an alarm that ended, in nanoseconds
    std::uint64_t count = 0;    ///< errors in it
};

[[nodiscard]] std::string json_of(const event& told);

/// What a stream's alarms have to do with time. One begins with the first error, and ends when there was none for the
/// hold-off: however often something fails within it, that is one alarm.
class alarm_book
{
public:
    explicit alarm_book(std::uint64_t hold_off) : m_hold_off(hold_off) {}

    /// One look at the check that `seen` names: `failing` now, with so many `errors` since the last look. `now` is of a
    /// clock that never goes back, in nanoseconds. What it comes to, if anything.
    [[nodiscard]] std::optional<event> look(const event& seen, std::uint64_t now, bool failing, std::uint64_t errors);
    /// All that are active end, because the stream is not watched any more; `time` since 1970.
    [[nodiscard]] std::vector<event> end_all(std::uint64_t time, std::uint64_t now);

    /// Names of the checks with an active alarm.
    [[nodiscard]] std::vector<std::string> active() const;
    [[nodiscard]] bool is_active(std::string_view check) const { return m_active.find(check) != m_active.end(); }
    /// The gravest priority of an active alarm; 0: there is none.
    [[nodiscard]] unsigned gravest() const;

private:
    struct open_alarm
    {
        event begin;
        std::uint64_t begun = 0;
        std::uint64_t last_error = 0;
        std::uint64_t errors = 0;
    };

    static event end_of(const open_alarm& ended, std::uint64_t time, std::uint64_t now);

    std::uint64_t m_hold_off; ///< nanoseconds
    std::map<std::string, open_alarm, std::less<>> m_active;
};

/// The last events of all streams. When there are too many, the oldest of the stream with the most goes, so that a
/// stream in which much happens leaves the others theirs.
class event_ring
{
public:
    static constexpr std::size_t most = 2000;

    void put(event told);
    [[nodiscard]] const std::deque<event>& events() const { return m_events; } ///< oldest first
    [[nodiscard]] std::uint64_t total() const { return m_total; }              ///< those that went included

private:
    std::deque<event> m_events;
    std::map<std::string, std::size_t> m_counts; ///< by stream
    std::uint64_t m_total = 0;
};
} // namespace monitor
