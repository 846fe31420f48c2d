// SPDX-License-Identifier: LGPL-2.1-or-later
#include "http_client.h"
#include "running_monitor.h"
#include "support/Multiplex.h"
#include "support/Program.h"
#include "support/udp_sender.h"
#include "support/watchdog.h"
#include "tools/monitor/demo/demo_multiplex.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <deque>
#include <fstream>
#include <sstream>
#include <thread>

#include <sys/resource.h>

namespace zq_monitor_test
{
using monitor_runs::entry;
using monitor_runs::is_ready;
using monitor_runs::on_port;
using monitor_runs::running;
using monitor_runs::streams_at;
using nlohmann::json;
using support::eventually;
using testing::HasSubstr;
using testing::StartsWith;

class Monitor : public zqtest::Program
{
protected:
    [[nodiscard]] Result run(const std::string& arguments) const { return shell("'" ZQ_MONITOR_TOOL "' " + arguments); }
    void write_text(const std::string& name, const std::string& text) const { std::ofstream(folder / name) << text; }

    support::watchdog watchdog{std::chrono::minutes{5}}; // a process, or several, are begun in each
};

/// As many packets in front of the tables as end a loss of synchronisation, which silence is.
std::vector<unsigned char> datagram_with_service(const std::string& name)
{
    zqtest::Multiplex multiplex(1);
    mpegcore::CSDT table(nullptr, 4098);
    auto service = std::make_shared<mpegcore::CServiceDescriptionSection>();
    service->service_id = 1;
    auto text = std::make_shared<mpegcore::service_descriptor>();
    text->service_type = 1;
    text->service_name_length = static_cast<std::uint8_t>(name.size());
    std::copy(name.begin(), name.end(), text->service_name.begin());
    text->descriptor_length = static_cast<std::uint8_t>(3 + name.size());
    service->descriptors.append(text);
    table.table_id = 0x42;
    table.section_syntax_indicator = 1;
    table.current_next_indicator = 1;
    table.transport_stream_id = 1;
    table.services[1] = service;
    zqtest::Stream stream;
    for (int count = 0; count < 6; ++count)
        stream.null();
    stream.section(0, multiplex.PAT()).section(zqtest::Multiplex::PMT_PID(0), multiplex.PMT(0));
    stream.section(0x11, zqtest::rendered(table));
    return {stream.data.begin(), stream.data.end()};
}

/// So many more descriptors, or what the system has for a process.
unsigned room_for_descriptors(unsigned wanted)
{
    constexpr unsigned own = 100;
    rlimit files{};
    EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &files), 0);
    files.rlim_cur = std::min<rlim_t>(files.rlim_max, std::max<rlim_t>(files.rlim_cur, wanted + own));
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &files), 0);
    return static_cast<unsigned>(std::min<rlim_t>(files.rlim_cur - own, wanted));
}

TEST_F(Monitor, TellsWhatIsWrongWithAFileOfStreamsAndWhere)
{
    write_text("list.toml", entry("A", 5000) + entry("A", 5001) + "colour = 1\n");
    const auto checked = run("--streams list.toml --check");
    EXPECT_EQ(checked.exit_code, 1);
    EXPECT_EQ(checked.text, "list.toml:5: there is a stream \"A\" already\nlist.toml:7: \"colour\" is unknown here\n");
    EXPECT_EQ(run("--streams list.toml").exit_code, 1);
    EXPECT_EQ(run("--streams nothing.toml --check").text, "nothing.toml: No such file or directory\n");
}

TEST_F(Monitor, TellsHowManyStreamsOfAGoodFileAreInItsShard)
{
    write_text("list.toml", entry("News", 5000) + entry("Sport", 5001) + entry("Film", 5002));
    unsigned sum = 0;
    for (const char index : {'0', '1', '2'}) {
        const auto checked = run(std::string("--streams list.toml --check --shard ") + index + "/3");
        EXPECT_EQ(checked.exit_code, 0);
        EXPECT_THAT(checked.text, testing::MatchesRegex("list.toml: 3 streams, [0-3] of them in shard ./3\n"));
        sum += static_cast<unsigned>(checked.text[22] - '0');
    }
    EXPECT_EQ(sum, 3U);
}

TEST_F(Monitor, RefusesWrongArguments)
{
    EXPECT_EQ(run("239.1.1.1:5000").exit_code, 2);
    EXPECT_THAT(run("A=udp://:5000 A=udp://:5001").text, HasSubstr("there are two streams \"A\""));
    EXPECT_THAT(run("--version").text, StartsWith("zq-monitor "));
}

