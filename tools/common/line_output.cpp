// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/common/line_output.h"

#include <cerrno>

#include <unistd.h>

namespace tools
{
void line_output::put(std::string_view line)
{
    m_lines.append(line).push_back('\n');
    if (m_at_once || m_lines.size() >= block_size)
        flush();
}

void line_output::flush()
{
    std::string_view left = m_lines;
    while (!left.empty() && is_good()) {
        const ssize_t written = write(m_descriptor, left.data(), left.size());
        if (written >= 0)
            left.remove_prefix(static_cast<std::size_t>(written));
        else if (errno != EINTR)
            m_error = errno;
    }
    m_lines.clear();
}

bool line_output::is_broken_pipe() const { return m_error == EPIPE; }
} // namespace tools
