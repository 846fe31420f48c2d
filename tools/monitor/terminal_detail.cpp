// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/terminal_detail.h"

#include "mpegcore/text/Meanings.h"
#include "tools/monitor/json_writer.h"
#include "tools/monitor/note_keeper.h"
#include "tools/monitor/terminal_text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

namespace monitor
{
namespace
{
using text_lines = std::vector<std::string>;

std::string counted(std::uint64_t number) { return std::to_string(number); }

std::string decimal(double value, int places)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.*f", places, value);
    return text.data();
}

std::string in_ms(std::uint64_t time) { return decimal(static_cast<double>(time) / 1e6, 2); }

void tell_input(text_lines& lines, const stream_report& report)
{
    const snapshot& seen = *report.seen;
    const auto& settings = report.settings;
    lines.push_back(settings.name + ": " + name_of(report.state));
    lines.push_back(settings.address + (settings.interface.empty() ? "" : " on " + settings.interface));
    if (!seen.fault.empty())
        lines.push_back(seen.fault);
    lines.push_back(rate_text(report.bit_rate) + ", " + counted(seen.input.legs[0].datagrams) + " datagrams, " +
                    counted(lost_packets(seen)) + " lost, " + counted(kernel_drops(seen)) + " dropped by the kernel, " +
                    counted(seen.input.senders) + " senders");
    const double age = static_cast<double>(seen.clock - std::min(seen.clock, seen.last_arrival)) / 1e9;
    lines.push_back((seen.last_arrival == 0 ? "no datagram yet" : "last datagram " + decimal(age, 1) + " s ago") +
                    (seen.has_PAT ? ", transport stream " + counted(seen.transport_stream_id) : "") + ", " +
                    decimal(seen.null_share * 100, 1) + " % null packets, " + counted(seen.scrambled_packets) +
                    " scrambled");
    const auto& [recent, total, index] = seen.delivery;
    lines.push_back("inter-arrival ms: mean " + in_ms(recent.mean()) + ", p99 " + in_ms(recent.quantile(0.99)) +
                    ", max " + in_ms(recent.max) + ", ever " + in_ms(total.max));
    lines.push_back("MDI DF:MLR " + (index.media_rate == 0 ? "-" : in_ms(index.delay_factor)) + ':' +
                    counted(index.media_loss_rate) + ", " + counted(index.lost) + " lost in " +
                    counted(index.seconds_with_loss) + " s");
}

void tell_checks(text_lines& lines, const snapshot& seen)
{
    for (const auto& check : mpegcore::TR101290_checks) {
        const auto& record = seen.checks[check.check];
        if (record.count == 0 && record.state != mpegcore::CheckState::failing)
            continue;
        const char* const now = record.state == mpegcore::CheckState::failing ? "failing " : "        ";
        lines.push_back(now + std::string(check.number) + ' ' + std::string(check.name) + ": " + counted(record.count) +
                        " in " + counted(record.error_seconds) + " s, " + record.detail());
    }
    if (lines.back().empty())
        lines.emplace_back("no error by TR 101 290");
}

void tell_T2MI(text_lines& lines, const t2mi_state& T2MI)
{
    lines.push_back("T2-MI on PID " + counted(T2MI.PID) + ", " + counted(T2MI.packets) + " packets");
    for (const auto& [figures, L1] : T2MI.PLPs) {
        std::string line = "    PLP " + counted(figures.plp_id) + ": " + counted(figures.frames) + " frames, " +
                           counted(figures.packets) + " packets, " + counted(figures.header_errors) + " header errors";
        if (L1)
            line += ", " + std::string(mpegcore::meaning_of("PLP_MOD", L1->PLP_MOD)) + ' ' +
                    std::string(mpegcore::meaning_of("PLP_COD", L1->PLP_COD));
        lines.push_back(line);
    }
}

void tell_services(text_lines& lines, const snapshot& seen)
{
    for (const auto& service : seen.services) {
        lines.push_back(counted(service.program_number) + ' ' + service.name);
        for (const auto& stream : service.streams)
            lines.push_back("    PID " + counted(stream.PID) + ' ' + stream.name + ' ' + stream.language);
    }
}

void tell_PIDs(text_lines& lines, const snapshot& seen)
{
    for (const auto& [figures, PCR] : seen.PIDs) {
        std::string line = fitted("PID " + counted(figures.PID), 9) + ' ' +
                           fitted(mpegcore::name_of(figures.kind), 10) + fitted(rate_text(figures.bit_rate), 14, true);
        if (figures.is_scrambled)
            line += " scrambled";
        if (figures.continuity_errors != 0)
            line += ' ' + counted(figures.continuity_errors) + " continuity errors";
        if (PCR)
            line += " PCR ms: max " + in_ms(PCR->longest_interval) + ", arrival jitter " + in_ms(PCR->arrival_jitter);
        lines.push_back(line);
    }
}

void tell_tables(text_lines& lines, const snapshot& seen)
{
    constexpr std::uint8_t PAT = 0x00, first_of_SI = 0x40;
    for (const auto& [identity, version] : seen.tables) {
        // The title of a PMT has it, and that of a CAT means nothing.
        const bool has_extension = identity.table_id == PAT || identity.table_id >= first_of_SI;
        lines.push_back(table_title(identity) + (has_extension ? ' ' + counted(identity.table_id_extension) : "") +
                        " on PID " + counted(identity.PID) + ": version " + counted(version.version_number) + ", " +
                        counted(version.changes) + " changes");
    }
}

const char* word_of(event::kind what)
{
    switch (what) {
    case event::kind::begin:
        return " begin ";
    case event::kind::end:
        return " end   ";
    case event::kind::note:
        break;
    }
    return " note  ";
}

void tell_events(text_lines& lines, const std::string& stream, const std::deque<event>& events)
{
    for (auto told = events.rbegin(); told != events.rend(); ++told)
        if (told->stream == stream)
            lines.push_back(iso_time(told->time) + word_of(told->what) + told->check + ' ' + told->name + ' ' +
                            told->text);
}
} // namespace

std::vector<std::string> detail_of(const stream_report& report, const std::deque<event>& events)
{
    const snapshot& seen = *report.seen;
    text_lines lines;
    const auto end_part = [&lines] {
        if (!lines.back().empty())
            lines.emplace_back();
    };
    tell_input(lines, report);
    end_part();
    tell_checks(lines, seen);
    end_part();
    if (seen.T2MI)
        tell_T2MI(lines, *seen.T2MI);
    end_part();
    tell_services(lines, seen);
    end_part();
    tell_PIDs(lines, seen);
    end_part();
    tell_tables(lines, seen);
    end_part();
    tell_events(lines, report.settings.name, events);
    return lines;
}
} // namespace monitor
