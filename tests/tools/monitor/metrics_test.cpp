// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/metrics.h"

#include "surveys.h"

#include <gmock/gmock.h>

#include <set>
#include <sstream>

namespace metrics_test
{
using monitor_surveys::add_PID;
using monitor_surveys::change;
using monitor_surveys::noon;
using monitor_surveys::report_of;
using monitor_surveys::survey_of;
using testing::HasSubstr;
using testing::Not;

template <class... Reports>
std::string metrics_of(Reports... reports)
{
    return metrics_text(*survey_of(std::move(reports)...), {"1.2.3", noon});
}

TEST(Metrics, HaveTheNamesThatAlertsAreWrittenFor)
{
    const std::string begin = "# TYPE ";
    std::istringstream lines(metrics_of(report_of("News")));
    std::vector<std::string> names;
    for (std::string line; std::getline(lines, line);)
        if (line.compare(0, begin.size(), begin) == 0)
            names.push_back(line.substr(begin.size()));
    EXPECT_THAT(
        names,
        testing::ElementsAre(
            "ts_build_info gauge", "process_start_time_seconds gauge", "ts_streams_listed gauge",
            "ts_events_total counter", "ts_events_lost_total counter", "ts_input_info gauge", "ts_input_up gauge",
            "ts_input_datagrams_total counter", "ts_input_bytes_total counter",
            "ts_input_last_datagram_timestamp_seconds gauge", "ts_socket_drops_total counter",
            "ts_socket_receive_buffer_bytes gauge", "ts_malformed_datagrams_total counter", "ts_rejoins_total counter",
            "ts_source_changes_total counter", "ts_rtp_packets_expected_total counter",
            "ts_rtp_packets_lost_total counter", "ts_rtp_packets_reordered_total counter",
            "ts_rtp_packets_duplicate_total counter", "ts_rtp_packets_late_total counter",
            "ts_interarrival_seconds histogram", "ts_mdi_delay_factor_seconds gauge",
            "ts_mdi_media_loss_packets_per_second gauge", "ts_mdi_lost_packets_total counter",
            "ts_mdi_loss_seconds_total counter", "ts_packets_total counter", "ts_null_packets_total counter",
            "ts_scrambled_packets_total counter", "ts_pid_packets_total counter",
            "ts_pid_continuity_errors_total counter", "ts_pcr_bytes_per_second gauge", "ts_t2mi_packets_total counter",
            "ts_plp_frames_total counter", "ts_plp_packets_total counter", "ts_plp_header_errors_total counter",
            "ts_tr101290_errors_total counter", "ts_tr101290_error_seconds_total counter", "ts_tr101290_active gauge"));
}

TEST(Metrics, EveryLineIsACommentOrASampleAndNoSampleComesTwice)
{
    auto report = report_of("a");
    add_PID(report, 0x100, true);
    std::istringstream lines(metrics_of(report, report_of("b")));
    const std::string sample = R"re([a-z_0-9]+(\{[a-z_]+="([^"\\]|\\.)*"(,[a-z_]+="([^"\\]|\\.)*")*\})? [0-9.e+-]+)re";
    std::set<std::string> seen;
    for (std::string line; std::getline(lines, line);) {
        if (line.compare(0, 2, "# ") == 0)
            continue;
        ASSERT_THAT(line, testing::MatchesRegex(sample));
        EXPECT_TRUE(seen.insert(line.substr(0, line.rfind(' '))).second) << line;
    }
    EXPECT_GT(seen.size(), 100U);
}

TEST(Metrics, TellTheFiguresOfAStream)
{
    auto report = report_of("News");
    report.settings.labels = {{"site", "north"}};
    auto& seen = change(report);
    seen.input.legs[0].kernel_drops = 4;
    seen.input.legs[0].rtp.received = 998;
    seen.input.rtp_late = 1; // counts as lost, too
    seen.input.rtp_lost = 3;
    seen.checks.raise(mpegcore::Check::Continuity_count_error, 1, mpegcore::Finding::packets_missing, 2, 0x101);
    const auto text = metrics_of(report);
    EXPECT_THAT(text, HasSubstr("\nts_input_info{stream=\"News\",address=\"udp://239.1.1.1:5000\",interface=\"\","
                                "site=\"north\"} 1\n"));
    EXPECT_THAT(text, HasSubstr("\nts_input_bytes_total{stream=\"News\"} 1316000\n"));
    EXPECT_THAT(text, HasSubstr("\nts_input_last_datagram_timestamp_seconds{stream=\"News\"} 1769860799.750\n"));
    EXPECT_THAT(text, HasSubstr("\nts_socket_drops_total{stream=\"News\"} 4\n"));
    EXPECT_THAT(text, HasSubstr("\nts_rtp_packets_expected_total{stream=\"News\"} 1000\n"));
    EXPECT_THAT(text, HasSubstr("\nts_tr101290_errors_total{stream=\"News\",priority=\"1\",check=\"1.4\","
                                "name=\"Continuity_count_error\"} 1\n"));
    EXPECT_THAT(text, HasSubstr("check=\"2.2\",name=\"CRC_error\"} 0\n"));
}

TEST(Metrics, WhatIsNotCheckedHasNoState)
{
    auto report = report_of("News");
    EXPECT_THAT(metrics_of(report), Not(HasSubstr("\nts_tr101290_active{")));
    auto& checks = change(report).checks;
    checks.suspend(false);
    checks.applies(mpegcore::Check::CRC_error);
    checks.settle(report.seen->clock);
    EXPECT_THAT(metrics_of(report), HasSubstr("\nts_tr101290_active{stream=\"News\",priority=\"2\",check=\"2.2\","
                                              "name=\"CRC_error\"} 0\n"));
}

TEST(Metrics, OfInterArrivalTimesAddUpFromBucketToBucket)
{
    auto report = report_of("News");
    auto& times = change(report).delivery.total;
    for (const std::uint64_t time : {1, 1, 3, 2000})
        times.add(time * 1'000'000);
    const auto text = metrics_of(report);
    EXPECT_THAT(text, HasSubstr("\nts_interarrival_seconds_bucket{stream=\"News\",le=\"0.0001\"} 0\n"));
    EXPECT_THAT(text, HasSubstr("\nts_interarrival_seconds_bucket{stream=\"News\",le=\"0.001\"} 2\n"));
    EXPECT_THAT(text, HasSubstr("\nts_interarrival_seconds_bucket{stream=\"News\",le=\"0.005\"} 3\n"));
    EXPECT_THAT(text, HasSubstr("\nts_interarrival_seconds_bucket{stream=\"News\",le=\"1\"} 3\n"
                                "ts_interarrival_seconds_bucket{stream=\"News\",le=\"+Inf\"} 4\n"
                                "ts_interarrival_seconds_sum{stream=\"News\"} 2.005\n"
                                "ts_interarrival_seconds_count{stream=\"News\"} 4\n"));
}

TEST(Metrics, OfTheMediaDeliveryIndexWaitForARate)
{
    auto report = report_of("News");
    EXPECT_THAT(metrics_of(report), Not(HasSubstr("\nts_mdi_delay_factor_seconds{")));
    auto& index = change(report).delivery.index;
    index.intervals = 2;
    index.delay_factor = 1'052'800;
    index.media_rate = 10'000'000;
    index.media_loss_rate = 7;
    const auto text = metrics_of(report);
    EXPECT_THAT(text, HasSubstr("\nts_mdi_delay_factor_seconds{stream=\"News\"} 0.0010528\n"));
    EXPECT_THAT(text, HasSubstr("\nts_mdi_media_loss_packets_per_second{stream=\"News\"} 7\n"));
}

TEST(Metrics, OfPLPsAreThereWithT2MI)
{
    auto report = report_of("News");
    EXPECT_THAT(metrics_of(report), Not(HasSubstr("\nts_t2mi_packets_total{")));
    monitor_surveys::add_PLP(report, 3);
    EXPECT_THAT(metrics_of(report), HasSubstr("\nts_plp_packets_total{stream=\"News\",plp=\"3\"} 700\n"));
}

TEST(Metrics, AStreamIsUpWhileDatagramsCome)
{
    auto report = report_of("News");
    EXPECT_THAT(metrics_of(report), HasSubstr("\nts_input_up{stream=\"News\"} 1\n"));
    for (const auto state :
         {monitor::stream_state::closed, monitor::stream_state::silent, monitor::stream_state::waiting}) {
        report.state = state;
        EXPECT_THAT(metrics_of(report), HasSubstr("\nts_input_up{stream=\"News\"} 0\n"));
    }
}

TEST(Metrics, NamesWithQuotesBackslashesAndBytesThatAreNoTextKeepTheirPlace)
{
    auto report = report_of("a\"b\\c\nd\xFF");
    EXPECT_THAT(metrics_of(report), HasSubstr("\nts_input_up{stream=\"a\\\"b\\\\c\\nd\xEF\xBF\xBD\"} 1\n"));
}

TEST(Metrics, OfPIDsHaveABound)
{
    auto report = report_of("News");
    for (unsigned PID = 0x20; PID < 0x20 + 2 * monitor::most_PIDs_with_metrics; ++PID)
        add_PID(report, static_cast<std::uint16_t>(PID), PID != 0x20);
    const auto text = metrics_of(report);
    EXPECT_THAT(text, Not(HasSubstr("pid=\"0x0020\"")));
    EXPECT_THAT(text, HasSubstr("ts_pid_packets_total{stream=\"News\",pid=\"0x0021\"} 10\n"));
    EXPECT_THAT(text, HasSubstr("pid=\"0x0060\""));
    EXPECT_THAT(text, Not(HasSubstr("pid=\"0x0061\"")));
}
} // namespace metrics_test
