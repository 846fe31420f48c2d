// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/ByteTable.h"
#include "support/Multiplex.h"
#include "support/Program.h"
#include "support/udp_sender.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <atomic>
#include <regex>
#include <sstream>
#include <thread>

namespace zq_tables_test
{
using testing::HasSubstr;
using zqtest::Bytes;

/// The program as it is installed.
class Tables : public zqtest::Program
{
protected:
    [[nodiscard]] Result run(const std::string& arguments) const
    {
        return shell(std::string(program) + (' ' + arguments));
    }

    static constexpr const char* program = "'" ZQ_TABLES "'";
};

Bytes stream_of(unsigned packets_of_nothing)
{
    zqtest::Multiplex multiplex(2);
    zqtest::Stream stream;
    stream.section(0x0000, multiplex.PAT());
    for (unsigned count = 0; count < packets_of_nothing; ++count)
        stream.null();
    stream.section(0x0000, multiplex.PAT());
    return stream.data;
}

/// Each packet of a stream with bytes in front of it and behind it.
Bytes spread(const Bytes& stream, std::size_t before, std::size_t behind)
{
    Bytes spread;
    for (auto packet = stream.begin(); packet != stream.end(); packet += 188) {
        spread.insert(spread.end(), before, 0x01);
        spread.insert(spread.end(), packet, packet + 188);
        spread.insert(spread.end(), behind, 0x02);
    }
    return spread;
}

constexpr auto line_count = [](const std::string& text) { return std::count(text.begin(), text.end(), '\n'); };

TEST_F(Tables, ShowsEachTableWhenItComesFirstAndWhenItChanged)
{
    zqtest::Multiplex multiplex(2);
    zqtest::Stream stream;
    stream.section(0x0000, multiplex.PAT()).section(0x0000, multiplex.PAT());
    stream.section(0x0011, multiplex.SDT().at(0)).section(0x0000, zqtest::Multiplex(3).PAT());
    write_file("a.ts", stream.data);
    const auto titles = [this](const std::string& options) {
        std::istringstream lines(run(options + " a.ts").text);
        std::vector<std::string> found;
        for (std::string line; std::getline(lines, line);)
            if (line[0] != ' ')
                found.push_back(line);
        return found;
    };
    const std::string PAT = "PAT on PID 0x0000, version 0, section 0 of 0 to 0, packet ";
    const std::string SDT = "SDT actual on PID 0x0011, version 0, section 0 of 0 to 0, packet 2";
    EXPECT_THAT(titles(""), testing::ElementsAre(PAT + "0", SDT, PAT + "3"));
    EXPECT_THAT(titles("--once"), testing::ElementsAre(PAT + "0", SDT));
    EXPECT_THAT(titles("--all"), testing::ElementsAre(PAT + "0", PAT + "1", SDT, PAT + "3"));
    EXPECT_THAT(run("--once a.ts").text, HasSubstr("\n  transport_stream_id: 1 (0x0001)\n"));
}

TEST_F(Tables, PrintsOneObjectOfJsonALine)
{
    zqtest::Multiplex multiplex(2);
    zqtest::Stream stream;
    stream.section(0x0000, multiplex.PAT()).section(0x0011, multiplex.SDT().at(0));
    stream.section(0x0300, {0x90, 0x30, 0x02, 0x01, 0xFF});
    write_file("a.ts", stream.data);
    std::istringstream lines(run("--json --pid 0 --pid 0x11 --pid 0x300 a.ts").text);
    std::vector<nlohmann::json> objects;
    for (std::string line; std::getline(lines, line);)
        objects.push_back(nlohmann::json::parse(line));
    ASSERT_EQ(objects.size(), 3U);
    EXPECT_EQ(objects[0]["PID"], 0);
    EXPECT_EQ(objects[0]["packet"], 0);
    EXPECT_EQ(objects[0]["table_id_name"], "PAT");
    EXPECT_EQ(objects[0]["programs"].size(), 2U);
    EXPECT_EQ(objects[1]["table_id_name"], "SDT actual");
    EXPECT_EQ(objects[2]["table_id"], 0x90);
    EXPECT_EQ(objects[2]["private_data_byte"], "01ff");
}

TEST_F(Tables, ListsTheServicesWithTheirStreamsAndRates)
{
    zqtest::Multiplex multiplex(2);
    zqtest::Stream stream;
    stream.section(0x0000, multiplex.PAT()).section(0x0011, multiplex.SDT().at(0));
    stream.section(zqtest::Multiplex::PMT_PID(0), multiplex.PMT(0));
    const unsigned video = zqtest::Multiplex::video_PID(0);
    for (unsigned at = 0; at < 100; ++at) // ten packets in 10 ms
        stream.PCR(video, at * 900, 0).null().null().null().null().null().null().null().null().null();
    write_file("a.ts", stream.data);
    std::istringstream lines(run("--services --json a.ts").text);
    std::string line;
    ASSERT_TRUE(std::getline(lines, line));
    const auto service = nlohmann::json::parse(line);
    EXPECT_EQ(service["program_map_PID"], zqtest::Multiplex::PMT_PID(0));
    EXPECT_EQ(service["streams"][0]["elementary_PID"], video);
    EXPECT_NEAR(service["streams"][0]["bitrate"].get<double>(), 150'400, 1'000);
    const auto text = run("--services a.ts").text;
    EXPECT_THAT(text, HasSubstr("PMT on PID 0x0100"));
    EXPECT_THAT(text, HasSubstr("\n  PID 0x0101: "));
    EXPECT_THAT(text, HasSubstr(", 0.15"));
}

TEST_F(Tables, ReadsUnmarkedTextsByTheTableAskedFor)
{
    zqtest::Stream stream;
    stream.section(0x0010,
                   zqtest::section_of(0x40, {0, 1, 0xC1, 0, 0, 0xF0, 6, 0x40, 4, 'c', 'a', 'f', 0xE9, 0xF0, 0}));
    write_file("a.ts", stream.data);
    EXPECT_THAT(run("a.ts").text, HasSubstr("\"cafØ\""));
    EXPECT_THAT(run("--charset iso-8859-1 a.ts").text, HasSubstr("\"café\""));
}

TEST_F(Tables, IsInColourOnATerminalOnlyAndNotAgainstTheUsersWill)
{
    write_file("a.ts", stream_of(1));
    EXPECT_THAT(run("a.ts").text, testing::Not(HasSubstr("\033")));
    EXPECT_THAT(shell("script -qec '\"" ZQ_TABLES "\" a.ts' /dev/null").text, HasSubstr("\033[1;36mPAT"));
    EXPECT_THAT(shell("NO_COLOR=1 script -qec '\"" ZQ_TABLES "\" a.ts' /dev/null").text,
                testing::Not(HasSubstr("\033")));
}

TEST_F(Tables, ShowsTimesInLocalTimeOnceATotHasToldIt)
{
    // Europe/Berlin: an hour ahead, two from 1993-10-14 on.
    const Bytes TDT{0x70, 0x70, 0x05, 0xC0, 0x79, 0x12, 0x45, 0x00};
    const Bytes TOT = zqtest::section_of(0x73, {0xC0, 0x79, 0x12, 0x45, 0x00, 0xF0, 0x0F, 0x58, 0x0D, 'D',  'E',
                                                'U',  0x02, 0x01, 0x00, 0xC0, 0x7A, 0x00, 0x00, 0x00, 0x02, 0x00},
                                         0x7);
    zqtest::Stream stream;
    stream.section(0x0014, TDT).section(0x0014, TOT).section(0x0014, TDT);
    write_file("a.ts", stream.data);
    const auto times = [this](const std::string& options) {
        std::vector<std::string> found;
        const std::string text = run("--all --table TDT " + options + " a.ts").text;
        const std::regex time("UTC_time: (.*)");
        for (std::sregex_iterator at(text.begin(), text.end(), time), end; at != end; ++at)
            found.push_back((*at)[1]);
        return found;
    };
    EXPECT_THAT(times(""), testing::ElementsAre("1993-10-13T12:45:00Z", "1993-10-13T12:45:00Z"));
    EXPECT_THAT(times("--local-time deu"), testing::ElementsAre("1993-10-13T12:45:00Z", "1993-10-13T13:45:00+01:00"));
    EXPECT_THAT(times("--local-time FRA"), testing::ElementsAre("1993-10-13T12:45:00Z", "1993-10-13T12:45:00Z"));
    EXPECT_THAT(run("--json --all --local-time DEU a.ts").text, HasSubstr("\"1993-10-13T13:45:00+01:00\""));
}

TEST_F(Tables, EndsALiveInputAfterServicesWereMeasured)
{
    const std::uint16_t port = support::free_port();
    const support::udp_traffic traffic(port, std::chrono::milliseconds(20), stream_of(4));
    const auto result = run("--services udp://127.0.0.1:" + std::to_string(port));
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_THAT(result.text, HasSubstr("PMT on PID 0x0100"));
}

TEST_F(Tables, HasAManualPageThatNamesAllOptions)
{
    std::ifstream file(ZQ_SOURCE_DIR "/tools/tables/zq-tables.1");
    std::string page{std::istreambuf_iterator<char>(file), {}};
    page = std::regex_replace(page, std::regex(R"(\\-)"), "-");
    const std::string help = run("--help").text;
    const std::regex option("\n  (?:-h,)?(--[a-z-]+)");
    int options = 0;
    for (std::sregex_iterator at(help.begin(), help.end(), option), end; at != end; ++at, ++options)
        EXPECT_THAT(page, HasSubstr((*at)[1].str()));
    EXPECT_EQ(options, 14);
}

TEST_F(Tables, ReadsFilesAndPipesOfAnyPacketSize)
{
    const Bytes stream = stream_of(20);
    write_file("188.ts", stream);
    write_file("192.m2ts", spread(stream, 4, 0));
    write_file("204.ts", spread(stream, 0, 16));
    const auto plain = run("--sections 188.ts");
    EXPECT_EQ(plain.exit_code, 0);
    EXPECT_THAT(plain.text, testing::StartsWith("0 0000 00 17 "));
    EXPECT_THAT(plain.text, HasSubstr("\n21 0000 00 17 "));
    EXPECT_EQ(line_count(plain.text), 2);
    EXPECT_EQ(run("--sections 192.m2ts").text, plain.text);
    EXPECT_EQ(run("--sections 204.ts").text, plain.text);
    EXPECT_EQ(shell(std::string("cat 188.ts | ") + program + " --sections").text, plain.text);
    EXPECT_EQ(shell(std::string("cat 188.ts | ") + program + " --sections -").text, plain.text);
}

TEST_F(Tables, ShowsWhatTheFiltersLeave)
{
    write_file("a.ts", stream_of(3));
    EXPECT_EQ(line_count(run("--sections --pid 0 a.ts").text), 2);
    EXPECT_EQ(run("--sections --pid 1 a.ts").text, "");
    EXPECT_EQ(line_count(run("--sections --table PAT a.ts").text), 2);
    EXPECT_EQ(run("--sections --table NIT a.ts").text, "");
    EXPECT_EQ(run("--sections --table-id 0x42 a.ts").text, "");
}

TEST_F(Tables, ReadsDatagramsWithAndWithoutRtp)
{
    const std::uint16_t port = support::free_port();
    const Bytes plain = stream_of(5);
    for (const bool rtp : {false, true}) {
        std::atomic<bool> done = false;
        std::thread sending([&] {
            const support::udp_sender sender("127.0.0.1", port);
            Bytes datagram = rtp ? Bytes{0x80, 33, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1} : Bytes();
            datagram.insert(datagram.end(), plain.begin(), plain.end());
            for (unsigned char number = 0; !done; std::this_thread::sleep_for(std::chrono::milliseconds(5))) {
                if (rtp)
                    datagram[3] = ++number;
                sender.send(datagram);
            }
        });
        // The second line finds nobody who reads it, so the program ends, too.
        const auto result =
            shell(std::string(program) + " --sections udp://127.0.0.1:" + std::to_string(port) + " | head -n 1");
        done = true;
        sending.join();
        EXPECT_THAT(result.text, HasSubstr(" 0000 00 17 "));
        EXPECT_EQ(line_count(result.text), 1);
    }
}

TEST_F(Tables, EndsQuietlyWhenNobodyReadsAnyMore)
{
    write_file("a.ts", stream_of(1));
    const auto result = shell(std::string("i=0; (while [ $i -lt 2000 ]; do cat a.ts; i=$((i + 1)); done | (") +
                              program + " --sections; echo ended with $? >&2)) | head -n 1");
    EXPECT_THAT(result.text, HasSubstr("ended with 0\n"));
    EXPECT_EQ(line_count(result.text), 2) << result.text;
}

TEST_F(Tables, EndsWellWhenItIsAskedToEnd)
{
    const std::uint16_t port = support::free_port();
    const support::udp_traffic traffic(port, std::chrono::milliseconds(20), stream_of(4));
    for (const std::string signal : {"INT", "TERM"})
        EXPECT_EQ(shell(std::string(program) + " --sections udp://127.0.0.1:" + std::to_string(port) +
                        " > out.txt & while kill -0 $! && [ ! -s out.txt ]; do sleep 0.02; done; kill -s " + signal +
                        " $!; wait $!; echo ended with $?; rm out.txt")
                      .text,
                  "ended with 0\n");
}

TEST_F(Tables, EndsWellWhenItIsAskedToEndWhileNothingComes)
{
    for (const std::string signal : {"INT", "TERM"}) {
        const std::uint16_t port = support::free_port();
        char listens[16];
        std::snprintf(listens, sizeof listens, ":%04X ", static_cast<unsigned>(port));
        EXPECT_EQ(shell(std::string(program) + " --sections udp://127.0.0.1:" + std::to_string(port) +
                        " & while kill -0 $! && ! grep -q '" + listens +
                        "' /proc/net/udp; do sleep 0.02; done; kill -s " + signal + " $!; wait $!; echo ended with $?")
                      .text,
                  "ended with 0\n");
    }
}

TEST_F(Tables, NamesWhatFails)
{
    write_file("text.ts", Bytes(5000, 'x'));
    write_file("empty.ts", {});
    write_file("good.ts", stream_of(3));
    std::filesystem::create_directory(folder / "folder");
    const auto fault = [this](const std::string& arguments) {
        const auto result = run("--sections " + arguments);
        EXPECT_EQ(result.exit_code, 1) << arguments;
        return result.text;
    };
    EXPECT_EQ(fault("none.ts"), "zq-tables: none.ts: No such file or directory\n");
    EXPECT_EQ(fault("folder"), "zq-tables: folder: is a directory\n");
    EXPECT_EQ(fault("text.ts"), "zq-tables: text.ts: no transport packets found\n");
    EXPECT_EQ(fault("empty.ts"), "zq-tables: empty.ts: no transport packets found\n");
    EXPECT_EQ(fault("udp://host:5000"), "zq-tables: udp://host:5000: \"host\" is no IPv4 or IPv6 address\n");
    EXPECT_EQ(fault("good.ts > /dev/full"), "zq-tables: standard output: No space left on device\n");
}

TEST_F(Tables, DoesNotWaitForATerminalToSendAStream)
{
    const auto result = shell("script -qec '\"" ZQ_TABLES "\"' /dev/null");
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.text, "zq-tables: -: is a terminal\r\n");
}

