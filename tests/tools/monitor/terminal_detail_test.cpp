// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/terminal_detail.h"

#include "surveys.h"

#include <gmock/gmock.h>

namespace terminal_detail_test
{
using monitor::detail_of;
using monitor::event;
using monitor_surveys::add_PID;
using monitor_surveys::add_PLP;
using monitor_surveys::add_service;
using monitor_surveys::change;
using monitor_surveys::noon;
using monitor_surveys::report_of;
using monitor_surveys::second;
using testing::ElementsAre;

constexpr std::uint64_t ms = 1'000'000;

void add_table(monitor::stream_report& report, std::uint8_t table_id, std::uint16_t PID, std::uint16_t extension,
               std::uint8_t version_number)
{
    monitor::table_state table;
    table.identity.table_id = table_id;
    table.identity.PID = PID;
    table.identity.table_id_extension = extension;
    table.version.version_number = version_number;
    table.version.changes = 2;
    change(report).tables.push_back(table);
}

TEST(TerminalDetail, TellsAllOfAStream)
{
    auto report = report_of("Distribution");
    report.settings.interface = "eth1";
    auto& seen = change(report);
    seen.has_PAT = true;
    seen.transport_stream_id = 4660;
    seen.scrambled_packets = 5;
    for (const std::uint64_t time : {1 * ms, 1 * ms, 4 * ms})
        seen.delivery.recent.add(time);
    seen.delivery.total.add(12 * ms);
    seen.delivery.index.media_rate = 9'000'000;
    seen.delivery.index.delay_factor = 12'340'000;
    seen.delivery.index.media_loss_rate = 7;
    seen.delivery.index.lost = 21;
    seen.delivery.index.seconds_with_loss = 3;
    add_PLP(report, 0);
    add_service(report, "One");
    add_PID(report, 257, true);
    change(report).PIDs.back().figures.bit_rate = 3'130'000;
    auto& PCR = change(report).PIDs.back().PCR.emplace();
    PCR.longest_interval = 38 * ms;
    PCR.arrival_jitter = 250'000;
    add_table(report, 0x00, 0, 4660, 1);
    add_table(report, 0x01, 1, 0xFFFF, 4);
    add_table(report, 0x02, 256, 1, 3);
    add_table(report, 0x42, 17, 4660, 31);
    EXPECT_THAT(detail_of(report, {}),
                ElementsAre("Distribution: good", "udp://239.1.1.1:5000 on eth1",
                            "9.98 Mbit/s, 1000 datagrams, 21 lost, 0 dropped by the kernel, 1 senders",
                            "last datagram 0.2 s ago, transport stream 4660, 10.0 % null packets, 5 scrambled",
                            "inter-arrival ms: mean 2.00, p99 3.96, max 4.00, ever 12.00",
                            "MDI DF:MLR 12.34:7, 21 lost in 3 s", "", "no error by TR 101 290", "",
                            "T2-MI on PID 4096, 0 packets",
                            "    PLP 0: 0 frames, 700 packets, 0 header errors, 256-QAM 2/3", "", "1 One", "",
                            "PID 257   video        3.13 Mbit/s PCR ms: max 38.00, arrival jitter 0.25", "",
                            "PAT 4660 on PID 0: version 1, 2 changes", "CAT on PID 1: version 4, 2 changes",
                            "PMT of program 1 on PID 256: version 3, 2 changes",
                            "SDT actual 4660 on PID 17: version 31, 2 changes", ""));
}

TEST(TerminalDetail, DoesNotTellWhatIsNotKnown)
{
    auto report = report_of("Night");
    auto& seen = change(report);
    seen = {};
    seen.clock = 100 * second;
    seen.fault = "no interface eth9";
    EXPECT_THAT(detail_of(report, {}),
                ElementsAre("Night: good", "udp://239.1.1.1:5000", "no interface eth9",
                            "9.98 Mbit/s, 0 datagrams, 0 lost, 0 dropped by the kernel, 0 senders",
                            "no datagram yet, 0.0 % null packets, 0 scrambled",
                            "inter-arrival ms: mean 0.00, p99 0.00, max 0.00, ever 0.00",
                            "MDI DF:MLR -:0, 0 lost in 0 s", "", "no error by TR 101 290", ""));
}

TEST(TerminalDetail, EndsWithTheEventsOfTheStreamTheLastOneFirst)
{
    const auto told = [](event::kind what, const std::string& stream, const std::string& check) {
        event one;
        one.time = noon;
        one.what = what;
        one.stream = stream;
        one.check = check;
        one.name = "Name";
        one.text = "text";
        return one;
    };
    auto lines = detail_of(report_of("A"), {told(event::kind::begin, "A", "1.4"), told(event::kind::begin, "B", "2.2"),
                                            told(event::kind::note, "A", "table"), told(event::kind::end, "A", "1.4")});
    lines.erase(lines.begin(), lines.end() - 4);
    EXPECT_THAT(lines, ElementsAre("", "2026-01-31T12:00:00.000Z end   1.4 Name text",
                                   "2026-01-31T12:00:00.000Z note  table Name text",
                                   "2026-01-31T12:00:00.000Z begin 1.4 Name text"));
}
} // namespace terminal_detail_test
