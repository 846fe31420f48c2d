// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>

namespace support
{
/// What Linux says of a thread: its name, and the seventh field behind it, the kernel's flags.
struct thread_stat
{
    explicit thread_stat(const std::filesystem::path& task)
    {
        std::ifstream file{task / "stat"};
        std::getline(file.ignore(std::numeric_limits<std::streamsize>::max(), '('), name, ')');
        std::string skipped;
        for (int field = 1; field < 7; ++field)
            file >> skipped;
        file >> flags;
    }
    /// PF_EXITING of the kernel's sched.h: set before a join returns, while the thread is listed a moment longer.
    bool exiting() const { return (flags & 4) != 0; }

    std::string name;
    unsigned flags = 0;
};

/// Threads of a process that receive for an element.
inline int receive_threads(const std::string& process = "self")
{
    int count = 0;
    std::error_code process_gone;
    for (const auto& task : std::filesystem::directory_iterator{"/proc/" + process + "/task", process_gone}) {
        const thread_stat thread{task.path()};
        count += thread.name == "zqnetsource" && !thread.exiting() ? 1 : 0;
    }
    return count;
}
} // namespace support