TEST_F(Tables, EndsWithTwoForWrongArguments)
{
    for (const char* arguments : {"--what", "--pid 8192 a.ts", "a.ts b.ts", "udp://239.1.1.1"}) {
        const auto result = run(arguments);
        EXPECT_EQ(result.exit_code, 2) << arguments;
        EXPECT_THAT(result.text, testing::StartsWith("zq-tables: ")) << arguments;
        EXPECT_THAT(result.text, HasSubstr("--help")) << arguments;
    }
}

TEST_F(Tables, HelpsAndTellsItsVersion)
{
    EXPECT_EQ(run("--help").exit_code, 0);
    EXPECT_THAT(run("--help").text, HasSubstr("--sections"));
    EXPECT_THAT(run("--version").text, testing::MatchesRegex("zq-tables [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST_F(Tables, ShowsATreeOnATerminal)
{
    write_file("a.ts", stream_of(1));
    const auto result = shell("NO_COLOR=1 script -qec '\"" ZQ_TABLES "\" --once a.ts' /dev/null");
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_THAT(result.text, testing::StartsWith("PAT on PID 0x0000, version 0, section 0 of 0 to 0, packet 0\r\n"));
    EXPECT_THAT(result.text, HasSubstr("\r\n  programs:\r\n    - program_number: "));
}

TEST_F(Tables, ShowsProgressOfAFileOnATerminalAndTakesItAway)
{
    Bytes file;
    const Bytes part = stream_of(0);
    while (file.size() < (std::size_t{3} << 20))
        file.insert(file.end(), part.begin(), part.end());
    write_file("a.ts", file);
    // More lines than a pipe holds, which nobody reads for a second.
    const auto shown = [this](const std::string& options, const std::string& errors) {
        return shell("script -qec '\"" ZQ_TABLES "\" --sections " + options + " a.ts " + errors +
                     "| (sleep 1; cat > /dev/null)' /dev/null")
            .text;
    };
    EXPECT_THAT(shown("", ""), testing::MatchesRegex(".*\r\\[#+\\.+\\] +[0-9]+%  [0-9.]+ MB.*\r\033\\[K"));
    EXPECT_EQ(shown("--quiet", ""), "");
    EXPECT_EQ(shown("", "2> errors.txt"), "");
    EXPECT_EQ(shell("cat errors.txt").text, "");
}

TEST_F(Tables, ShowsNoProgressOfAPipe)
{
    write_file("a.ts", stream_of(1));
    const auto result =
        shell("script -qec '(cat a.ts; sleep 0.7; cat a.ts) | \"" ZQ_TABLES "\" --sections - > out.txt' /dev/null");
    EXPECT_EQ(result.text, "");
    EXPECT_EQ(result.exit_code, 0);
}
} // namespace zq_tables_test
