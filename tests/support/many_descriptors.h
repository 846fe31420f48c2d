// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/select.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

namespace support
{
/// Holds so many file descriptors that the next ones lie beyond what select() can watch.
class many_descriptors
{
public:
    many_descriptors()
    {
        ::getrlimit(RLIMIT_NOFILE, &m_before);
        rlimit limit = m_before;
        limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, 2048);
        ::setrlimit(RLIMIT_NOFILE, &limit);
        while (m_held.size() < FD_SETSIZE + 76)
            m_held.push_back(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    }
    ~many_descriptors()
    {
        for (const int descriptor : m_held)
            ::close(descriptor);
        ::setrlimit(RLIMIT_NOFILE, &m_before);
    }
    many_descriptors(const many_descriptors&) = delete;
    many_descriptors& operator=(const many_descriptors&) = delete;

    /// False where the machine does not allow that many.
    bool reach_beyond_select() const { return *std::max_element(m_held.begin(), m_held.end()) >= FD_SETSIZE; }

private:
    rlimit m_before{};
    std::vector<int> m_held;
};
} // namespace support
