// SPDX-License-Identifier: LGPL-2.1-or-later
#include "outside.h"
#include "support/child_process.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <regex>
#include <sstream>

namespace terminal_in_tmux_test
{
using support::eventually;

/// The demo in a terminal that tmux makes.
class TerminalInTmux : public monitor_outside::Outside
{
protected:
    TerminalInTmux() : Outside("tmux") {}

    void SetUp() override
    {
        Outside::SetUp();
        if (IsSkipped() || HasFailure())
            return;
        // It begins programs by the user's shell, which may be one that refuses to.
        m_server = std::make_unique<support::child_process>(
            folder, "tmux",
            std::vector<std::string>{"env", "SHELL=/bin/sh", "tmux", "-u", "-S", "socket", "-f", "/dev/null", "-D"});
        ASSERT_TRUE(eventually([this] { return tmux("show-options -s").exit_code == 0; })) << m_server->errors();
    }

    [[nodiscard]] Result tmux(const std::string& words) const { return shell("tmux -u -N -S socket " + words); }

    /// Begins the program behind a line of a shell, which goes on after it.
    void begin(unsigned columns, unsigned rows) const
    {
        std::ofstream(folder / "begin") << "trap : INT\necho before\n'" ZQ_MONITOR_TOOL
                                           "' --demo\necho \"ended with $?\"\nexec cat\n";
        const auto begun =
            tmux("new-session -d -x " + std::to_string(columns) + " -y " + std::to_string(rows) + " 'exec sh begin'");
        ASSERT_EQ(begun.exit_code, 0) << begun.text;
    }
    void press(const std::string& key) const { ASSERT_EQ(tmux("send-keys " + key).exit_code, 0); }

    /// Waits for a screen of these lines; "#" in them stands for any number, "@" for the state of a stream that
    /// something comes for, and a line that ends in "..." for all that begin so.
    [[nodiscard]] bool shows(const std::vector<std::string>& lines)
    {
        return eventually_fits(lines, [](std::size_t shown, std::size_t wanted) { return shown == wanted; });
    }
    /// The same for the first lines of a screen.
    [[nodiscard]] bool begins_with(const std::vector<std::string>& lines)
    {
        return eventually_fits(lines, std::greater_equal<>());
    }
    /// The lines of the last screen, without blanks at their ends and empty lines below.
    [[nodiscard]] std::vector<std::string> screen() const
    {
        std::istringstream text(tmux("capture-pane -p").text);
        std::vector<std::string> lines;
        for (std::string line; std::getline(text, line);)
            lines.push_back(line.erase(line.find_last_not_of(' ') + 1));
        while (!lines.empty() && lines.back().empty())
            lines.pop_back();
        return lines;
    }

    const std::vector<std::string> after{"before", "ended with 0"};

private:
    template <class Fits>
    bool eventually_fits(const std::vector<std::string>& lines, Fits has_size)
    {
        const auto fits = [&] {
            m_screen = screen();
            bool all = has_size(m_screen.size(), lines.size());
            for (std::size_t at = 0; all && at < lines.size(); ++at)
                all = std::regex_match(m_screen[at], std::regex(pattern_of(lines[at])));
            return all;
        };
        if (eventually(fits, std::chrono::seconds{60}))
            return true;
        for (const auto& line : m_screen)
            std::fprintf(stderr, "|%s|\n", line.c_str());
        return false;
    }

    static std::string pattern_of(const std::string& line)
    {
        const std::string quoted = std::regex_replace(line, std::regex("[.^$|()\\[\\]{}*+?\\\\]"), "\\$&");
        const std::string numbers = std::regex_replace(quoted, std::regex("#"), "[0-9.]+");
        const std::string states = std::regex_replace(numbers, std::regex("@"), "(good|bad|warning)");
        return std::regex_replace(std::regex_replace(states, std::regex(" +"), " +"),
                                  std::regex("\\\\\\.\\\\\\.\\\\\\.$"), ".*");
    }

