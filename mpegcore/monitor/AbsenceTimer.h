// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <algorithm>
#include <cstdint>
#include <utility>

namespace mpegcore
{
/// Tells when something that has to come again and again does not. Times in nanoseconds.
class AbsenceTimer
{
public:
    enum class News
    {
        in_time,
        became_late, ///< told once for each absence
        still_late,
    };

    /// It came at `now`. Before `since` nothing was expected. `limit` 0: it may take any time.
    News feed(std::uint64_t now, std::uint64_t since, std::uint64_t limit)
    {
        const News news = look(now, since, limit);
        m_last = now;
        m_is_late = false;
        m_has_come = true;
        return news;
    }
    /// It has not come up to `now`.
    News look(std::uint64_t now, std::uint64_t since, std::uint64_t limit)
    {
        if (limit == 0 || absent_for(now, since) <= limit) {
            m_is_late = false;
            return News::in_time;
        }
        return std::exchange(m_is_late, true) ? News::still_late : News::became_late;
    }
    /// Both at most `now`.
    std::uint64_t absent_for(std::uint64_t now, std::uint64_t since) const { return now - std::max(m_last, since); }
    bool has_come() const { return m_has_come; }

private:
    std::uint64_t m_last = 0;
    bool m_is_late = false;
    bool m_has_come = false;
};
} // namespace mpegcore
