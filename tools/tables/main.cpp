// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/common/line_output.h"
#include "tools/common/packet_finder.h"
#include "tools/common/progress_bar.h"
#include "tools/common/stream_input.h"
#include "tools/tables/command_line.h"
#include "tools/tables/section_line.h"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>

#include <unistd.h>

namespace
{
constexpr int exit_failed = 1;
constexpr int exit_wrong_arguments = 2;

volatile std::sig_atomic_t asked_to_end = 0;

void ask_to_end(int /*signal*/) { asked_to_end = 1; }

/// An interrupted stream is shown up to there; a reader that went away is noticed when writing.
void set_signals()
{
    struct sigaction action = {};
    action.sa_handler = ask_to_end;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    action.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &action, nullptr);
}

int fail(const std::string& reason, int exit_code = exit_failed)
{
    std::fprintf(stderr, "zq-tables: %s\n", reason.c_str());
    return exit_code;
}

/// One stream from its input to the lines about it.
class run
{
public:
    explicit run(const tables::options& options)
        : m_options(options), m_listener([this](const tables::heard_section& section) { take(section); })
    {
        for (const auto PID : options.filter.PIDs)
            m_listener.listen(PID);
    }

    int to_end()
    {
        if (!m_input.open(m_options.input, m_options.interface))
            return fail(m_input.fault());
        m_output.emplace(STDOUT_FILENO, m_input.is_live() || m_at_terminal);
        m_progress.emplace(m_input.total(), !m_options.quiet && !m_input.is_live());
        const bool read = read_stream();
        m_progress.reset();
        m_output->flush();
        if (m_output->is_broken_pipe())
            return 0;
        if (!m_output->is_good())
            return fail(std::string("standard output: ") + std::strerror(m_output->error()));
        if (!read)
            return fail(m_input.fault());
        if (m_listener.packets() == 0 && asked_to_end == 0)
            return fail(m_options.input + ": no transport packets found");
        return 0;
    }

private:
    using result = tools::stream_input::result;

    /// Up to the end, or until nobody wants it any more. False when the input failed.
    [[nodiscard]] bool read_stream()
    {
        tools::packet_finder finder;
        const auto take_packet = [this](const unsigned char* packet) { m_listener.put(packet); };
        std::uint64_t done = 0;
        for (auto got = result::nothing; asked_to_end == 0 && m_output->is_good() && got != result::end;) {
            got = m_input.next();
            if (got == result::failed)
                return false;
            finder.put(m_input.data(), m_input.size(), take_packet);
            m_progress->show(done += m_input.size());
        }
        finder.finish(take_packet);
        return true;
    }

    void take(const tables::heard_section& section)
    {
        if (!m_options.filter.wants(section.PID, section.data[0]))
            return;
        if (m_at_terminal)
            m_progress->hide();
        m_output->put(tables::section_line(section));
    }

    const tables::options& m_options;
    const bool m_at_terminal = isatty(STDOUT_FILENO) != 0;
    tools::stream_input m_input;
    std::optional<tools::line_output> m_output;
    std::optional<tools::progress_bar> m_progress;
    tables::section_listener m_listener;
};
} // namespace

int main(int argc, char** argv)
{
    tables::options options;
    std::string text;
    switch (tables::parse_command_line({argv + 1, argv + argc}, ZQ_VERSION, options, text)) {
    case tables::request::print:
        return std::fputs(text.c_str(), stdout) < 0 || std::fflush(stdout) != 0 ? exit_failed : 0;
    case tables::request::refuse:
        return fail(text + "; --help lists all options", exit_wrong_arguments);
    case tables::request::run:
        break;
    }
    set_signals();
    return run(options).to_end();
}
