// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/common/program.h"

#include <CLI/CLI.hpp>

#include <atomic>
#include <csignal>
#include <cstdio>

namespace tools
{
namespace
{
// Any thread may be the one that a signal interrupts.
std::atomic<bool> asked_to_end{false};
static_assert(std::atomic<bool>::is_always_lock_free);

void ask_to_end(int /*signal*/) { asked_to_end = true; }
} // namespace

request parse_arguments(CLI::App& app, const std::vector<std::string>& arguments, const std::string& version,
                        std::string& text)
{
    app.set_help_flag("-h,--help", "prints this text");
    app.set_version_flag("--version", app.get_name() + " " + version, "prints the version");
    try {
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::CallForHelp&) {
        text = app.help();
        return request::print;
    } catch (const CLI::CallForVersion& call) {
        text = std::string(call.what()) + '\n';
        return request::print;
    } catch (const CLI::ParseError& error) {
        text = error.what();
        return request::refuse;
    }
    return request::run;
}

int program::fail(const std::string& reason, int exit_code) const
{
    std::fprintf(stderr, "%s: %s\n", m_name, reason.c_str());
    return exit_code;
}

std::optional<int> program::answer(request asked, const std::string& text) const
{
    switch (asked) {
    case request::print:
        return std::fputs(text.c_str(), stdout) < 0 || std::fflush(stdout) != 0 ? exit_failed : 0;
    case request::refuse:
        return fail(text + "; --help lists all options", exit_wrong_arguments);
    case request::run:
        break;
    }
    return std::nullopt;
}

void take_signals()
{
    struct sigaction action = {};
    action.sa_handler = ask_to_end;
    // The second one ends a program that cannot end by itself, because nobody reads its output.
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    action.sa_handler = SIG_IGN;
    action.sa_flags = 0;
    sigaction(SIGPIPE, &action, nullptr);
}

bool is_asked_to_end() { return asked_to_end; }
} // namespace tools