    std::unique_ptr<support::child_process> m_server;
    std::vector<std::string> m_screen;
};

TEST_F(TerminalInTmux, ShowsAllStreamsAndOneAndGivesTheScreenBack)
{
    begin(90, 12);
    const std::vector<std::string> list{"6 streams, ...",
                                        "  STREAM STATE BIT RATE LOST P1 P2 FIRST SERVICE",
                                        "  News @ # Mbit/s # # # News 24",
                                        "> Sport, lossy RTP @ # Mbit/s # # # Sport One",
                                        "  Film, PMT pauses @ # Mbit/s # # # Film & Series",
                                        "  Music, damaged @ # Mbit/s # # # Music <live>",
                                        "  Night, silent silent # bit/s # # #",
                                        "  Distribution, T2-MI @ # Mbit/s # # #"};
    ASSERT_TRUE(eventually([this] { return screen().size() == 8; }));
    press("Down");
    EXPECT_TRUE(shows(list));
    press("Enter");
    EXPECT_TRUE(begins_with({"Sport, lossy RTP: @", "udp://127.0.0.1:#",
                             "# Mbit/s, # datagrams, # lost, # dropped by the kernel, 1 senders",
                             "last datagram # s ago, transport stream 1, # % null packets, 0 scrambled",
                             "inter-arrival ms: mean #, p99 #, max #, ever #", "MDI DF:MLR #:#, # lost in # s"}));
    press("Left");
    EXPECT_TRUE(shows(list));
    press("q");
    EXPECT_TRUE(shows(after));
}

TEST_F(TerminalInTmux, TwentyColumnsAreEnoughAlsoWhenItBecomesSoSmall)
{
    begin(90, 12);
    ASSERT_TRUE(eventually([this] { return screen().size() == 8; }));
    ASSERT_EQ(tmux("resize-window -x 20 -y 6").exit_code, 0);
    EXPECT_TRUE(shows({"6 streams, ...", "  STREAM     STATE", "> News       @", "  Sport, los @", "  Film, PMT  @",
                       "  Music, dam @"}));
    for (const auto& line : screen())
        EXPECT_LE(line.size(), 20U) << line;
    press("C-c");
    EXPECT_TRUE(eventually([this] { return screen() == after; }, std::chrono::seconds{60}));
}
TEST_F(TerminalInTmux, TwentyColumnsShowAllOfOneStreamToo)
{
    begin(20, 24);
    ASSERT_TRUE(eventually([this] { return screen().size() == 8; }));
    for (int count = 0; count < 5; ++count)
        press("Down");
    press("Enter");
    // As one text: where its lines are broken depends on the figures.
    std::string text;
    const auto tells = [&](const std::string& pattern) {
        text.clear();
        for (const auto& line : screen()) {
            EXPECT_LE(line.size(), 20U) << line;
            text += line.substr(std::min(line.find_first_not_of(' '), line.size())) + ' ';
        }
        return std::regex_search(text, std::regex(pattern));
    };
    const std::string beginning =
        "^Distribution, T2-MI: (good|bad|warning) udp://127\\.0\\.0\\.1:[0-9 ]+ [0-9.]+ Mbit/s, [0-9]+ datagrams, .* "
        "last datagram [0-9.]+ s ago, transport stream [0-9]+, [0-9.]+ % null packets, 0 scrambled inter-arrival ms: "
        ".* MDI DF:MLR [0-9.]+:[0-9]+, ";
    EXPECT_TRUE(eventually([&] { return tells(beginning); }, std::chrono::seconds{60})) << text;
    const auto scrolls_to = [&](const std::string& pattern) {
        const auto scrolls = [&] {
            press("Down");
            return tells(pattern);
        };
        return eventually(scrolls, std::chrono::seconds{60});
    };
    EXPECT_TRUE(scrolls_to("PLP 0: [0-9]+ frames, [0-9]+ packets, 0 header errors, [0-9]+-QAM [0-9]/[0-9] ")) << text;
    EXPECT_TRUE(scrolls_to(" PMT of program [0-9]+ on PID [0-9]+: version [0-9]+, 0 changes ")) << text;
    press("q");
    EXPECT_TRUE(shows(after));
}
} // namespace terminal_in_tmux_test