TEST_F(Monitor, ItsDemoShowsAStreamOfEachKindAndMetricsThatPromtoolTakes)
{
    running program(folder, {"--demo", "--http", "0", "--events", "-"});
    const auto page = program.port();
    const auto member_of = [&](const std::string& name, const char* member) {
        for (const auto& stream : streams_at(page))
            if (stream["name"] == name)
                return stream[member].get<std::string>();
        return std::string();
    };
    ASSERT_TRUE(eventually([&] { return member_of("News", "service") == "News 24"; }));
    EXPECT_TRUE(eventually([&] { return member_of("Night, silent", "state") == "silent"; }));
    const auto T2MI = [&] {
        const auto body = monitor_http::body_of(monitor_http::ask(page, "/api/streams/Distribution,%20T2-MI"));
        const auto parsed = json::parse(body, nullptr, false);
        return parsed.is_object() ? parsed["plps"].size() : 0U;
    };
    EXPECT_TRUE(eventually([&] { return T2MI() == 2; }));
    write_text("metrics", monitor_http::body_of(monitor_http::ask(page, "/metrics")));
    EXPECT_EQ(program.end(), 0);
    if (shell("command -v promtool").exit_code != 0)
        GTEST_SKIP() << "there is no promtool";
    const auto checked = shell("promtool check metrics <metrics");
    EXPECT_EQ(checked.exit_code, 0) << checked.text;
}

TEST_F(Monitor, WatchesAFileInTheTimeOfItsPCRs)
{
    monitor::demo_multiplex stream({1, "One"}, 1'000'000);
    monitor::packet_source::timed_packet packet;
    std::vector<unsigned char> bytes;
    while (packet.due < std::chrono::seconds{5} && stream.next(packet))
        bytes.insert(bytes.end(), packet.bytes.begin(), packet.bytes.end());
    write_file("one.ts", bytes);
    EXPECT_THAT(run("--pace pcr nowhere.ts").text, HasSubstr("nowhere.ts"));
    running program(folder, {"--pace", "pcr", "--json", "A=one.ts"});
    EXPECT_TRUE(eventually([&] { return program.output().find("\"service\":\"One\"") != std::string::npos; }));
    EXPECT_EQ(program.end(), 0);
}

TEST_F(Monitor, WritesALineOfJsonForEachStreamAndSecond)
{
    const auto port = support::free_port();
    running program(folder, {"--json", "A=" + on_port(port), "B=" + on_port(support::free_port())});
    ASSERT_TRUE(eventually([&] { return program.output().find('\n') != std::string::npos; }));
    const support::udp_sender sender("127.0.0.1", port);
    sender.send(datagram_with_service("One"));
    ASSERT_TRUE(eventually([&] { return program.output().find("\"service\":\"One\"") != std::string::npos; }));
    EXPECT_EQ(program.end(), 0);
    std::istringstream lines(program.output());
    std::string names;
    for (std::string line; std::getline(lines, line);)
        names += json::parse(line)["name"];
    EXPECT_THAT(names, StartsWith("ABAB"));
}

TEST_F(Monitor, WritesPlainLinesIntoAPipe)
{
    running program(folder, {"A=" + on_port(support::free_port())});
    ASSERT_TRUE(eventually([&] { return program.output().find(" A silent 0 bit/s, lost 0") != std::string::npos; }));
    EXPECT_EQ(program.end(), 0);
    EXPECT_EQ(program.output().find('\033'), std::string::npos);
}

