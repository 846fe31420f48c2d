// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/Encapsulated.h"
#include "support/sanitizers.h"

#include <gmock/gmock.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sys/wait.h>
#include <unistd.h>

namespace zq_t2mi_mux_test
{
using namespace zqtest;
using testing::HasSubstr;

namespace fs = std::filesystem;

struct run_result
{
    int exit_code;
    std::string text; // both outputs
};

/// The installed program itself, in a folder of its own.
class Mux : public testing::Test
{
protected:
    void SetUp() override
    {
        std::string name = (fs::temp_directory_path() / "zq-t2mi-XXXXXX").string();
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        folder = name;
    }
    void TearDown() override { fs::remove_all(folder); }

    run_result run(const std::string& arguments) { return shell("'" ZQ_T2MI_MUX "' " + arguments); }

    /// A command line in the folder.
    run_result shell(const std::string& line)
    {
        const std::string command = "cd " + folder.string() + " && (" + line + ") 2>&1";
        std::FILE* const pipe = popen(command.c_str(), "r");
        std::string text;
        std::array<char, 4096> part;
        for (std::size_t size; (size = std::fread(part.data(), 1, part.size(), pipe)) > 0;)
            text.append(part.data(), size);
        const int status = pclose(pipe);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, text};
    }

    Bytes make_file(const std::string& name, unsigned packets, const Bytes& rest = {})
    {
        Bytes bytes;
        for (; packets > 0; --packets) {
            const Bytes packet = random_packet(random);
            bytes.insert(bytes.end(), packet.begin(), packet.end());
            bytes[bytes.size() - 185] &= 0xDF; // no adaptation field, so no PCR by chance
        }
        std::ofstream(folder / name, std::ios::binary)
            .write(reinterpret_cast<const char*>((bytes + rest).data()),
                   static_cast<std::streamsize>(bytes.size() + rest.size()));
        return bytes;
    }

