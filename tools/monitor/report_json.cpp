// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/report_json.h"

#include "mpegcore/text/Meanings.h"
#include "tools/monitor/json_writer.h"
#include "tools/monitor/note_keeper.h"
#include "tools/monitor/t2mi_json.h"

#include <algorithm>

namespace monitor
{
namespace
{
constexpr double nanoseconds = 1e9;
constexpr double milliseconds = 1e6;
constexpr std::size_t recent_seconds = 60;
constexpr std::size_t most_events_of_a_stream = 200;

void write_summary(json_writer& json, const stream_report& report)
{
    const snapshot& seen = *report.seen;
    json.member("name", report.settings.name).member("address", report.settings.address);
    json.member("interface", report.settings.interface).member("state", name_of(report.state));
    json.member("fault", seen.fault).member("bit_rate", report.bit_rate);
    json.member("lost", lost_packets(seen)).member("kernel_drops", kernel_drops(seen));
    json.key("errors").open('[');
    for (unsigned priority = 1; priority <= 3; ++priority)
        json.value(errors_of(seen, priority));
    json.close(']').key("active").open('[');
    for (const auto& check : report.active)
        json.value(check);
    json.close(']').member("services_found", seen.services.size()).member("service", first_service(seen));
    json.key("last_datagram_age");
    if (seen.last_arrival == 0)
        json.null();
    else
        json.value(static_cast<double>(seen.clock - std::min(seen.clock, seen.last_arrival)) / nanoseconds);
}

void write_network(json_writer& json, const snapshot& seen)
{
    const auto& leg = seen.input.legs[0];
    json.key("network").open('{').member("rtp", seen.is_rtp).member("datagrams", leg.datagrams);
    json.member("bytes", leg.bytes).member("kernel_drops", leg.kernel_drops).member("truncated", leg.truncated);
    json.member("not_ts", seen.input.not_ts).member("resync_bytes", seen.input.resync_bytes);
    json.member("rtp_received", leg.rtp.received).member("rtp_lost", seen.input.rtp_lost);
    json.member("rtp_late", seen.input.rtp_late).member("rtp_repeated", leg.rtp.repeated);
    json.member("rtp_reordered", leg.rtp.reordered).member("senders", seen.input.senders);
    json.member("sender_changes", seen.input.sender_changes).member("rejoins", leg.rejoins);
    json.member("receive_buffer_bytes", leg.buffer_got).close('}');
}

void write_delivery(json_writer& json, const snapshot& seen)
{
    const auto in_ms = [](std::uint64_t time) { return static_cast<double>(time) / milliseconds; };
    const auto& [recent, total, index] = seen.delivery;
    json.key("inter_arrival_ms").open('{').member("min", in_ms(recent.min)).member("mean", in_ms(recent.mean()));
    json.member("p50", in_ms(recent.quantile(0.5))).member("p99", in_ms(recent.quantile(0.99)));
    json.member("max", in_ms(recent.max)).member("longest_of_all", in_ms(total.max)).close('}');
    json.key("mdi").open('{').key("delay_factor_ms");
    if (index.media_rate == 0)
        json.null();
    else
        json.value(in_ms(index.delay_factor));
    json.member("media_loss_rate", index.media_loss_rate).member("media_bit_rate", index.media_rate);
    json.member("lost", index.lost).member("seconds_with_loss", index.seconds_with_loss).close('}');
}

const char* name_of(mpegcore::CheckState state)
{
    switch (state) {
    case mpegcore::CheckState::ok:
        return "ok";
    case mpegcore::CheckState::failing:
        return "failing";
    case mpegcore::CheckState::not_applicable:
        break;
    }
    return "not applicable";
}

void write_checks(json_writer& json, const snapshot& seen)
{
    // Times of the analysis are those of a clock without a date.
    const std::uint64_t offset = seen.time - seen.clock;
    json.key("checks").open('[');
    for (const auto& check : mpegcore::TR101290_checks) {
        const auto& record = seen.checks[check.check];
        json.open('{').member("number", check.number).member("name", check.name).member("priority", check.priority);
        json.member("state", name_of(record.state)).member("count", record.count);
        json.member("error_seconds", record.error_seconds);
        if (record.first != 0)
            json.member("first", iso_time(record.first + offset)).member("last", iso_time(record.last + offset));
        if (record.PID != mpegcore::CheckRecord::no_PID)
            json.member("pid", record.PID);
        if (const auto detail = record.detail(); !detail.empty())
            json.member("detail", detail);
        json.close('}');
    }
    json.close(']');
}

void write_services(json_writer& json, const snapshot& seen)
{
    json.key("services").open('[');
    for (const auto& service : seen.services) {
        json.open('{').member("program_number", service.program_number).member("name", service.name);
        json.member("provider", service.provider);
        json.member("type", service.service_type == 0 ? std::string_view()
                                                      : mpegcore::meaning_of("service_type", service.service_type));
        json.member("pmt_pid", service.PMT_PID);
        if (service.has_PMT) {
            json.member("pmt_version", service.PMT_version);
            if (service.PCR_PID != mpegcore::null_packet_PID)
                json.member("pcr_pid", service.PCR_PID);
        }
        json.key("streams").open('[');
        for (const auto& stream : service.streams) {
            json.open('{').member("pid", stream.PID).member("name", stream.name);
            if (!stream.language.empty())
                json.member("language", stream.language);
            json.close('}');
        }
        json.close(']').close('}');
    }
    json.close(']');
}

void write_PIDs(json_writer& json, const snapshot& seen)
{
    json.key("pids").open('[');
    for (const auto& [PID, PCR] : seen.PIDs) {
        json.open('{').member("pid", PID.PID).member("kind", mpegcore::name_of(PID.kind));
        json.member("bit_rate", PID.bit_rate).member("packets", PID.packets).member("scrambled", PID.is_scrambled);
        json.member("continuity_errors", PID.continuity_errors).member("transport_errors", PID.transport_errors);
        json.close('}');
    }
    json.close(']').key("pcr").open('[');
    for (const auto& [PID, PCR] : seen.PIDs) {
        if (!PCR)
            continue;
        json.open('{').member("pid", PID.PID).member("pcrs", PCR->PCRs).member("bit_rate", PCR->bit_rate);
        json.member("longest_interval_ms", static_cast<double>(PCR->longest_interval) / milliseconds);
        json.member("arrival_jitter_ms", static_cast<double>(PCR->arrival_jitter) / milliseconds).close('}');
    }
    json.close(']');
}

void write_tables(json_writer& json, const snapshot& seen)
{
    const std::uint64_t offset = seen.time - seen.clock;
    json.key("tables").open('[');
    for (const auto& [identity, version] : seen.tables) {
        json.open('{').member("table", table_title(identity)).member("pid", identity.PID);
        json.member("table_id_extension", identity.table_id_extension).member("version", version.version_number);
        json.member("sections", version.last_section_number + 1).member("changes", version.changes);
        json.member("since", iso_time(version.last_change + offset)).close('}');
    }
    json.close(']').key("splices").open('[');
    for (const auto& splice : seen.splices) {
        json.open('{').member("time", iso_time(splice.time)).member("pid", splice.PID);
        json.member("program_number", splice.program_number).member("command", splice.command);
        if (splice.pts_time)
            json.member("pts_time", *splice.pts_time);
        if (splice.ahead)
            json.member("ahead_seconds", static_cast<double>(*splice.ahead) / nanoseconds);
        json.close('}');
    }
    json.close(']');
}

void write_rates(json_writer& json, const stream_report& report, std::size_t most)
{
    json.open('[');
    const auto& history = report.history;
    for (std::size_t at = history.size() - std::min(history.size(), most); at < history.size(); ++at)
        json.value(history[at]);
    json.close(']');
}
void write_PID_rates(json_writer& json, const stream_report& report)
{
    json.key("pid_rates").open('{').member("seconds", pid_history::seconds_a_point).key("pids").open('[');
    for (const auto& PID : *report.PID_rates) {
        json.open('{').member("pid", PID.PID).key("rates").open('[');
        for (const std::uint64_t rate : PID.rates)
            json.value(rate);
        json.close(']').close('}');
    }
    json.close(']').close('}');
}

/// The last ones of the stream, oldest first.
void write_events(json_writer& json, const std::string& stream, const std::deque<event>& all)
{
    std::vector<const event*> last;
    for (auto told = all.rbegin(); told != all.rend() && last.size() < most_events_of_a_stream; ++told)
        if (told->stream == stream)
            last.push_back(&*told);
    json.key("events").open('[');
    for (auto told = last.rbegin(); told != last.rend(); ++told)
        json.raw(json_of(**told));
    json.close(']');
}
} // namespace

std::string streams_json(const survey& all, bool with_recent)
{
    std::string text;
    json_writer json(text);
    json.open('{').member("time", iso_time(all.time)).member("events", all.events_total);
    json.key("streams").open('[');
    for (const auto& report : all.streams) {
        json.open('{');
        write_summary(json, *report);
        if (with_recent)
            write_rates(json.key("recent"), *report, recent_seconds);
        json.close('}');
    }
    json.close(']').close('}');
    return text;
}

std::string stream_json(const stream_report& report, const std::deque<event>* events)
{
    const snapshot& seen = *report.seen;
    std::string text;
    json_writer json(text);
    json.open('{').member("time", iso_time(seen.time));
    write_summary(json, report);
    json.key("labels").open('{');
    for (const auto& [name, value] : report.settings.labels)
        json.member(name, value);
    json.close('}');
    write_network(json, seen);
    write_delivery(json, seen);
    json.member("synchronised", seen.is_synchronised).member("packets", seen.packets);
    json.member("null_packets", seen.null_packets).member("null_share", seen.null_share);
    json.member("scrambled_packets", seen.scrambled_packets);
    if (seen.has_PAT)
        json.member("transport_stream_id", seen.transport_stream_id);
    write_checks(json, seen);
    write_services(json, seen);
    write_PIDs(json, seen);
    write_tables(json, seen);
    write_T2MI(json, seen);
    if (events != nullptr) {
        write_rates(json.key("history"), report, stream_report::history_seconds);
        write_PID_rates(json, report);
        write_events(json, report.settings.name, *events);
    }
    json.close('}');
    return text;
}
} // namespace monitor