TEST_F(Monitor, ServesThePageTheInterfaceAndTheMetrics)
{
    const auto port = support::free_port();
    running program(folder, {"--http", "0", "A=" + on_port(port)});
    const auto page = program.port();
    ASSERT_NE(page, 0);
    ASSERT_TRUE(eventually([&] { return is_ready(page); }));
    const support::udp_sender sender("127.0.0.1", port);
    sender.send(datagram_with_service("<script>alert(1)</script>"));
    ASSERT_TRUE(eventually([&] { return streams_at(page).at(0)["service"] == "<script>alert(1)</script>"; }));
    EXPECT_THAT(monitor_http::ask(page, "/"), HasSubstr("Content-Type: text/html"));
    EXPECT_THAT(monitor_http::ask(page, "/metrics"), HasSubstr("\nts_input_datagrams_total{stream=\"A\"} 1\n"));
    EXPECT_THAT(monitor_http::ask(page, "/healthz"), HasSubstr("200 OK"));
    const monitor_http::connection viewer(page);
    viewer.send("GET /live/A HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_THAT(viewer.receive("\n\n"), HasSubstr("text/event-stream"));
    EXPECT_EQ(program.end(), 0);
    EXPECT_EQ(program.output(), "");
}

TEST_F(Monitor, APortOfThePageThatIsTakenEndsIt)
{
    running first(folder, {"--http", "0", "A=" + on_port(support::free_port())});
    EXPECT_THAT(run("--http " + std::to_string(first.port()) + " B=" + on_port(support::free_port())).text,
                HasSubstr("Address already in use"));
}

TEST_F(Monitor, ReadsItsFileAgainAndLeavesAloneWhatStayedTheSame)
{
    const auto port = support::free_port();
    write_text("list.toml", entry("A", port) + entry("B", support::free_port()));
    running program(folder, {"--http", "0", "--streams", "list.toml"});
    const auto page = program.port();
    ASSERT_TRUE(eventually([&] { return is_ready(page); }));
    const support::udp_sender sender("127.0.0.1", port);
    for (int count = 0; count < 10; ++count)
        sender.send(datagram_with_service("One"));
    write_text("list.toml", entry("C", support::free_port()) + entry("A", port));
    program.read_again();
    ASSERT_TRUE(eventually([&] { return streams_at(page).at(0)["name"] == "C"; }));
    for (int count = 0; count < 10; ++count)
        sender.send(datagram_with_service("One"));
    EXPECT_TRUE(eventually([&] {
        return monitor_http::ask(page, "/metrics").find("ts_input_datagrams_total{stream=\"A\"} 20\n") !=
               std::string::npos;
    }));
    EXPECT_EQ(streams_at(page).size(), 2U);
    write_text("list.toml", "nonsense");
    program.read_again();
    ASSERT_TRUE(eventually([&] { return program.errors().find("stay as they are") != std::string::npos; }));
    EXPECT_THAT(program.errors(), HasSubstr("list.toml:1: "));
    EXPECT_EQ(streams_at(page).size(), 2U);
    EXPECT_EQ(program.end(), 0);
}

TEST_F(Monitor, WritesTheBeginningAndTheEndOfAnAlarm)
{
    const auto port = support::free_port();
    running program(folder, {"--events", "events", "--hold-off", "0", "--http", "0", "A=" + on_port(port)});
    const auto page = program.port();
    ASSERT_TRUE(eventually([&] { return is_ready(page); }));
    const support::udp_sender sender("127.0.0.1", port);
    auto damaged = datagram_with_service("One");
    damaged[7 * 188 + 1] |= 0x80;
    const auto told = [&](const std::string& kind) {
        std::ifstream lines(folder / "events");
        for (std::string line; std::getline(lines, line);)
            if (const auto parsed = json::parse(line, nullptr, false);
                parsed.is_object() && parsed["check"] == "2.1" && parsed["event"] == kind)
                return true;
        return false;
    };
    sender.send(datagram_with_service("One"));
    sender.send(datagram_with_service("One"));
    sender.send(datagram_with_service("One"));
    sender.send(damaged);
    EXPECT_TRUE(eventually([&] { return told("begin"); }));
    EXPECT_TRUE(eventually([&] { return told("end"); }));
    EXPECT_EQ(program.end(), 0);
}

TEST_F(Monitor, AFullDiskUnderTheEventsIsToldAndNothingEnds)
{
    running program(folder, {"--events", "/dev/full", "--http", "0", "A=udp://192.0.2.1:5000"});
    const auto page = program.port();
    ASSERT_TRUE(eventually([&] { return program.errors().find("No space left on device") != std::string::npos; }));
    EXPECT_TRUE(eventually([&] {
        const auto metrics = monitor_http::ask(page, "/metrics");
        return metrics.find("\nts_events_lost_total ") != std::string::npos &&
               metrics.find("\nts_events_lost_total 0") == std::string::npos;
    }));
    EXPECT_EQ(streams_at(page).at(0)["state"], "closed");
    EXPECT_EQ(program.end(), 0);
}

TEST_F(Monitor, AFileForTheEventsThatCannotBeMadeEndsIt)
{
    const auto refused = run("--events /nowhere/events A=" + on_port(support::free_port()));
    EXPECT_EQ(refused.exit_code, 1);
    EXPECT_EQ(refused.text, "zq-monitor: /nowhere/events: No such file or directory\n");
}

TEST_F(Monitor, AReaderThatGoesAwayEndsIt)
{
    const auto read = shell("'" ZQ_MONITOR_TOOL "' --json A=" + on_port(support::free_port()) + " | head -n 1 | wc -l");
    EXPECT_EQ(read.exit_code, 0);
    EXPECT_THAT(read.text, testing::MatchesRegex(" *1\n"));
}

TEST_F(Monitor, AThousandSlowAndSilentClientsDoNotTouchTheStreams)
{
    const auto port = support::free_port();
    running program(folder, {"--http", "0", "A=" + on_port(port)});
    const auto page = program.port();
    ASSERT_TRUE(eventually([&] { return is_ready(page); }));
    std::deque<monitor_http::connection> clients;
    const unsigned most = room_for_descriptors(1000);
    for (unsigned count = 0; count < most; ++count) {
        clients.emplace_back(page);
        if (count % 3 == 1)
            clients.back().send("GET /metrics HTTP/1.1\r\nX");
        if (count % 3 == 2)
            clients.back().send("GET /live HTTP/1.1\r\nHost: x\r\n\r\n");
    }
    const support::udp_sender sender("127.0.0.1", port);
    for (int count = 0; count < 200; ++count) {
        sender.send(datagram_with_service("One"));
        std::this_thread::sleep_for(std::chrono::milliseconds{1});
    }
    EXPECT_THAT(monitor_http::ask(page, "/metrics"), HasSubstr("\nts_input_up{stream=\"A\"} "));
    clients.clear();
    EXPECT_TRUE(eventually([&] {
        return monitor_http::ask(page, "/metrics").find("ts_input_datagrams_total{stream=\"A\"} 200\n") !=
               std::string::npos;
    }));
    EXPECT_EQ(program.end(), 0);
}
} // namespace zq_monitor_test
