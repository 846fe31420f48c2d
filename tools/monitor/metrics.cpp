// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/metrics.h"

#include "tools/monitor/json_writer.h"
#include "zq_net/nanoseconds.h"

#include <array>
#include <cstdio>

namespace monitor
{
namespace
{
/// `value` as it stands between the quotation marks of a label.
std::string escaped(std::string_view value)
{
    std::string text;
    for (const char letter : valid_utf8(value)) {
        if (letter == '\\' || letter == '"')
            text += '\\';
        text += letter == '\n' ? std::string("\\n") : std::string(1, letter);
    }
    return text;
}

std::string label(std::string_view name, std::string_view value)
{
    return std::string(name) + "=\"" + escaped(value) + '"';
}

std::string number(std::uint64_t value) { return std::to_string(value); }
std::string number(double value)
{
    std::array<char, 32> digits{};
    std::snprintf(digits.data(), digits.size(), "%.9g", value);
    return digits.data();
}
std::string seconds(std::uint64_t real_time)
{
    std::array<char, 32> digits{};
    std::snprintf(digits.data(), digits.size(), "%llu.%03u",
                  static_cast<unsigned long long>(real_time / zq_net::second),
                  static_cast<unsigned>(real_time % zq_net::second / zq_net::ms));
    return digits.data();
}

enum class type : bool
{
    counter,
    gauge,
};

/// Writes the metrics, all samples of one behind the other.
class metrics_writer
{
public:
    metrics_writer(std::string& out, const survey& all) : m_out(out), m_all(all)
    {
        for (const auto& report : all.streams)
            m_streams.push_back(label("stream", report->settings.name));
    }

    void begin(std::string_view name, type kind, std::string_view help)
    {
        m_name = name;
        m_out.append("# HELP ").append(name).append(" ").append(help).append("\n# TYPE ").append(name);
        m_out += kind == type::counter ? " counter\n" : " gauge\n";
    }

    void sample(std::string_view labels, std::string_view value)
    {
        m_out.append(m_name);
        if (!labels.empty())
            m_out.append("{").append(labels).append("}");
        m_out.append(" ").append(value).append("\n");
    }

    /// One of each stream; `value_of` gives the text of its value, empty for none.
    template <class ValueOf>
    void each(std::string_view name, type kind, std::string_view help, ValueOf value_of)
    {
        begin(name, kind, help);
        for (std::size_t at = 0; at < m_streams.size(); ++at)
            if (const std::string value = value_of(*m_all.streams[at]->seen); !value.empty())
                sample(m_streams[at], value);
    }

