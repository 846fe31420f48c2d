// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/common/program.h"

#include "support/watchdog.h"
#include "tools/common/line_output.h"

#include <gtest/gtest.h>

#include <csignal>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace program_test
{
TEST(TakeSignals, LetsTheSecondOneEndAProgramWhoseReaderStalls)
{
    int pipe[2];
    ASSERT_EQ(::pipe(pipe), 0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        tools::take_signals();
        tools::line_output output{pipe[1], true};
        while (!tools::is_asked_to_end())
            output.put("8 bytes"); // with the end of the line, so that they fill the pipe
        ::_exit(0);
    }
    const int capacity = ::fcntl(pipe[1], F_GETPIPE_SZ);
    const bool filled = support::eventually([&] {
        int waiting = 0;
        return ::ioctl(pipe[0], FIONREAD, &waiting) == 0 && waiting == capacity;
    });
    EXPECT_TRUE(filled);
    int status = 0;
    // The first may take its time to arrive, and two that wait are one.
    const bool ended = support::eventually(
        [&] {
            ::kill(child, SIGTERM);
            return ::waitpid(child, &status, WNOHANG) == child;
        },
        std::chrono::seconds{10});
    EXPECT_TRUE(ended);
    if (!ended) {
        ::kill(child, SIGKILL);
        ::waitpid(child, &status, 0);
    }
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM) << status;
    ::close(pipe[0]);
    ::close(pipe[1]);
}
} // namespace program_test
