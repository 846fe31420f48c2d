// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/Program.h"
#include "support/Samples.h"
#include "support/T2MIFeed.h"
#include "support/udp_sender.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <atomic>
#include <thread>

namespace zq_t2mi_demux_test
{
using testing::HasSubstr;
using testing::StartsWith;
using zqtest::Bytes;
using zqtest::Feed;
using zqtest::joined;
using zqtest::operator+;

/// The program as it is installed.
class T2MIDemuxTool : public zqtest::Program
{
protected:
    [[nodiscard]] Result run(const std::string& arguments) const { return shell("'" ZQ_T2MI_DEMUX "' " + arguments); }
    [[nodiscard]] Bytes file(const std::string& name) const
    {
        const std::string bytes = zqtest::contents(folder / name);
        return {bytes.begin(), bytes.end()};
    }
};

/// PLP 102 as the L1 of the feed on air lists it, and one that it does not.
Feed feed_with_L1()
{
    Feed feed({102, 7});
    for (unsigned t2_frame = 0; t2_frame < 5; ++t2_frame)
        feed.add(3, 1880).signal();
    feed.end();
    return feed;
}

Bytes stream_of(const Feed& feed)
{
    return zqtest::tables({{0x06, zqtest::T2MI_PID, zqtest::T2MI_descriptor()}}) + zqtest::packed(feed.packets);
}

TEST_F(T2MIDemuxTool, WritesSeveralPlpsInOnePass)
{
    Feed feed = feed_with_L1();
    write_file("feed.ts", stream_of(feed));
    const auto done = run("--plp 7=seven.ts feed.ts --plp 102=other.ts");
    EXPECT_EQ(done.exit_code, 0);
    EXPECT_EQ(file("seven.ts"), joined(feed.sent[7]));
    EXPECT_EQ(file("other.ts"), joined(feed.sent[102]));
    EXPECT_THAT(done.text, StartsWith("42 T2-MI packets\nPLP 7: 16 frames, "));
}

TEST_F(T2MIDemuxTool, TakesStandardInputAndOutput)
{
    Feed feed = feed_with_L1();
    write_file("feed.ts", stream_of(feed));
    EXPECT_EQ(shell("'" ZQ_T2MI_DEMUX "' --quiet - --plp 7=- < feed.ts > out.ts").text, "");
    EXPECT_EQ(file("out.ts"), joined(feed.sent[7]));
}

TEST_F(T2MIDemuxTool, TakesDatagrams)
{
    Feed feed = feed_with_L1();
    const Bytes stream = stream_of(feed);
    const std::string port = std::to_string(support::free_port());
    std::atomic<bool> done{false};
    std::thread sending([&] {
        support::udp_sender sender("127.0.0.1", static_cast<std::uint16_t>(std::stoi(port)));
        while (!done) {
            for (std::size_t at = 0; at < stream.size(); at += 1316)
                sender.send(zqtest::slice(stream, at, std::min<std::size_t>(1316, stream.size() - at)));
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    });
    const auto listed = run("--list --json --quiet udp://127.0.0.1:" + port);
    done = true;
    sending.join();
    EXPECT_EQ(listed.exit_code, 0) << listed.text;
    EXPECT_EQ(nlohmann::json::parse(listed.text)["pid"], 0x1000);
}

TEST_F(T2MIDemuxTool, ListsWhatIsThere)
{
    write_file("feed.ts", stream_of(feed_with_L1()));
    const auto listed = run("feed.ts --list --quiet");
    EXPECT_EQ(listed.exit_code, 0);
    EXPECT_THAT(listed.text, StartsWith("PSI: T2-MI descriptor for PID 0x1000, T2-MI stream 0\n"
                                        "PID 0x1000, T2-MI stream 0\n"
                                        "T2-MI stream 0: 42 T2-MI packets\n"
                                        "PLP 7: 16 frames, "));
    EXPECT_THAT(listed.text, HasSubstr("PLP 102: data type 1, TS, group 2, 16-QAM 3/5, 64K LDPC, 16 frames, "));
    EXPECT_THAT(listed.text, HasSubstr("\n  L1PRE:\n    TYPE: 0 (0x00)\n"));
}

TEST_F(T2MIDemuxTool, ListsAsJsonWithBitRates)
{
    write_file("feed.ts", stream_of(feed_with_L1()));
    const auto listed = nlohmann::json::parse(run("feed.ts --list --quiet --json").text);
    EXPECT_EQ(listed["pid"], 0x1000);
    EXPECT_EQ(listed["stream_ids"], nlohmann::json::array({0}));
    EXPECT_EQ(listed["described"][0]["pid"], 0x1000);
    const auto& plp = listed["plps"][1];
    EXPECT_EQ(plp["id"], 102);
    EXPECT_EQ(plp["modulation"], "16-QAM");
    EXPECT_EQ(plp["code_rate"], "3/5");
    // 4 T2 frames of 776192 periods of 7/48 us, with 3 frames of 1880 bytes = 30.16 packets of 187 each.
    const double seconds = 4 * 776192 * 7 / 48e6;
    EXPECT_NEAR(plp["bit_rate"].get<double>(), 12 * 1880 / 187.0 * 188 * 8 / seconds, 188 * 8 / seconds);
    EXPECT_EQ(listed["timestamp"]["subseconds"], 9679701);
    EXPECT_EQ(listed["L1"]["configurable_PLPs"][0]["PLP_ID"], 102);
}

TEST_F(T2MIDemuxTool, ListsEveryPidThatCarriesT2mi)
{
    Feed other({1}, {}, 6);
    other.add(5, 1000);
    const Bytes both = zqtest::interleaved({stream_of(feed_with_L1()), zqtest::packed(other.packets, 0x200)});
    write_file("feed.ts", both);
    const auto listed = run("feed.ts --list --quiet");
    EXPECT_THAT(listed.text, HasSubstr("Candidate: PID 0x0200, T2-MI stream 6, 5 T2-MI packets\n"
                                       "Candidate: PID 0x1000, T2-MI stream 0, 42 T2-MI packets, described, in use\n"));
    const auto json = nlohmann::json::parse(run("feed.ts --list --quiet --json").text)["candidates"];
    EXPECT_EQ(json[0], nlohmann::json::parse(R"({"pid": 512, "stream_ids": [6], "packets": 5, "in_use": false})"));
    EXPECT_EQ(json[1]["in_use"], true);
}

TEST_F(T2MIDemuxTool, DropsDeletedNullPacketsWhenTold)
{
    zqtest::BasebandFormat format;
    format.deletes_nulls = true;
    Feed feed({3}, format);
    feed.add(10, 1000);
    write_file("feed.ts", stream_of(feed));
    static_cast<void>(run("feed.ts --plp 3=with.ts"));
    static_cast<void>(run("feed.ts --plp 3=without.ts --drop-nulls"));
    EXPECT_LT(file("without.ts").size(), file("with.ts").size());
}

TEST_F(T2MIDemuxTool, FailsWithoutT2miOrWithoutThePlp)
{
    write_file("nothing.ts", zqtest::tables());
    write_file("feed.ts", stream_of(feed_with_L1()));
    const auto nothing = run("nothing.ts --list");
    EXPECT_EQ(nothing.exit_code, 1);
    EXPECT_EQ(nothing.text, "zq-t2mi-demux: nothing.ts: no T2-MI found\n");
    const auto missing = run("feed.ts --plp 9=nine.ts --quiet");
    EXPECT_EQ(missing.exit_code, 1);
    EXPECT_EQ(missing.text, "zq-t2mi-demux: feed.ts: has no PLP 9\n");
    EXPECT_EQ(run("feed.ts --plp 7=/dev/full --quiet").exit_code, 1);
    EXPECT_EQ(run("no_such.ts --list").exit_code, 1);
    const auto same = run("feed.ts --plp 7=feed.ts");
    EXPECT_EQ(same.exit_code, 1);
    EXPECT_EQ(same.text, "zq-t2mi-demux: feed.ts: is the input, too\n");
}

TEST_F(T2MIDemuxTool, RefusesWrongArguments)
{
    for (const char* arguments :
         {"", "feed.ts", "--list", "feed.ts --plp 256=x", "feed.ts --plp 1",
          "feed.ts --plp 1=", "feed.ts --plp 1=a --plp 1=b", "feed.ts --list --pid 8192",
          "feed.ts --list --stream-id 8", "feed.ts --json --plp 1=a", "feed.ts --list --bad", "udp://nowhere --list"})
        EXPECT_EQ(run(arguments).exit_code, 2) << arguments;
    EXPECT_THAT(run("feed.ts").text, HasSubstr("nothing to do: --list or --plp N=FILE; --help lists all options"));
}

TEST_F(T2MIDemuxTool, HasAHelpTextAndAManPageThatNameEachOption)
{
    const auto help = run("--help");
    EXPECT_EQ(help.exit_code, 0);
    const std::string page = zqtest::contents(ZQ_SOURCE_DIR "/tools/t2mi_demux/zq-t2mi-demux.1");
    for (const char* option : {"plp", "list", "json", "pid", "stream-id", "drop-nulls", "merge-common", "interface",
                               "quiet", "version", "help"})
    {
        EXPECT_THAT(help.text, HasSubstr(std::string("--") + option));
        std::string escaped = std::string("\\-\\-") + option;
        for (auto at = escaped.find('-', 4); at != std::string::npos; at = escaped.find('-', at + 2))
            if (escaped[at - 1] != '\\')
                escaped.insert(at, "\\");
        EXPECT_THAT(page, HasSubstr(escaped));
    }
    EXPECT_THAT(run("--version").text, StartsWith("zq-t2mi-demux "));
}
} // namespace zq_t2mi_demux_test
