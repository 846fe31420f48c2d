// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/terminal_view.h"

#include "surveys.h"

#include <gmock/gmock.h>

namespace terminal_view_test
{
using monitor::terminal_view;
using monitor_surveys::add_service;
using monitor_surveys::change;
using monitor_surveys::noon;
using monitor_surveys::report_of;
using monitor_surveys::survey_of;
using testing::ElementsAre;

monitor::stream_report closed(const std::string& name)
{
    auto report = report_of(name);
    report.state = monitor::stream_state::closed;
    report.bit_rate = 0;
    change(report).fault = "no interface eth9";
    return report;
}

TEST(TerminalView, HasALineForEachStream)
{
    auto report = report_of("News");
    add_service(report, "One");
    terminal_view view;
    EXPECT_THAT(view.lines(*survey_of(report, closed("Sport"))),
                ElementsAre("2 streams, 1 closed, 1 good, 9.98 Mbit/s                                        ",
                            "  STREAM   STATE        BIT RATE    LOST      P1      P2 FIRST SERVICE          ",
                            "> News     good      9.98 Mbit/s       0       0       0 One                    ",
                            "  Sport    closed        0 bit/s       0       0       0 no interface eth9      "));
}

TEST(TerminalView, IsAsWideAndAsHighAsItMayBeWhateverTheSize)
{
    const auto all = survey_of(report_of("A name that is much longer than the room"), report_of("B"), closed("C"));
    for (std::size_t columns = 0; columns < 130; ++columns)
        for (std::size_t rows = 0; rows < 8; ++rows)
            for (const bool detail : {false, true}) {
                terminal_view view;
                view.columns = columns;
                view.rows = rows;
                view.detail = detail;
                const auto lines = view.lines(*all);
                EXPECT_LE(lines.size(), rows);
                for (const auto& line : lines)
                    EXPECT_EQ(line.size(), columns) << line;
            }
}

TEST(TerminalView, TwentyColumnsShowNameAndState)
{
    terminal_view view;
    view.columns = 20;
    EXPECT_THAT(view.lines(*survey_of(report_of("News"))),
                ElementsAre("1 streams, 1 good, 9", "  STREAM   STATE    ", "> News     good     "));
}

TEST(TerminalView, ScrollsToTheSelectedStream)
{
    terminal_view view;
    view.rows = 4;
    const auto all = survey_of(report_of("A"), report_of("B"), report_of("C"), report_of("D"));
    for (int presses = 0; presses < 9; ++presses)
        EXPECT_TRUE(view.press("down", 4));
    EXPECT_EQ(view.selected, 3U);
    EXPECT_EQ(view.lines(*all)[3].substr(0, 3), "> D");
    EXPECT_EQ(view.lines(*all)[2].substr(0, 3), "  C");
    EXPECT_TRUE(view.press("page up", 4));
    EXPECT_EQ(view.selected, 2U);
    EXPECT_FALSE(view.press("back", 4));
}

TEST(TerminalView, EnterShowsOneStreamAndBackAllOfThem)
{
    auto report = report_of("News");
    add_service(report, "One");
    const auto all = survey_of(report);
    terminal_view view;
    EXPECT_TRUE(view.press("enter", 1));
    EXPECT_EQ(view.lines(*all)[0].substr(0, 11), "News: good ");
    for (int presses = 0; presses < 99; ++presses)
        (void)view.press("page down", 1);
    EXPECT_FALSE(view.lines(*all).empty());
    EXPECT_TRUE(view.press("back", 1));
    EXPECT_EQ(view.lines(*all)[2].substr(0, 6), "> News");
}

TEST(TerminalView, ADetailIsWrappedAndScrolledWhereColumnsAreFew)
{
    auto report = report_of("News");
    add_service(report, "One");
    const auto all = survey_of(report);
    terminal_view view;
    view.columns = 20;
    view.rows = 8;
    view.detail = true;
    EXPECT_THAT(view.lines(*all), ElementsAre("News: good          ", "udp://239.1.1.1:5000", "9.98 Mbit/s, 1000   ",
                                              "  datagrams, 0 lost,", "  0 dropped by the  ", "  kernel, 1 senders ",
                                              "last datagram 0.2 s ", "  ago, 10.0 % null  "));
    for (int presses = 0; presses < 3; ++presses)
        EXPECT_TRUE(view.press("page down", 1));
    EXPECT_THAT(view.lines(*all), ElementsAre("MDI DF:MLR -:0, 0   ", "  lost in 0 s       ", "                    ",
                                              "no error by TR 101  ", "  290               ", "                    ",
                                              "1 One               ", "                    "));
}

TEST(TerminalView, StreamsThatWentLeaveTheSelectionOnWhatIsThere)
{
    terminal_view view;
    view.selected = 7;
    EXPECT_EQ(view.lines(*survey_of(report_of("A"))).size(), 3U);
    EXPECT_EQ(view.selected, 0U);
    view.detail = true;
    EXPECT_EQ(view.lines(*survey_of()).size(), 2U);
}

TEST(TerminalView, ColoursTellTheState)
{
    terminal_view view;
    view.colour = true;
    const auto lines = view.lines(*survey_of(report_of("A"), closed("B")));
    EXPECT_EQ(lines[2].substr(0, 5), "\033[32m");
    EXPECT_EQ(lines[3].substr(0, 5), "\033[31m");
}

TEST(PlainLine, TellsOfOneStreamInOneLine)
{
    auto report = report_of("News");
    report.active = {"1.4", "loss"};
    add_service(report, "One\ntwo");
    EXPECT_EQ(plain_line(report, noon), "2026-01-31T12:00:00.000Z News good 9.98 Mbit/s, lost 0, errors 0/0/0, now 1.4 "
                                        "loss, One?two");
    EXPECT_EQ(plain_line(closed("C"), noon),
              "2026-01-31T12:00:00.000Z C closed 0 bit/s, lost 0, errors 0/0/0, no interface eth9");
}
TEST(TerminalView, AMessageStandsInTheLastRowUntilAKeyIsPressed)
{
    terminal_view view;
    view.columns = 20;
    view.rows = 3;
    view.message = "the streams stay as they are";
    const auto all = survey_of(report_of("News"), report_of("Sport"));
    auto lines = view.lines(*all);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines.back(), "the streams stay as ");
    EXPECT_TRUE(view.press("down", 2));
    EXPECT_EQ(view.lines(*all).back().substr(0, 7), "> Sport");
}
} // namespace terminal_view_test
