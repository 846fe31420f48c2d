// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/Multiplex.h"
#include "support/Program.h"
#include "support/udp_sender.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

using testing::HasSubstr;
using zqtest::Bytes;

namespace
{
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
} // namespace

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
    Bytes rtp{0x80, 33, 0, 1, 0, 0, 0, 0, 0, 0, 0, 1};
    rtp.insert(rtp.end(), plain.begin(), plain.end());
    for (const Bytes& datagram : {plain, rtp}) {
        std::atomic<bool> done = false;
        std::thread sending([&] {
            const support::udp_sender sender("127.0.0.1", port);
            for (; !done; std::this_thread::sleep_for(std::chrono::milliseconds(5)))
                sender.send(datagram);
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
    for (const std::string signal : {"INT", "TERM"})
        EXPECT_EQ(shell("timeout --preserve-status -s " + signal + " 0.3 " + program +
                        " --sections udp://127.0.0.1:" + std::to_string(port))
                      .exit_code,
                  0);
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
    EXPECT_EQ(fault("udp://host:5000"), "zq-tables: udp://host:5000: \"host\" is no IPv4 address\n");
    EXPECT_EQ(fault("good.ts > /dev/full"), "zq-tables: standard output: No space left on device\n");
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

TEST_F(Tables, ShowsNoProgressOfAPipe)
{
    write_file("a.ts", stream_of(1));
    const auto result =
        shell("script -qec '(cat a.ts; sleep 0.7; cat a.ts) | " ZQ_TABLES " --sections - > out.txt' /dev/null");
    EXPECT_EQ(result.text, "");
    EXPECT_EQ(result.exit_code, 0);
}
