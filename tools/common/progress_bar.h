// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <chrono>
#include <cstdint>

namespace tools
{
/// A line on standard error that shows how far a long job is. Appears only when standard error is a terminal and the
/// job takes longer than half a second; redrawn at most ten times a second.
class progress_bar
{
public:
    /// `total` in bytes; 0 when it is not known, which shows the bytes done only.
    progress_bar(std::uint64_t total, bool wanted);
    ~progress_bar();
    progress_bar(const progress_bar&) = delete;
    progress_bar& operator=(const progress_bar&) = delete;

    void show(std::uint64_t done);
    /// Makes room for a line of something else; the next show() draws it again.
    void hide();

private:
    using clock = std::chrono::steady_clock;

    std::uint64_t m_total;
    bool m_wanted;
    bool m_drawn = false;
    clock::time_point m_next_draw;
};
} // namespace tools
