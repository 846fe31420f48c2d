// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/report_json.h"

#include "surveys.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace report_json_test
{
using monitor_surveys::add_PID;
using monitor_surveys::add_PLP;
using monitor_surveys::add_service;
using monitor_surveys::change;
using monitor_surveys::noon;
using monitor_surveys::report_of;
using monitor_surveys::survey_of;
using nlohmann::json;

TEST(StreamsJson, HasAFewMembersOfEachStream)
{
    auto report = report_of("News");
    report.active = {"1.4", "loss"};
    add_service(report, "One");
    auto& seen = change(report);
    seen.is_rtp = true;
    seen.input.rtp_lost = 3;
    seen.checks.raise(mpegcore::Check::Continuity_count_error, 1, mpegcore::Finding::packets_missing, 2, 0x101);
    EXPECT_EQ(streams_json(*survey_of(report), false),
              R"({"time":"2026-01-31T12:00:00.000Z","events":0,"streams":[)"
              R"({"name":"News","address":"udp://239.1.1.1:5000","interface":"","state":"good","fault":"",)"
              R"("bit_rate":9980000,"lost":3,"kernel_drops":0,"errors":[1,0,0],"active":["1.4","loss"],)"
              R"("services_found":1,"service":"One","last_datagram_age":0.25}]})");
}

TEST(StreamsJson, WithRecentHasTheBitRatesOfTheLastMinute)
{
    auto report = report_of("News");
    report.history.assign(70, 1);
    report.history.back() = 2;
    const auto recent = json::parse(streams_json(*survey_of(report), true))["streams"][0]["recent"];
    EXPECT_EQ(recent.size(), 60U);
    EXPECT_EQ(recent.back(), 2);
}

TEST(StreamsJson, AStreamThatWasNotLookedAtYetIsWaiting)
{
    monitor::stream_report report;
    report.settings.name = "New";
    const auto stream = json::parse(streams_json(*survey_of(report), true))["streams"][0];
    EXPECT_EQ(stream["state"], "waiting");
    EXPECT_TRUE(stream["last_datagram_age"].is_null());
}

TEST(StreamJson, HasTheMembersThatAreDocumented)
{
    auto report = report_of("News");
    std::vector<std::string> names;
    const auto stream = nlohmann::ordered_json::parse(stream_json(report));
    for (const auto& [name, value] : stream.items())
        names.push_back(name);
    EXPECT_THAT(names,
                testing::ElementsAre("time", "name", "address", "interface", "state", "fault", "bit_rate", "lost",
                                     "kernel_drops", "errors", "active", "services_found", "service",
                                     "last_datagram_age", "labels", "network", "inter_arrival_ms", "mdi",
                                     "synchronised", "packets", "null_packets", "null_share", "scrambled_packets",
                                     "checks", "services", "pids", "pcr", "tables", "splices", "t2mi", "plps"));
}

TEST(StreamJson, TellsOfAllChecksByTheirStandardNames)
{
    auto report = report_of("News");
    auto& checks = change(report).checks;
    checks.suspend(false);
    checks.applies(mpegcore::Check::Continuity_count_error);
    checks.raise(mpegcore::Check::Continuity_count_error, report.seen->clock - monitor_surveys::second,
                 mpegcore::Finding::packets_missing, 2, 0x101);
    checks.settle(report.seen->clock - monitor_surveys::second);
    const auto stream = json::parse(stream_json(report));
    ASSERT_EQ(stream["checks"].size(), mpegcore::TR101290::size);
    EXPECT_EQ(stream["checks"][3], json::parse(R"({"number": "1.4", "name": "Continuity_count_error", "priority": 1,
        "state": "failing", "count": 1, "error_seconds": 1, "first": "2026-01-31T11:59:59.000Z",
        "last": "2026-01-31T11:59:59.000Z", "pid": 257, "detail": "2 packets missing, or 16 more each"})"));
    EXPECT_EQ(stream["checks"][0]["state"], "ok"); // of the synchronisation, which is always checked
    EXPECT_EQ(stream["checks"][2]["state"], "not applicable");
}

TEST(StreamJson, TellsOfServicesPIDsAndTables)
{
    auto report = report_of("News");
    add_service(report, "One");
    add_PID(report, 0x101, true);
    auto& seen = change(report);
    seen.services[0].streams.push_back({0x101, 0x1B, mpegcore::PIDKind::video, "AVC video", "deu"});
    seen.services[0].service_type = 1;
    seen.PIDs[0].PCR = mpegcore::PCRFigures();
    seen.PIDs[0].PCR->longest_interval = 40'000'000;
    seen.tables.push_back({{0x100, 0x02, 1, 0, 0}, {5, 0, 1, 99 * monitor_surveys::second}});
    seen.splices.push_back({1, noon, 0x102, 1, "splice_insert, event 7 out", 900000, 2'000'000'000});
    const auto stream = json::parse(stream_json(report));
    EXPECT_EQ(stream["services"][0]["streams"][0],
              json::parse(R"({"pid": 257, "name": "AVC video", "language": "deu"})"));
    EXPECT_EQ(stream["services"][0]["type"], "digital television");
    EXPECT_EQ(stream["pids"][0]["kind"], "video");
    EXPECT_EQ(stream["pcr"][0]["longest_interval_ms"], 40.0);
    EXPECT_EQ(stream["tables"][0]["since"], "2026-01-31T11:59:59.000Z");
    EXPECT_EQ(stream["splices"][0]["ahead_seconds"], 2.0);
}

TEST(StreamJson, TellsHowEvenlyDatagramsCome)
{
    auto report = report_of("News");
    auto& delivery = change(report).delivery;
    EXPECT_TRUE(json::parse(stream_json(report))["mdi"]["delay_factor_ms"].is_null());
    delivery.recent.add(1'000'000);
    delivery.recent.add(3'000'000);
    delivery.total.add(9'000'000);
    delivery.index.media_rate = 10'000'000;
    delivery.index.delay_factor = 2'500'000;
    delivery.index.lost = 14;
    const auto stream = json::parse(stream_json(report));
    EXPECT_EQ(stream["inter_arrival_ms"]["min"], 1.0);
    EXPECT_EQ(stream["inter_arrival_ms"]["mean"], 2.0);
    EXPECT_EQ(stream["inter_arrival_ms"]["max"], 3.0);
    EXPECT_EQ(stream["inter_arrival_ms"]["longest_of_all"], 9.0);
    EXPECT_EQ(stream["mdi"]["delay_factor_ms"], 2.5);
    EXPECT_EQ(stream["mdi"]["lost"], 14);
}

TEST(StreamJson, TellsOfPLPsAndTheirL1)
{
    auto report = report_of("News");
    EXPECT_TRUE(json::parse(stream_json(report))["t2mi"].is_null());
    add_PLP(report, 3);
    auto& T2MI = *change(report).T2MI;
    T2MI.L1.emplace().GUARD_INTERVAL = 4;
    T2MI.PLPs.emplace_back().figures.plp_id = 9; // came without being listed
    T2MI.PLPs[0].L1->PLP_TYPE = 7;               // reserved
    const auto stream = json::parse(stream_json(report));
    EXPECT_EQ(stream["t2mi"]["pid"], 0x1000);
    EXPECT_TRUE(stream["t2mi"]["t2mi_stream_id"].is_null());
    EXPECT_EQ(stream["t2mi"]["guard_interval"], "1/128");
    ASSERT_EQ(stream["plps"].size(), 2U);
    EXPECT_EQ(stream["plps"][0]["modulation"], "256-QAM");
    EXPECT_EQ(stream["plps"][0]["code_rate"], "2/3");
    EXPECT_EQ(stream["plps"][0]["type"], 7);
    EXPECT_EQ(stream["plps"][1], json::parse(R"({"plp_id": 9, "frames": 0, "packets": 0, "header_errors": 0})"));
}

TEST(StreamJson, TheDetailHasItsOwnEventsAndHistory)
{
    std::deque<monitor::event> events(2);
    events[0].stream = "News";
    events[0].check = "1.4";
    events[1].stream = "Other";
    const auto stream = json::parse(stream_json(report_of("News"), &events));
    ASSERT_EQ(stream["events"].size(), 1U);
    EXPECT_EQ(stream["events"][0]["check"], "1.4");
    EXPECT_EQ(stream["history"], json::parse("[9960000, 9980000]"));
}

TEST(StreamJson, TextsFromTheAirStayTextsWhateverTheyHold)
{
    for (const std::string& name :
         std::vector<std::string>{"<script>alert(1)</script>", "\"},{", "\\u0000", "\xFF\xFE", "a\nb"})
    {
        auto report = report_of("News");
        add_service(report, name);
        const auto stream = json::parse(stream_json(report));
        EXPECT_EQ(stream["service"], name[0] == '\xFF' ? "\xEF\xBF\xBD\xEF\xBF\xBD" : name);
        EXPECT_EQ(stream["services"].size(), 1U);
    }
}
TEST(StreamJson, TheDetailHasTheLastEventsAndNoMore)
{
    std::deque<monitor::event> events(300);
    for (std::size_t at = 0; at < events.size(); ++at) {
        events[at].stream = "News";
        events[at].check = std::to_string(at);
    }
    const auto stream = json::parse(stream_json(report_of("News"), &events));
    ASSERT_EQ(stream["events"].size(), 200U);
    EXPECT_EQ(stream["events"][0]["check"], "100");
    EXPECT_EQ(stream["events"][199]["check"], "299");
}

TEST(StreamJson, TheDetailHasTheBitRatesOfPIDs)
{
    auto report = report_of("News");
    report.PID_rates =
        std::make_shared<const monitor::pid_history::all_rates>(monitor::pid_history::all_rates{{0x101, {5, 7}}});
    const std::deque<monitor::event> events;
    EXPECT_EQ(json::parse(stream_json(report, &events))["pid_rates"],
              json::parse(R"({"seconds":10,"pids":[{"pid":257,"rates":[5,7]}]})"));
    EXPECT_FALSE(json::parse(stream_json(report)).contains("pid_rates"));
}

TEST(StreamsJson, WithoutRTPWhatCountersMissIsLost)
{
    auto report = report_of("News");
    change(report).input.rtp_lost = 3;
    change(report).delivery.index.lost = 21;
    for (const bool is_rtp : {false, true}) {
        change(report).is_rtp = is_rtp;
        EXPECT_EQ(json::parse(streams_json(*survey_of(report), false))["streams"][0]["lost"], is_rtp ? 3 : 21);
    }
}
} // namespace report_json_test
