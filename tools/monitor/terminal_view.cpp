// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/terminal_view.h"

#include "mpegcore/text/UTF8.h"
#include "tools/monitor/json_writer.h"
#include "tools/monitor/terminal_detail.h"
#include "tools/monitor/terminal_text.h"

#include <algorithm>
#include <array>
#include <map>

namespace monitor
{
namespace
{
const char* colour_of(stream_state state)
{
    switch (state) {
    case stream_state::good:
        return "\033[32m";
    case stream_state::warning:
        return "\033[33m";
    case stream_state::waiting:
        return "\033[90m";
    default:
        return "\033[31m";
    }
}

struct column
{
    const char* title;
    std::size_t width;
    bool right;
};
/// In the order in which they get room; the name takes 8 columns before any of them and shares with the service what
/// is left.
constexpr std::array<column, 5> columns_of_table{{
    {"STATE", 7, false},
    {"BIT RATE", 13, true},
    {"LOST", 7, true},
    {"P1", 7, true},
    {"P2", 7, true},
}};
constexpr std::size_t least_name = 8;
constexpr std::size_t most_name = 32;
constexpr std::size_t least_service = 8;

struct layout
{
    std::size_t name;
    std::array<bool, columns_of_table.size()> shown{};
    std::size_t service = 0;
};

layout layout_for(std::size_t columns, std::size_t longest_name)
{
    layout fit{};
    const std::size_t wanted = std::clamp(longest_name, least_name, most_name);
    std::size_t left = columns > 2 ? columns - 2 : 0; // the mark and a blank
    fit.name = std::min(left, least_name);
    left -= fit.name;
    for (std::size_t at = 0; at < columns_of_table.size(); ++at)
        if (left > columns_of_table[at].width) {
            fit.shown[at] = true;
            left -= columns_of_table[at].width + 1;
        }
    const std::size_t more = std::min(left, wanted - std::min(wanted, fit.name));
    fit.name += more;
    left -= more;
    fit.service = left > least_service ? left - 1 : 0;
    return fit;
}

std::array<std::string, columns_of_table.size()> cells_of(const stream_report& report)
{
    const snapshot& seen = *report.seen;
    return {name_of(report.state), rate_text(report.bit_rate), std::to_string(lost_packets(seen)),
            std::to_string(errors_of(seen, 1)), std::to_string(errors_of(seen, 2))};
}

std::string row(const layout& fit, std::string_view mark, std::string_view name,
                const std::array<std::string, columns_of_table.size()>& cells, std::string_view service)
{
    std::string line = std::string(mark) + ' ' + fitted(name, fit.name);
    for (std::size_t at = 0; at < cells.size(); ++at)
        if (fit.shown[at])
            line += ' ' + fitted(cells[at], columns_of_table[at].width, columns_of_table[at].right);
    if (fit.service > 0)
        line += ' ' + fitted(service, fit.service);
    return line;
}

std::size_t code_points(std::string_view text)
{
    std::size_t count = 0;
    for (std::size_t at = 0; at < text.size(); ++count)
        (void)mpegcore::next_code_point(text, at);
    return count;
}

std::string summary_of(const survey& all)
{
    std::map<std::string, unsigned> states;
    std::uint64_t bits = 0;
    for (const auto& report : all.streams) {
        ++states[name_of(report->state)];
        bits += report->bit_rate;
    }
    std::string text = std::to_string(all.streams.size()) + " streams";
    for (const auto& [state, count] : states)
        text += ", " + std::to_string(count) + ' ' + state;
    return text + ", " + rate_text(bits);
}

} // namespace

std::vector<std::string> terminal_view::lines(const survey& all)
{
    if (message.empty() || rows < 2)
        return picture(all, rows);
    auto shown = picture(all, rows - 1);
    shown.push_back(fitted(message, columns));
    return shown;
}

std::vector<std::string> terminal_view::picture(const survey& all, std::size_t height)
{
    std::vector<std::string> shown;
    if (height == 0)
        return shown;
    selected = std::min(selected, all.streams.empty() ? 0 : all.streams.size() - 1);
    if (detail && !all.streams.empty()) {
        std::vector<std::string> told;
        for (const auto& line : detail_of(*all.streams[selected], *all.events))
            for (auto& part : wrapped(line, columns))
                told.push_back(std::move(part));
        scrolled = std::min(scrolled, told.size() - std::min(told.size(), height));
        for (std::size_t at = scrolled; at < told.size() && shown.size() < height; ++at)
            shown.push_back(fitted(told[at], columns));
        return shown;
    }
    std::size_t longest_name = 0;
    for (const auto& report : all.streams)
        longest_name = std::max(longest_name, code_points(report->settings.name));
    const layout fit = layout_for(columns, longest_name);
    std::array<std::string, columns_of_table.size()> titles;
    for (std::size_t at = 0; at < titles.size(); ++at)
        titles[at] = columns_of_table[at].title;
    shown.push_back(fitted(summary_of(all), columns));
    if (height > 1)
        shown.push_back(fitted(row(fit, " ", "STREAM", titles, "FIRST SERVICE"), columns));
    const std::size_t room = height - shown.size();
    const std::size_t first = selected < room ? 0 : selected - room + 1;
    for (std::size_t at = first; at < all.streams.size() && shown.size() < height; ++at) {
        const auto& report = *all.streams[at];
        const auto service = report.seen->fault.empty() ? first_service(*report.seen) : report.seen->fault;
        auto line =
            fitted(row(fit, at == selected ? ">" : " ", report.settings.name, cells_of(report), service), columns);
        shown.push_back(colour ? colour_of(report.state) + line + "\033[0m" : line);
    }
    return shown;
}

bool terminal_view::press(std::string_view key, std::size_t streams)
{
    message.clear();
    std::size_t& place = detail ? scrolled : selected;
    const std::size_t page = rows > 3 ? rows - 3 : 1;
    const std::size_t most = detail ? place + page : streams == 0 ? 0 : streams - 1;
    if (key == "up" || key == "page up")
        place -= std::min(place, key == "up" ? 1 : page);
    else if (key == "down" || key == "page down")
        place = std::min(most, place + (key == "down" ? 1 : page));
    else if (key == "enter" && !detail)
        detail = true;
    else if (key == "back" && detail)
        detail = false;
    else
        return false;
    if (!detail || key == "enter")
        scrolled = 0;
    return true;
}

std::string plain_line(const stream_report& report, std::uint64_t time)
{
    const snapshot& seen = *report.seen;
    std::string line = iso_time(time) + ' ' + printable(report.settings.name) + ' ' + name_of(report.state) + ' ' +
                       rate_text(report.bit_rate) + ", lost " + std::to_string(lost_packets(seen)) + ", errors " +
                       std::to_string(errors_of(seen, 1)) + '/' + std::to_string(errors_of(seen, 2)) + '/' +
                       std::to_string(errors_of(seen, 3));
    for (const auto& check : report.active)
        line += (&check == &report.active.front() ? ", now " : " ") + check;
    const auto more = seen.fault.empty() ? first_service(seen) : seen.fault;
    return more.empty() ? line : line + ", " + printable(more);
}
} // namespace monitor
