// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/udp_sender.h"
#include "support/watchdog.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <iterator>
#include <string>
#include <vector>

#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace zq_monitor_terminal_test
{
using testing::HasSubstr;
using testing::Not;

/// The program on a terminal of its own.
class on_terminal
{
public:
    explicit on_terminal(unsigned short columns = 80, unsigned short rows = 10, const char* kind = "xterm",
                         const std::vector<std::string>& more = {})
    {
        winsize size{};
        size.ws_col = columns;
        size.ws_row = rows;
        const std::string first = "News=udp://127.0.0.1:" + std::to_string(support::free_port());
        const std::string second = "Sport=udp://192.0.2.1:5000";
        m_child = forkpty(&m_terminal, nullptr, nullptr, &size);
        if (m_child != 0)
            return;
        std::signal(SIGINT, SIG_DFL); // a shell ignores it for what it runs in the background
        setenv("TERM", kind, 1);
        setenv("NO_COLOR", "1", 1);
        std::vector<const char*> arguments{ZQ_MONITOR_TOOL, first.c_str(), second.c_str()};
        for (const auto& argument : more)
            arguments.push_back(argument.c_str());
        arguments.push_back(nullptr);
        execv(ZQ_MONITOR_TOOL, const_cast<char* const*>(arguments.data()));
        _exit(127);
    }
    ~on_terminal()
    {
        close(m_terminal);
        if (m_child > 0)
            (void)exit_code();
    }
    on_terminal(const on_terminal&) = delete;
    on_terminal& operator=(const on_terminal&) = delete;

    void press(const std::string& keys) const { (void)!write(m_terminal, keys.data(), keys.size()); }
    /// Reads up to where `text` stands; false when it never comes.
    bool shows(const std::string& text)
    {
        return support::eventually([&] {
            read_some();
            return m_shown.find(text) != std::string::npos;
        });
    }
    void forget() { m_shown.clear(); }
    /// As the terminal is set now.
    [[nodiscard]] termios settings() const
    {
        termios now{};
        EXPECT_EQ(tcgetattr(m_terminal, &now), 0);
        return now;
    }
    int exit_code()
    {
        int status = 0;
        waitpid(m_child, &status, 0);
        m_child = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    /// By its key; it gives the terminal back. The exit code.
    int quit()
    {
        press("q");
        EXPECT_TRUE(shows("\033[?25h\033[?1049l"));
        return exit_code();
    }
    [[nodiscard]] const std::string& shown() const { return m_shown; }

private:
    void read_some()
    {
        pollfd waited{m_terminal, POLLIN, 0};
        std::array<char, 4096> part;
        while (poll(&waited, 1, 0) > 0) {
            const ssize_t got = read(m_terminal, part.data(), part.size());
            if (got <= 0)
                return;
            m_shown.append(part.data(), static_cast<std::size_t>(got));
        }
    }

    int m_terminal = -1;
    pid_t m_child = -1;
    std::string m_shown;
};

TEST(MonitorTerminal, DrawsTheTableInPlaceAndGivesTheTerminalBack)
{
    const support::watchdog watchdog;
    on_terminal program;
    EXPECT_TRUE(program.shows("> News     silent"));
    EXPECT_TRUE(program.shows("  Sport    closed"));
    EXPECT_THAT(program.shown(), testing::StartsWith("\033[?1049h\033[?25l"));
    EXPECT_EQ(program.quit(), 0);
}

TEST(MonitorTerminal, ArrowsChooseAStreamAndEnterShowsIt)
{
    const support::watchdog watchdog;
    on_terminal program;
    ASSERT_TRUE(program.shows("> News"));
    program.press("\033[B");
    EXPECT_TRUE(program.shows("> Sport"));
    program.press("\r");
    EXPECT_TRUE(program.shows("Sport: closed"));
    EXPECT_TRUE(program.shows("udp://192.0.2.1:5000"));
    program.forget();
    program.press("\033[D");
    EXPECT_TRUE(program.shows("> Sport"));
    EXPECT_EQ(program.quit(), 0);
}

TEST(MonitorTerminal, KeysAreReadOneByOneAndTheRestStaysAsItWas)
{
    const support::watchdog watchdog;
    on_terminal program;
    const termios before = program.settings();
    ASSERT_TRUE(program.shows("> News"));
    const termios drawn = program.settings();
    EXPECT_EQ(drawn.c_lflag, before.c_lflag & ~static_cast<tcflag_t>(ICANON | ECHO));
    EXPECT_EQ(drawn.c_iflag, before.c_iflag);
    EXPECT_EQ(drawn.c_oflag, before.c_oflag);
    EXPECT_EQ(drawn.c_cc[VINTR], before.c_cc[VINTR]);
    EXPECT_EQ(drawn.c_cc[VSUSP], _POSIX_VDISABLE);
    program.press("q");
    ASSERT_TRUE(program.shows("\033[?1049l"));
    EXPECT_EQ(program.exit_code(), 0);
    const termios after = program.settings();
    EXPECT_EQ(after.c_lflag, before.c_lflag);
    EXPECT_TRUE(std::equal(std::begin(after.c_cc), std::end(after.c_cc), std::begin(before.c_cc)));
}

TEST(MonitorTerminal, TheKeyForInterruptsEndsTheProgram)
{
    const support::watchdog watchdog;
    on_terminal program;
    ASSERT_TRUE(program.shows("> News"));
    program.press("\003");
    EXPECT_TRUE(program.shows("\033[?25h\033[?1049l"));
    EXPECT_EQ(program.exit_code(), 0);
}

TEST(MonitorTerminal, IsNotLeftAsItIsByAnyKey)
{
    const support::watchdog watchdog;
    on_terminal program;
    ASSERT_TRUE(program.shows("> News"));
    program.press("\x1A\x1C"); // to stop, to abort
    program.forget();
    EXPECT_TRUE(program.shows("> News"));
    EXPECT_EQ(program.quit(), 0);
}

TEST(MonitorTerminal, TwentyColumnsAreEnough)
{
    const support::watchdog watchdog;
    on_terminal program(20, 4);
    EXPECT_TRUE(program.shows("> News     silent   \033[K"));
    EXPECT_EQ(program.quit(), 0);
}

TEST(MonitorTerminal, OneThatCannotMoveItsCursorGetsLines)
{
    const support::watchdog watchdog;
    on_terminal program(80, 10, "dumb");
    EXPECT_TRUE(program.shows(" News silent 0 bit/s"));
    EXPECT_THAT(program.shown(), Not(HasSubstr("\033")));
}

TEST(MonitorTerminal, OneThatGoesAwayEndsTheProgram)
{
    const support::watchdog watchdog;
    on_terminal program;
    ASSERT_TRUE(program.shows("> News"));
}
} // namespace zq_monitor_terminal_test
