// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <optional>
#include <string>
#include <vector>

namespace CLI
{
class App;
}

namespace tools
{
constexpr int exit_failed = 1;
constexpr int exit_wrong_arguments = 2;

/// What the arguments of a program come to.
enum class request
{
    run,
    print, ///< the text, with success: --help and --version
    refuse ///< for the reason in the text
};

/// Lets `app` read the arguments behind the program's name, to which --help and --version are added. Fills `text`
/// unless the result is `run`.
[[nodiscard]] request parse_arguments(CLI::App& app, const std::vector<std::string>& arguments,
                                      const std::string& version, std::string& text);

/// A program at its edges: what it says of itself and how it ends.
class program
{
public:
    explicit program(const char* name) : m_name(name) {}

    /// Says why on standard error; the result is `exit_code`.
    int fail(const std::string& reason, int exit_code = exit_failed) const;
    /// Does what is asked and tells the exit code; nothing for `run`.
    [[nodiscard]] std::optional<int> answer(request asked, const std::string& text) const;

private:
    const char* m_name;
};

/// From here on the first SIGINT and the first SIGTERM only ask to end, the next ends the process, and a reader that
/// went away is noticed when writing.
void take_signals();
[[nodiscard]] bool is_asked_to_end();
} // namespace tools
