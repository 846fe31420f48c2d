// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/line_spooler.h"

#include "support/watchdog.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace line_spooler_test
{
using monitor::line_spooler;
using support::eventually;

std::string contents(const std::filesystem::path& file)
{
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

TEST(LineSpooler, AddsLinesToWhatStandsInAFile)
{
    const auto file = std::filesystem::path(testing::TempDir()) / "spooled";
    std::ofstream(file) << "before\n";
    {
        line_spooler spooler;
        ASSERT_TRUE(spooler.open(file));
        spooler.put_line("one");
        spooler.put_line("two");
    }
    EXPECT_EQ(contents(file), "before\none\ntwo\n");
    std::filesystem::remove(file);
}

TEST(LineSpooler, AFileThatCannotBeOpenedLeavesTheOneBefore)
{
    const auto file = std::filesystem::path(testing::TempDir()) / "spooled-still";
    {
        line_spooler spooler;
        ASSERT_TRUE(spooler.open(file));
        EXPECT_FALSE(spooler.open("/nowhere/file"));
        spooler.put_line("one");
    }
    EXPECT_EQ(contents(file), "one\n");
    std::filesystem::remove(file);
}

TEST(LineSpooler, ANamedPipeThatNobodyReadsIsNotWaitedFor)
{
    const support::watchdog watchdog;
    const auto file = std::filesystem::path(testing::TempDir()) / "spooled-pipe";
    std::filesystem::remove(file);
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    {
        line_spooler spooler;
        EXPECT_FALSE(spooler.open(file));
        EXPECT_EQ(errno, ENXIO);
        const int reader = open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        ASSERT_TRUE(spooler.open(file));
        spooler.put_line("one");
        EXPECT_TRUE(eventually([&] { return spooler.is_idle(); }));
        std::array<char, 8> bytes{};
        EXPECT_EQ(read(reader, bytes.data(), bytes.size()), 4);
        close(reader);
    }
    std::filesystem::remove(file);
}

TEST(LineSpooler, AFullDiskLosesLinesIsToldAndIsTriedAgain)
{
    line_spooler spooler;
    ASSERT_TRUE(spooler.open("/dev/full"));
    spooler.put_line("lost");
    EXPECT_TRUE(eventually([&] { return spooler.state().error == ENOSPC; }));
    EXPECT_EQ(spooler.state().lost, 1U);
    const auto file = std::filesystem::path(testing::TempDir()) / "spooled-later";
    ASSERT_TRUE(spooler.open(file));
    spooler.put_line("kept");
    EXPECT_TRUE(eventually([&] { return spooler.is_idle() && spooler.state().error == 0; }));
    EXPECT_EQ(contents(file), "kept\n");
    EXPECT_EQ(spooler.state().lost, 1U);
    std::filesystem::remove(file);
}

TEST(LineSpooler, AReaderThatStandsStillKeepsNobodyWaitingAndNoMemoryBeyondItsBound)
{
    support::watchdog watchdog;
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    {
        line_spooler spooler;
        spooler.use(ends[1]);
        const std::string line(1000, 'x');
        for (std::size_t size = 0; size < 3 * line_spooler::most_bytes; size += line.size())
            spooler.put_line(line);
        EXPECT_GT(spooler.state().lost, line_spooler::most_bytes / line.size() / 2);
        EXPECT_FALSE(spooler.is_idle());
        EXPECT_TRUE(eventually([&] { // full, in the middle of a line, with more behind it
            pollfd writing{ends[1], POLLOUT, 0};
            return poll(&writing, 1, 0) == 0;
        }));
    }
    close(ends[0]);
    close(ends[1]);
}

TEST(LineSpooler, OnlyLinesThatWereNotWrittenWholeAreLost)
{
    const support::watchdog watchdog;
    signal(SIGPIPE, SIG_IGN);
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    const int room = fcntl(ends[1], F_SETPIPE_SZ, 4096); // pages may be larger
    ASSERT_GE(room, 4096);
    constexpr unsigned line_size = 1000;
    const unsigned whole = static_cast<unsigned>(room) / line_size;
    line_spooler spooler;
    for (unsigned count = 0; count < whole + 7; ++count)
        spooler.put_line(std::string(line_size - 1, 'x'));
    spooler.use(ends[1]);
    EXPECT_TRUE(eventually([&] {
        pollfd writing{ends[1], POLLOUT, 0};
        return poll(&writing, 1, 0) == 0; // it is full
    }));
    close(ends[0]);
    EXPECT_TRUE(eventually([&] { return spooler.state().error == EPIPE; }));
    EXPECT_EQ(spooler.state().lost, 7U);
    close(ends[1]);
}

TEST(LineSpooler, AReaderThatWentAwayIsAnErrorAndNoSignal)
{
    signal(SIGPIPE, SIG_IGN);
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    close(ends[0]);
    line_spooler spooler;
    spooler.use(ends[1]);
    spooler.put_line("lost");
    EXPECT_TRUE(eventually([&] { return spooler.state().error == EPIPE; }));
    close(ends[1]);
}
} // namespace line_spooler_test
