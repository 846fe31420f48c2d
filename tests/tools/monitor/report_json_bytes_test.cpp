// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/report_json.h"

#include "surveys.h"

#include <gmock/gmock.h>

namespace report_json_bytes_test
{
using monitor_surveys::noon;
using monitor_surveys::second;

/// A stream with something of everything that is told of one.
monitor::stream_report full_report()
{
    auto report = monitor_surveys::report_of("News");
    report.settings.interface = "eth1";
    report.settings.labels = {{"site", "north"}};
    report.state = monitor::stream_state::bad;
    report.active = {"1.4"};
    report.history = {9'960'000, 9'980'000};
    monitor_surveys::add_service(report, "One");
    monitor_surveys::add_PID(report, 0x101, true);
    monitor_surveys::add_PLP(report, 3);
    auto& seen = monitor_surveys::change(report);
    seen.is_rtp = true;
    seen.input.legs[0].rtp.received = 997;
    seen.input.rtp_lost = 3;
    seen.delivery.recent.add(2'000'000);
    seen.delivery.total.add(2'000'000);
    seen.delivery.index.media_rate = 10'000'000;
    seen.delivery.index.delay_factor = 2'500'000;
    seen.checks.suspend(false);
    seen.checks.applies(mpegcore::Check::Continuity_count_error);
    seen.checks.raise(mpegcore::Check::Continuity_count_error, seen.clock - second, mpegcore::Finding::packets_missing,
                      2, 0x101);
    seen.checks.settle(seen.clock - second);
    seen.services[0].provider = "Maker";
    seen.services[0].service_type = 1;
    seen.services[0].has_PMT = true;
    seen.services[0].PMT_version = 5;
    seen.services[0].PCR_PID = 0x101;
    seen.services[0].streams.push_back({0x101, 0x1B, mpegcore::PIDKind::video, "AVC video", "deu"});
    seen.PIDs[0].PCR.emplace().longest_interval = 40'000'000;
    seen.tables.push_back({{0x100, 0x02, 1, 0, 0}, {5, 0, 1, 99 * second}});
    seen.splices.push_back({1, noon, 0x102, 1, "splice_insert, event 7 out", 900000, 2'000'000'000});
    report.PID_rates =
        std::make_shared<const monitor::pid_history::all_rates>(monitor::pid_history::all_rates{{0x101, {5, 7}}});
    return report;
}

std::deque<monitor::event> its_event()
{
    monitor::event begin;
    begin.time = noon - second;
    begin.stream = "News";
    begin.check = "1.4";
    begin.name = "Continuity_count_error";
    begin.text = "PID 257: 2 packets missing, or 16 more each";
    return {begin};
}

const std::string up_to_the_checks =
    R"({"time":"2026-01-31T12:00:00.000Z","name":"News","address":"udp://239.1.1.1:5000","interface":"eth1",)"
    R"("state":"bad","fault":"","bit_rate":9980000,"lost":3,"kernel_drops":0,"errors":[1,0,0],"active":["1.4"],)"
    R"("services_found":1,"service":"One","last_datagram_age":0.25,"labels":{"site":"north"},)"
    R"("network":{"rtp":true,"datagrams":1000,"bytes":1316000,"kernel_drops":0,"truncated":0,"not_ts":0,)"
    R"("resync_bytes":0,"rtp_received":997,"rtp_lost":3,"rtp_late":0,"rtp_repeated":0,"rtp_reordered":0,)"
    R"("senders":1,"sender_changes":0,"rejoins":0,"receive_buffer_bytes":425984},)"
    R"("inter_arrival_ms":{"min":2,"mean":2,"p50":2,"p99":2,"max":2,"longest_of_all":2},)"
    R"("mdi":{"delay_factor_ms":2.5,"media_loss_rate":0,"media_bit_rate":10000000,"lost":0,"seconds_with_loss":0},)"
    R"("synchronised":true,"packets":7000,"null_packets":700,"null_share":0.1,"scrambled_packets":0,)";

/// Behind another one.
std::string not_checked(const std::string& number, const std::string& name, char priority)
{
    return R"(,{"number":")" + number + R"(","name":")" + name + R"(","priority":)" + priority +
           R"(,"state":"not applicable","count":0,"error_seconds":0})";
}

const std::string checks =
    R"({"number":"1.1","name":"TS_sync_loss","priority":1,"state":"ok","count":0,"error_seconds":0},)"
    R"({"number":"1.2","name":"Sync_byte_error","priority":1,"state":"ok","count":0,"error_seconds":0})" +
    not_checked("1.3.a", "PAT_error_2", '1') +
    R"(,{"number":"1.4","name":"Continuity_count_error","priority":1,"state":"failing","count":1,"error_seconds":1,)"
    R"("first":"2026-01-31T11:59:59.000Z","last":"2026-01-31T11:59:59.000Z","pid":257,)"
    R"("detail":"2 packets missing, or 16 more each"})" +
    not_checked("1.5.a", "PMT_error_2", '1') + not_checked("1.6", "PID_error", '1') +
    not_checked("2.1", "Transport_error", '2') + not_checked("2.2", "CRC_error", '2') +
    not_checked("2.3.a", "PCR_repetition_error", '2') + not_checked("2.3.b", "PCR_discontinuity_indicator_error", '2') +
    not_checked("2.5", "PTS_error", '2') + not_checked("2.6", "CAT_error", '2') +
    not_checked("3.1.a", "NIT_actual_error", '3') + not_checked("3.1.b", "NIT_other_error", '3') +
    not_checked("3.2", "SI_repetition_error", '3') + not_checked("3.4.a", "Unreferenced_PID", '3') +
    not_checked("3.5.a", "SDT_actual_error", '3') + not_checked("3.5.b", "SDT_other_error", '3') +
    not_checked("3.6.a", "EIT_actual_error", '3') + not_checked("3.6.b", "EIT_other_error", '3') +
    not_checked("3.6.c", "EIT_PF_error", '3') + not_checked("3.7", "RST_error", '3') +
    not_checked("3.8", "TDT_error", '3') + not_checked("11.2.2.2", "T2MI_packet_type_error_2", '0') +
    not_checked("11.2.2.3", "T2MI_packet_count_error", '0') + not_checked("11.2.2.4", "T2MI_CRC_error", '0') +
    not_checked("11.2.2.5", "T2MI_payload_error", '0') + not_checked("11.2.2.6", "T2MI_plp_num_blocks_error", '0') +
    not_checked("11.2.2.7", "T2MI_transmission_order_error", '0') +
    not_checked("11.2.2.8", "T2MI_DVB-T2_Timestamp_error", '0') +
    not_checked("11.2.2.9", "T2MI_DVB-T2_Timestamp_discontinuity", '0');

const std::string behind_the_checks =
    R"("services":[{"program_number":1,"name":"One","provider":"Maker","type":"digital television","pmt_pid":256,)"
    R"("pmt_version":5,"pcr_pid":257,"streams":[{"pid":257,"name":"AVC video","language":"deu"}]}],)"
    R"("pids":[{"pid":257,"kind":"video","bit_rate":0,"packets":10,"scrambled":false,"continuity_errors":0,)"
    R"("transport_errors":0}],)"
    R"("pcr":[{"pid":257,"pcrs":0,"bit_rate":0,"longest_interval_ms":40,"arrival_jitter_ms":0}],)"
    R"("tables":[{"table":"PMT of program 1","pid":256,"table_id_extension":1,"version":5,"sections":1,"changes":1,)"
    R"("since":"2026-01-31T11:59:59.000Z"}],)"
    R"("splices":[{"time":"2026-01-31T12:00:00.000Z","pid":258,"program_number":1,)"
    R"("command":"splice_insert, event 7 out","pts_time":900000,"ahead_seconds":2}],)"
    R"("t2mi":{"pid":4096,"t2mi_stream_id":null,"packets":0},)"
    R"("plps":[{"plp_id":3,"frames":0,"packets":700,"header_errors":0,"type":"common","payload":"GFPS",)"
    R"("modulation":"256-QAM","code_rate":"2/3","fec":"16K LDPC","mode":0,"rotation":false,"group_id":0,)"
    R"("most_blocks":0,"time_il_length":0}],)"
    R"("history":[9960000,9980000],"pid_rates":{"seconds":10,"pids":[{"pid":257,"rates":[5,7]}]},)"
    R"("events":[{"time":"2026-01-31T11:59:59.000Z","event":"begin","stream":"News","check":"1.4",)"
    R"("name":"Continuity_count_error","priority":1,"text":"PID 257: 2 packets missing, or 16 more each"}]})";

TEST(StreamJson, IsTheseBytes)
{
    const auto events = its_event();
    EXPECT_EQ(stream_json(full_report(), &events),
              up_to_the_checks + R"("checks":[)" + checks + "]," + behind_the_checks);
}
} // namespace report_json_bytes_test