    Bytes contents(const std::string& name)
    {
        std::ifstream file(folder / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    fs::path folder;
    std::mt19937 random{3};
};

TEST_F(Mux, WrapsSeveralFilesThatComeBackWhole)
{
    const Bytes a = make_file("a.ts", 3000);
    const Bytes b = make_file("b.ts", 1000);
    const auto result = run("--plp 1=a.ts --plp 200=b.ts --output out.ts --frame-size 300-4000 --seed 9");
    EXPECT_EQ(result.text, "");
    EXPECT_EQ(result.exit_code, 0);
    const Bytes out = contents("out.ts");
    EXPECT_EQ(decapsulated_stream(out, 1).transport_stream(), a);
    EXPECT_EQ(decapsulated_stream(out, 200).transport_stream(), b);
}

TEST_F(Mux, ReachesTheBitRateAskedFor)
{
    const Bytes a = make_file("a.ts", 3324); // 5 Mbit at the rate for inputs without PCR: one second
    EXPECT_EQ(run("--plp 0=a.ts --output out.ts --bitrate 9000000").exit_code, 0);
    const Bytes out = contents("out.ts");
    EXPECT_NEAR(static_cast<double>(out.size() * 8), 9e6, 9e4);
    EXPECT_EQ(decapsulated_stream(out, 0).transport_stream(), a);
}

TEST_F(Mux, FailsWhenTheBitRateIsTooLow)
{
    make_file("a.ts", 30000);
    const auto result = run("--plp 0=a.ts --output out.ts --bitrate 2000000");
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_THAT(result.text, HasSubstr("need more than --bitrate 2000000"));
}

TEST_F(Mux, ReadsAndWritesPipes)
{
    const Bytes a = make_file("a.ts", 500);
    EXPECT_EQ(run("--plp 5=- --output - < a.ts > out.ts").exit_code, 0);
    EXPECT_EQ(decapsulated_stream(contents("out.ts"), 5).transport_stream(), a);
}

TEST_F(Mux, MakesTheSameOfTheSame)
{
    make_file("a.ts", 500);
    EXPECT_EQ(run("--plp 5=a.ts --output 1.ts --frame-size 187-8178").exit_code, 0);
    EXPECT_EQ(run("--plp 5=a.ts --output 2.ts --frame-size 187-8178").exit_code, 0);
    EXPECT_EQ(run("--plp 5=a.ts --output 3.ts --frame-size 187-8178 --seed 2").exit_code, 0);
    EXPECT_EQ(contents("1.ts"), contents("2.ts"));
    EXPECT_NE(contents("1.ts"), contents("3.ts"));
}

TEST_F(Mux, HelpsAndTellsItsVersion)
{
    const auto help = run("--help");
    EXPECT_EQ(help.exit_code, 0);
    EXPECT_THAT(help.text, testing::StartsWith("Usage: zq-t2mi-mux"));
    const auto version = run("--version");
    EXPECT_EQ(version.exit_code, 0);
    EXPECT_THAT(version.text, testing::MatchesRegex("zq-t2mi-mux [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST_F(Mux, EndsWithTwoForWrongArguments)
{
    for (const char* arguments : {"", "--what", "--plp 0=a.ts", "--plp 0=a.ts --output out.ts --frame-size 10"}) {
        const auto result = run(arguments);
        EXPECT_EQ(result.exit_code, 2) << arguments;
        EXPECT_THAT(result.text, testing::StartsWith("zq-t2mi-mux: ")) << arguments;
        EXPECT_THAT(result.text, HasSubstr("--help")) << arguments;
    }
}

TEST_F(Mux, NamesTheFileThatFails)
{
    make_file("good.ts", 10);
    make_file("bad.ts", 10, Bytes(188));
    fs::create_directory(folder / "folder");
    const auto fault = [this](const std::string& arguments) {
        const auto result = run(arguments);
        EXPECT_EQ(result.exit_code, 1) << arguments;
        return result.text;
    };
    EXPECT_EQ(fault("--plp 0=none.ts --output out.ts"), "zq-t2mi-mux: none.ts: No such file or directory\n");
    EXPECT_EQ(fault("--plp 0=folder --output out.ts"), "zq-t2mi-mux: folder: is a directory\n");
    EXPECT_EQ(fault("--plp 0=bad.ts --output out.ts"), "zq-t2mi-mux: bad.ts: no sync byte at byte 1880\n");
    EXPECT_EQ(fault("--plp 0=good.ts --output folder"), "zq-t2mi-mux: folder: Is a directory\n");
    EXPECT_EQ(fault("--plp 0=good.ts --output ./good.ts"), "zq-t2mi-mux: ./good.ts: is an input, too\n");
    EXPECT_EQ(fault("--plp 0=good.ts --output /dev/full"), "zq-t2mi-mux: /dev/full: No space left on device\n");
    EXPECT_EQ(contents("good.ts").size(), 1880U);
}

TEST_F(Mux, LeavesOutAnIncompletePacketAtTheEndAndSaysSo)
{
    const Bytes a = make_file("a.ts", 10, Bytes(100, 0x47));
    const auto result = run("--plp 0=a.ts --output out.ts");
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_THAT(result.text, HasSubstr("the last 100 bytes for PLP 0"));
    EXPECT_EQ(decapsulated_stream(contents("out.ts"), 0).transport_stream(), a);
}

TEST_F(Mux, TakesEmptyFiles)
{
    make_file("empty.ts", 0);
    EXPECT_EQ(run("--plp 0=empty.ts --output out.ts").exit_code, 0);
    EXPECT_TRUE(contents("out.ts").empty());
}

TEST_F(Mux, ShowsOnATerminalHowFarALongJobIsAndTidiesUp)
{
    make_file("in.ts", 1500);
    const auto at_terminal = [&](const std::string& options) {
        const std::string job =
            "(cat in.ts; sleep 1; cat in.ts) | \"" ZQ_T2MI_MUX "\" --plp 0=- --output out.ts" + options;
        return shell("script -qec '" + job + "' /dev/null").text;
    };
    const std::string shown = at_terminal("");
    EXPECT_THAT(shown, HasSubstr("\r0.")) << "megabytes done, of an input whose length is not known";
    EXPECT_THAT(shown, HasSubstr(" MB"));
    EXPECT_THAT(shown, HasSubstr("\r\033[K"));
    EXPECT_EQ(at_terminal(" --quiet"), "");
}

TEST_F(Mux, NeedsNoMoreMemoryForALongerInput)
{
    if (zqtest::address_sanitizer)
        GTEST_SKIP() << "the sanitizer reserves more address space than the limit allows";
    make_file("in.ts", 5000);
    const auto result = shell("i=0; while [ $i -lt 100 ]; do cat in.ts; i=$((i + 1)); done | "
                              "(ulimit -v 40000; exec '" ZQ_T2MI_MUX "' --plp 0=- --output /dev/null)");
    EXPECT_EQ(result.exit_code, 0) << "94 MB within 40 MB of address space";
    EXPECT_EQ(result.text, "");
}
} // namespace zq_t2mi_mux_test
