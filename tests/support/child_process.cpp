// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/child_process.h"

#include <cerrno>
#include <fstream>
#include <iterator>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace support
{
namespace
{
int opened(const std::filesystem::path& file) { return ::open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644); }

std::string contents(const std::filesystem::path& file)
{
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}
} // namespace

child_process::child_process(const std::filesystem::path& folder, const std::string& name,
                             std::vector<std::string> words, const descriptors& given)
    : m_output(folder / (name + ".output")), m_errors(folder / (name + ".errors"))
{
    std::vector<char*> arguments;
    for (auto& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    m_child = ::fork();
    if (m_child < 0)
        throw std::system_error(errno, std::generic_category(), "fork");
    if (m_child != 0) {
        ::setpgid(m_child, m_child);
        return;
    }
    ::setpgid(0, 0);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::dup2(::open("/dev/null", O_RDONLY), STDIN_FILENO);
    ::dup2(opened(m_output), STDOUT_FILENO);
    ::dup2(opened(m_errors), STDERR_FILENO);
    for (const auto& [ours, its] : given)
        ::dup2(ours, its);
    if (::chdir(folder.c_str()) == 0)
        ::execvp(arguments[0], arguments.data());
    ::_exit(127);
}

child_process::~child_process()
{
    if (m_child > 0)
        (void)end(SIGKILL);
}

int child_process::end(int signal, std::chrono::milliseconds limit)
{
    if (m_child == 0)
        return -1;
    ::kill(m_child, signal);
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (is_alive() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds{1});
    int status = 0;
    ::kill(m_child, SIGKILL);
    ::waitpid(m_child, &status, 0);
    ::kill(-m_child, SIGKILL); // what it began itself and left behind
    m_child = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool child_process::is_alive() const
{
    siginfo_t ended{};
    return ::waitid(P_PID, static_cast<id_t>(m_child), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 && ended.si_pid == 0;
}

std::string child_process::output() const { return contents(m_output); }

std::string child_process::errors() const { return contents(m_errors); }
} // namespace support
