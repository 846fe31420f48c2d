// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "tools/monitor/line_spooler.h"
#include "tools/monitor/terminal_view.h"

#include <string>
#include <vector>

#include <termios.h>

namespace monitor
{
/// The terminal, taken over while this lives. What is drawn goes out from a thread of its own: a terminal that is held
/// misses pictures, and nothing else.
class terminal_screen
{
public:
    /// Whether there is one that can be drawn on.
    [[nodiscard]] static bool is_there();

    terminal_screen();
    ~terminal_screen();
    terminal_screen(const terminal_screen&) = delete;
    terminal_screen& operator=(const terminal_screen&) = delete;

    void draw(const survey& all);
    /// Shows a message with every picture until a key is pressed.
    void tell(const std::string& text) { m_view.message = text; }
    /// Whether nothing can be drawn any more, because the terminal was closed.
    [[nodiscard]] bool is_gone() const { return m_output.state().error != 0; }
    /// Whether there are keys to wait for on standard input.
    [[nodiscard]] bool has_keys() const { return m_has_keys; }
    /// Takes the keys that were pressed. False when one of them ends the program.
    [[nodiscard]] bool take_keys(std::size_t streams);

private:
    termios m_before{}; ///< before m_has_keys, which is found out by filling it
    bool m_has_keys;
    terminal_view m_view;
    line_spooler m_output;
};
} // namespace monitor
