// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/command_line.h"

#include <gmock/gmock.h>

namespace monitor_command_line_test
{
using testing::ElementsAre;
using testing::HasSubstr;
using tools::request;

request parsed(const std::vector<std::string>& arguments, monitor::options& options, std::string& text)
{
    return monitor::parse_command_line(arguments, "1", options, text);
}

TEST(MonitorCommandLine, RefusesWhatIsWrong)
{
    const std::vector<std::vector<std::string>> wrong{{},
                                                      {"239.1.1.1:5000"},
                                                      {"udp://239.1.1.1"},
                                                      {"A="},
                                                      {"recording.ts"},
                                                      {"--pace", "arrival", "recording.ts"},
                                                      {"--shard", "3/3", "udp://:5000"},
                                                      {"--http", "x", "udp://:5000"},
                                                      {"--check"},
                                                      {"--check", "udp://:5000"},
                                                      {"--tick", "0", "udp://:5000"},
                                                      {"--threads", "65", "udp://:5000"},
                                                      {"--hold-off", "-1", "udp://:5000"},
                                                      {"--json", "--quiet", "udp://:5000"}};
    for (const auto& arguments : wrong) {
        monitor::options options;
        std::string text;
        EXPECT_EQ(parsed(arguments, options, text), request::refuse) << testing::PrintToString(arguments);
        EXPECT_NE(text, "");
    }
}

TEST(MonitorCommandLine, TakesWhatItIsGiven)
{
    monitor::options options;
    std::string text;
    ASSERT_EQ(parsed({"--json", "--shard", "1/3", "--http", "[::1]:80", "--events", "-", "--tick", "10", "--threads",
                      "2", "--hold-off", "0.5", "--interface", "eth0", "A=udp://239.1.1.1:5000", "udp://:5001"},
                     options, text),
              request::run);
    EXPECT_TRUE(options.json);
    EXPECT_EQ(options.share.index, 1U);
    EXPECT_EQ(options.share.count, 3U);
    EXPECT_EQ(options.http->host, "::1");
    EXPECT_EQ(options.events, "-");
    EXPECT_EQ(options.tick_ms, 10U);
    EXPECT_EQ(options.threads, 2U);
    EXPECT_EQ(options.hold_off, 0.5);
    EXPECT_EQ(options.interface, "eth0");
    EXPECT_THAT(options.streams, ElementsAre("A=udp://239.1.1.1:5000", "udp://:5001"));
}

TEST(MonitorCommandLine, TakesFilesWithAPaceOnly)
{
    monitor::options options;
    std::string text;
    ASSERT_EQ(parsed({"--pace", "pcr", "A=recording.ts", "B=udp://:5000"}, options, text), request::run);
    EXPECT_THAT(options.files, ElementsAre("A=recording.ts"));
    EXPECT_THAT(options.streams, ElementsAre("B=udp://:5000"));
}

TEST(MonitorCommandLine, TheDemoNeedsNoStream)
{
    monitor::options options;
    std::string text;
    EXPECT_EQ(parsed({"--demo"}, options, text), request::run);
    EXPECT_TRUE(options.demo);
}

TEST(MonitorCommandLine, SaysWhatThereIs)
{
    monitor::options options;
    std::string text;
    EXPECT_EQ(parsed({"--help"}, options, text), request::print);
    EXPECT_THAT(text, HasSubstr("--events FILE | -"));
}
} // namespace monitor_command_line_test