    /// Any number of each stream: `tell(report, put)`, where `put(labels, value)` writes one.
    template <class Tell>
    void several(std::string_view name, type kind, std::string_view help, Tell tell)
    {
        begin(name, kind, help);
        for (std::size_t at = 0; at < m_streams.size(); ++at)
            tell(*m_all.streams[at], [&](const std::string& labels, const std::string& value) {
                sample(labels.empty() ? m_streams[at] : m_streams[at] + ',' + labels, value);
            });
    }

private:
    std::string& m_out;
    const survey& m_all;
    std::vector<std::string> m_streams; ///< their labels
    std::string m_name;
};

void write_input(metrics_writer& metrics)
{
    const auto leg = [](const snapshot& seen) -> const zq_net::leg_figures& { return seen.input.legs[0]; };
    metrics.several("ts_input_info", type::gauge, "Settings of the stream.", [](const stream_report& report, auto put) {
        std::string labels = label("address", report.settings.address) + ',';
        labels += label("interface", report.settings.interface);
        for (const auto& [name, value] : report.settings.labels)
            labels += ',' + label(name, value);
        put(labels, "1");
    });
    metrics.several("ts_input_up", type::gauge, "1 while datagrams come.", [](const stream_report& report, auto put) {
        put("", report.state == stream_state::waiting || report.state == stream_state::closed ||
                        report.state == stream_state::silent
                    ? "0"
                    : "1");
    });
    metrics.each("ts_input_datagrams_total", type::counter, "Datagrams received.",
                 [&](const snapshot& seen) { return number(leg(seen).datagrams); });
    metrics.each("ts_input_bytes_total", type::counter, "Bytes of UDP payload received.",
                 [&](const snapshot& seen) { return number(leg(seen).bytes); });
    metrics.each("ts_input_last_datagram_timestamp_seconds", type::gauge,
                 "When the last datagram came, by the kernel's stamp.", [&](const snapshot& seen) {
                     return leg(seen).last_arrival == 0 ? std::string() : seconds(leg(seen).last_arrival);
                 });
    metrics.each("ts_socket_drops_total", type::counter, "Datagrams that the kernel had no room for.",
                 [&](const snapshot& seen) { return number(leg(seen).kernel_drops); });
    metrics.each("ts_socket_receive_buffer_bytes", type::gauge, "Receive buffer of the socket.",
                 [&](const snapshot& seen) { return std::to_string(leg(seen).buffer_got); });
    metrics.several("ts_malformed_datagrams_total", type::counter, "Datagrams that could not be used as they are.",
                    [&](const stream_report& report, auto put) {
                        put(label("reason", "sync"), number(report.seen->input.not_ts));
                        put(label("reason", "length"), number(leg(*report.seen).truncated));
                    });
    metrics.each("ts_rejoins_total", type::counter, "Times a group was joined anew on another interface.",
                 [&](const snapshot& seen) { return number(leg(seen).rejoins); });
    metrics.each("ts_source_changes_total", type::counter, "Times another sender began.",
                 [](const snapshot& seen) { return number(seen.input.sender_changes); });
}

void write_RTP(metrics_writer& metrics)
{
    const auto leg = [](const snapshot& seen) -> const auto& { return seen.input.legs[0].rtp; };
    metrics.each(
        "ts_rtp_packets_expected_total", type::counter, "RTP packets received and lost.",
        [&](const snapshot& seen) { return number(leg(seen).received - leg(seen).repeated + seen.input.rtp_lost); });
    metrics.each("ts_rtp_packets_lost_total", type::counter, "RTP packets that did not come in time.",
                 [](const snapshot& seen) { return number(seen.input.rtp_lost); });
    metrics.each("ts_rtp_packets_reordered_total", type::counter, "RTP packets that came behind a later one.",
                 [&](const snapshot& seen) { return number(leg(seen).reordered); });
    metrics.each("ts_rtp_packets_duplicate_total", type::counter, "RTP packets that came again.",
                 [&](const snapshot& seen) { return number(leg(seen).repeated); });
    metrics.each("ts_rtp_packets_late_total", type::counter, "RTP packets that came when they counted as lost.",
                 [](const snapshot& seen) { return number(seen.input.rtp_late); });
}

void write_packets(metrics_writer& metrics)
{
    metrics.each("ts_packets_total", type::counter, "Transport packets.",
                 [](const snapshot& seen) { return number(seen.packets); });
    metrics.each("ts_null_packets_total", type::counter, "Null packets among them.",
                 [](const snapshot& seen) { return number(seen.null_packets); });
    metrics.each("ts_scrambled_packets_total", type::counter, "Scrambled packets among them.",
                 [](const snapshot& seen) { return number(seen.scrambled_packets); });
    const auto each_PID = [](auto value_of) {
        return [value_of](const stream_report& report, auto put) {
            std::size_t count = 0;
            for (const auto& PID : report.seen->PIDs) {
                if (!PID.figures.is_referenced || count == most_PIDs_with_metrics)
                    continue;
                if (const std::string value = value_of(PID); !value.empty()) {
                    std::array<char, 8> digits{};
                    std::snprintf(digits.data(), digits.size(), "0x%04X", static_cast<unsigned>(PID.figures.PID));
                    put(label("pid", digits.data()), value);
                    ++count;
                }
            }
        };
    };
    metrics.several("ts_pid_packets_total", type::counter, "Transport packets of a PID that a table names.",
                    each_PID([](const pid_state& PID) { return number(PID.figures.packets); }));
    metrics.several("ts_pid_continuity_errors_total", type::counter, "Continuity errors of such a PID.",
                    each_PID([](const pid_state& PID) { return number(PID.figures.continuity_errors); }));
    constexpr double bits = 8;
    metrics.several("ts_pcr_bytes_per_second", type::gauge, "Rate of the stream by the PCRs of a PID.",
                    each_PID([](const pid_state& PID) {
                        return PID.PCR ? number(static_cast<double>(PID.PCR->bit_rate) / bits) : std::string();
                    }));
}

void write_checks(metrics_writer& metrics)
{
    const auto each_check = [](auto value_of) {
        return [value_of](const stream_report& report, auto put) {
            for (const auto& check : mpegcore::TR101290_checks) {
                const std::string value = value_of(report.seen->checks[check.check]);
                if (!value.empty())
                    put(label("priority", number(std::uint64_t{check.priority})) + ',' + label("check", check.number) +
                            ',' + label("name", check.name),
                        value);
            }
        };
    };
    using record = mpegcore::CheckRecord;
    metrics.several("ts_tr101290_errors_total", type::counter, "Errors by the checks of ETSI TR 101 290.",
                    each_check([](const record& check) { return number(check.count); }));
    metrics.several("ts_tr101290_error_seconds_total", type::counter, "Seconds with at least one such error.",
                    each_check([](const record& check) { return number(check.error_seconds); }));
    metrics.several("ts_tr101290_active", type::gauge, "1 while a check fails; none while there is nothing to check.",
                    each_check([](const record& check) {
                        return check.state == mpegcore::CheckState::not_applicable
                                   ? std::string()
                                   : std::string(check.state == mpegcore::CheckState::failing ? "1" : "0");
                    }));
}
} // namespace

std::string metrics_text(const survey& all, const process_facts& process)
{
    std::string text;
    metrics_writer metrics(text, all);
    metrics.begin("ts_build_info", type::gauge, "Version of zq-monitor.");
    metrics.sample(label("version", process.version), "1");
    metrics.begin("process_start_time_seconds", type::gauge, "When the process began.");
    metrics.sample("", seconds(process.start_time));
    metrics.begin("ts_events_total", type::counter, "Beginnings and ends of alarms, and other events.");
    metrics.sample("", number(all.events_total));
    metrics.begin("ts_events_lost_total", type::counter, "Events that could not be written to their file.");
    metrics.sample("", number(all.events_lost));
    write_input(metrics);
    write_RTP(metrics);
    write_packets(metrics);
    write_checks(metrics);
    return text;
}
} // namespace monitor
