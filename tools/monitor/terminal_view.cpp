// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/terminal_view.h"

#include "mpegcore/text/UTF8.h"
#include "tools/monitor/json_writer.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>

namespace monitor
{
namespace
{
/// Columns that a character takes; the wide ones of East Asia take two.
std::size_t width_of(char32_t code)
{
    const auto is_in = [code](char32_t first, char32_t last) { return code >= first && code <= last; };
    return is_in(0x1100, 0x115F) || is_in(0x2E80, 0xA4CF) || is_in(0xAC00, 0xD7A3) || is_in(0xF900, 0xFAFF) ||
                   is_in(0xFE30, 0xFE6F) || is_in(0xFF00, 0xFF60) || is_in(0x1F300, 0x1FAFF) || is_in(0x20000, 0x3FFFD)
               ? 2
               : 1;
}

/// Control characters, and those that turn the direction of writing around.
bool is_printable(char32_t code)
{
    return code >= 0x20 && (code < 0x7F || code > 0x9F) && (code < 0x200B || code > 0x200F) &&
           (code < 0x2028 || code > 0x202E) && (code < 0x2066 || code > 0x2069) && code != 0xFEFF;
}

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

const char* word_of(event::kind kind)
{
    switch (kind) {
    case event::kind::begin:
        return " begin ";
    case event::kind::end:
        return " end   ";
    case event::kind::note:
        return " note  ";
    }
    return "";
}

std::vector<std::string> detail_of(const stream_report& report, const survey& all)
{
    const snapshot& seen = *report.seen;
    const auto count = [](std::uint64_t number) { return std::to_string(number); };
    std::vector<std::string> lines{report.settings.name + ": " + name_of(report.state),
                                   report.settings.address +
                                       (report.settings.interface.empty() ? "" : " on " + report.settings.interface)};
    if (!seen.fault.empty())
        lines.push_back(seen.fault);
    lines.push_back(rate_text(report.bit_rate) + ", " + count(seen.input.legs[0].datagrams) + " datagrams, " +
                    count(lost_packets(seen)) + " lost, " + count(kernel_drops(seen)) + " dropped by the kernel, " +
                    count(seen.input.senders) + " senders");
    lines.emplace_back();
    for (const auto& check : mpegcore::TR101290_checks) {
        const auto& record = seen.checks[check.check];
        if (record.count == 0 && record.state != mpegcore::CheckState::failing)
            continue;
        const char* const now = record.state == mpegcore::CheckState::failing ? "failing " : "        ";
        lines.push_back(now + std::string(check.number) + ' ' + std::string(check.name) + ": " + count(record.count) +
                        " in " + count(record.error_seconds) + " s, " + record.detail());
    }
    if (lines.back().empty())
        lines.emplace_back("no error by TR 101 290");
    lines.emplace_back();
    for (const auto& service : seen.services) {
        lines.push_back(count(service.program_number) + ' ' + service.name);
        for (const auto& stream : service.streams)
            lines.push_back("    PID " + count(stream.PID) + ' ' + stream.name + ' ' + stream.language);
    }
    lines.emplace_back();
    for (const auto& PID : seen.PIDs)
        lines.push_back(
            fitted("PID " + count(PID.figures.PID), 9) + ' ' + fitted(mpegcore::name_of(PID.figures.kind), 10) +
            fitted(rate_text(PID.figures.bit_rate), 14, true) + (PID.figures.is_scrambled ? " scrambled" : "") +
            (PID.figures.continuity_errors == 0 ? ""
                                                : ' ' + count(PID.figures.continuity_errors) + " continuity errors"));
    lines.emplace_back();
    for (auto told = all.events->rbegin(); told != all.events->rend(); ++told)
        if (told->stream == report.settings.name)
            lines.push_back(iso_time(told->time) + word_of(told->what) + told->check + ' ' + told->name + ' ' +
                            told->text);
    return lines;
}
} // namespace

std::string fitted(std::string_view text, std::size_t columns, bool right)
{
    std::string shown;
    std::size_t used = 0;
    for (std::size_t at = 0; at < text.size();) {
        char32_t code = mpegcore::next_code_point(text, at);
        if (!is_printable(code))
            code = '?';
        if (used + width_of(code) > columns)
            break;
        used += width_of(code);
        mpegcore::append_utf8(shown, code);
    }
    return right ? std::string(columns - used, ' ') + shown : shown + std::string(columns - used, ' ');
}

std::string rate_text(std::uint64_t bits)
{
    constexpr std::array<std::pair<double, const char*>, 3> units{{{1e9, "Gbit/s"}, {1e6, "Mbit/s"}, {1e3, "kbit/s"}}};
    std::array<char, 32> text{};
    for (const auto& [size, unit] : units)
        if (static_cast<double>(bits) >= size) {
            std::snprintf(text.data(), text.size(), "%.2f %s", static_cast<double>(bits) / size, unit);
            return text.data();
        }
    return std::to_string(bits) + " bit/s";
}

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
        const auto told = detail_of(*all.streams[selected], all);
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
    const auto clean = [](const std::string& text) { return fitted(text, code_points(text) * 2); };
    const auto trimmed = [](std::string text) { return text.erase(text.find_last_not_of(' ') + 1); };
    std::string line = iso_time(time) + ' ' + trimmed(clean(report.settings.name)) + ' ' + name_of(report.state) + ' ' +
                       rate_text(report.bit_rate) + ", lost " + std::to_string(lost_packets(seen)) + ", errors " +
                       std::to_string(errors_of(seen, 1)) + '/' + std::to_string(errors_of(seen, 2)) + '/' +
                       std::to_string(errors_of(seen, 3));
    for (const auto& check : report.active)
        line += (&check == &report.active.front() ? ", now " : " ") + check;
    const auto more = seen.fault.empty() ? first_service(seen) : seen.fault;
    return more.empty() ? line : line + ", " + trimmed(clean(more));
}
} // namespace monitor
