// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "tools/monitor/survey.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace monitor
{
/// What is shown of a survey, and how large.
struct terminal_view
{
    std::size_t columns = 80;
    std::size_t rows = 24;
    bool colour = false;
    bool detail = false;      ///< the selected stream instead of all
    std::size_t selected = 0; ///< place in the list
    std::size_t scrolled = 0; ///< lines of the detail that went over the top
    std::string message;      ///< stands in the last row, if there is more than one; gone with the next key

    /// As many lines as there are rows, or fewer, none wider than the columns. Corrects what points beyond the end.
    [[nodiscard]] std::vector<std::string> lines(const survey& all);

    /// "up", "down", "page up", "page down", "enter", "back": what the keys do. False for anything else.
    bool press(std::string_view key, std::size_t streams);

private:
    [[nodiscard]] std::vector<std::string> picture(const survey& all, std::size_t height);
};

/// One stream as a line for a pipe, which begins with the time.
[[nodiscard]] std::string plain_line(const stream_report& report, std::uint64_t time);
} // namespace monitor
