// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/terminal_screen.h"

#include <array>
#include <cstdlib>
#include <string_view>
#include <utility>

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace monitor
{
namespace
{
constexpr std::array<std::pair<std::string_view, std::string_view>, 17> keys{{
    {"\033[A", "up"},
    {"\033[B", "down"},
    {"\033[5~", "page up"},
    {"\033[6~", "page down"},
    {"\033OA", "up"},
    {"\033OB", "down"},
    {"\033[C", "enter"},
    {"\033[D", "back"},
    {"\033OC", "enter"},
    {"\033OD", "back"},
    {"\r", "enter"},
    {"\n", "enter"},
    {"k", "up"},
    {"j", "down"},
    {"q", "quit"},
    {"\x7F", "back"},
    {"\033", "back"},
}};
} // namespace

bool terminal_screen::is_there()
{
    const char* const kind = std::getenv("TERM");
    return isatty(STDOUT_FILENO) != 0 && kind != nullptr && std::string_view(kind) != "dumb";
}

terminal_screen::terminal_screen() : m_has_keys(isatty(STDIN_FILENO) != 0 && tcgetattr(STDIN_FILENO, &m_before) == 0)
{
    if (m_has_keys) {
        termios raw = m_before;
        raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
        // Stopped or aborted, the program would leave the terminal to the shell as it is now.
        raw.c_cc[VSUSP] = raw.c_cc[VQUIT] = _POSIX_VDISABLE;
        tcsetattr(STDIN_FILENO, TCSANOW, &raw);
    }
    m_view.colour = std::getenv("NO_COLOR") == nullptr;
    m_output.use(STDOUT_FILENO);
    m_output.put("\033[?1049h\033[?25l");
}

terminal_screen::~terminal_screen()
{
    m_output.put("\033[?25h\033[?1049l");
    if (m_has_keys)
        tcsetattr(STDIN_FILENO, TCSANOW, &m_before);
}

void terminal_screen::draw(const survey& all)
{
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 && size.ws_row > 0) {
        m_view.columns = size.ws_col;
        m_view.rows = size.ws_row;
    }
    if (!m_output.is_idle())
        return;
    std::string picture = "\033[H";
    const auto lines = m_view.lines(all);
    for (const auto& line : lines)
        picture += (&line == &lines.front() ? "" : "\r\n") + line + "\033[K";
    m_output.put(picture + "\033[J");
}

bool terminal_screen::take_keys(std::size_t streams)
{
    pollfd waited{STDIN_FILENO, POLLIN, 0};
    std::array<char, 64> bytes{};
    if (!m_has_keys || poll(&waited, 1, 0) <= 0)
        return true;
    const ssize_t got = read(STDIN_FILENO, bytes.data(), bytes.size());
    if (got <= 0) {
        m_has_keys = false;
        return true;
    }
    std::string_view pressed(bytes.data(), static_cast<std::size_t>(got));
    while (!pressed.empty()) {
        std::size_t length = 1;
        for (const auto& [sequence, key] : keys) {
            if (pressed.substr(0, sequence.size()) != sequence)
                continue;
            if (key == "quit")
                return false;
            m_view.press(key, streams);
            length = sequence.size();
            break;
        }
        pressed.remove_prefix(length);
    }
    return true;
}
} // namespace monitor
