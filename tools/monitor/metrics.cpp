// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/metrics.h"

#include "tools/monitor/metrics_writer.h"

#include <array>
#include <cstdio>

namespace monitor
{
namespace
{
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
    metrics.each("ts_rtp_packets_expected_total", type::counter, "RTP packets received and lost.",
                 [&](const snapshot& seen) {
                     // One that came late was lost before.
                     return number(leg(seen).received - leg(seen).repeated - seen.input.rtp_late + seen.input.rtp_lost);
                 });
    metrics.each("ts_rtp_packets_lost_total", type::counter, "RTP packets that did not come in time.",
                 [](const snapshot& seen) { return number(seen.input.rtp_lost); });
    metrics.each("ts_rtp_packets_reordered_total", type::counter, "RTP packets that came behind a later one.",
                 [&](const snapshot& seen) { return number(leg(seen).reordered); });
    metrics.each("ts_rtp_packets_duplicate_total", type::counter, "RTP packets that came again.",
                 [&](const snapshot& seen) { return number(leg(seen).repeated); });
    metrics.each("ts_rtp_packets_late_total", type::counter, "RTP packets that came when they counted as lost.",
                 [](const snapshot& seen) { return number(seen.input.rtp_late); });
}

void write_delivery(metrics_writer& metrics)
{
    metrics.inter_arrival("ts_interarrival_seconds", "Times from one datagram to the next.");
    metrics.each("ts_mdi_delay_factor_seconds", type::gauge, "Delay factor of RFC 4445 over the last whole second.",
                 [](const snapshot& seen) {
                     const auto& index = seen.delivery.index;
                     return index.media_rate == 0 ? std::string() : duration(index.delay_factor);
                 });
    metrics.each("ts_mdi_media_loss_packets_per_second", type::gauge,
                 "Media loss rate of RFC 4445 over the last whole second.", [](const snapshot& seen) {
                     const auto& index = seen.delivery.index;
                     return index.intervals == 0 ? std::string() : number(index.media_loss_rate);
                 });
    metrics.each("ts_mdi_lost_packets_total", type::counter, "Transport packets that the media loss rate counted.",
                 [](const snapshot& seen) { return number(seen.delivery.index.lost); });
    metrics.each("ts_mdi_loss_seconds_total", type::counter, "Seconds with at least one of them.",
                 [](const snapshot& seen) { return number(seen.delivery.index.seconds_with_loss); });
}

void write_T2MI(metrics_writer& metrics)
{
    metrics.each("ts_t2mi_packets_total", type::counter, "T2-MI packets with a good CRC-32.",
                 [](const snapshot& seen) { return seen.T2MI ? number(seen.T2MI->packets) : std::string(); });
    const auto each_PLP = [](auto value_of) {
        return [value_of](const stream_report& report, auto put) {
            if (report.seen->T2MI)
                for (const auto& PLP : report.seen->T2MI->PLPs)
                    put(label("plp", number(std::uint64_t{PLP.figures.plp_id})), number(value_of(PLP.figures)));
        };
    };
    metrics.several("ts_plp_frames_total", type::counter, "Baseband frames of a PLP.",
                    each_PLP([](const mpegcore::PLPFigures& PLP) { return PLP.frames; }));
    metrics.several("ts_plp_packets_total", type::counter, "Transport packets of a PLP.",
                    each_PLP([](const mpegcore::PLPFigures& PLP) { return PLP.packets; }));
    metrics.several("ts_plp_header_errors_total", type::counter, "Baseband frames of a PLP with a bad header.",
                    each_PLP([](const mpegcore::PLPFigures& PLP) { return PLP.header_errors; }));
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
    metrics.begin("ts_streams_listed", type::gauge, "Streams of the list, those of other shards included.");
    metrics.sample("", number(std::uint64_t{all.listed}));
    metrics.begin("ts_events_total", type::counter, "Beginnings and ends of alarms, and other events.");
    metrics.sample("", number(all.events_total));
    metrics.begin("ts_events_lost_total", type::counter, "Events that could not be written to their file.");
    metrics.sample("", number(all.events_lost));
    write_input(metrics);
    write_RTP(metrics);
    write_delivery(metrics);
    write_packets(metrics);
    write_T2MI(metrics);
    write_checks(metrics);
    return text;
}
} // namespace monitor
