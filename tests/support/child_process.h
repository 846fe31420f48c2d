// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <sys/types.h>

namespace support
{
/// A program that runs in `folder`, in a process group of its own, and is killed with all of that group at the end of
/// this object, or of the test, however it ends. What it writes goes into the files "NAME.output" and "NAME.errors"
/// there.
class child_process
{
public:
    /// First this process' descriptor, then the number that it has in the program.
    using descriptors = std::vector<std::pair<int, int>>;

    /// `words` begin with the program, which is looked for as the shell does.
    child_process(const std::filesystem::path& folder, const std::string& name, std::vector<std::string> words,
                  const descriptors& given = {});
    ~child_process();
    child_process(const child_process&) = delete;
    child_process& operator=(const child_process&) = delete;

    /// Sends the signal and waits, until `limit` at most, behind which it is killed. The exit code, or -1 when a signal
    /// ended it and when it has been ended before.
    int end(int signal = SIGTERM, std::chrono::milliseconds limit = std::chrono::seconds{60});
    void signal(int number) const
    {
        if (m_child > 0)
            ::kill(m_child, number);
    }
    [[nodiscard]] bool is_alive() const;
    [[nodiscard]] std::string output() const;
    [[nodiscard]] std::string errors() const;

private:
    std::filesystem::path m_output;
    std::filesystem::path m_errors;
    pid_t m_child;
};
} // namespace support
