// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/common/progress_bar.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include <unistd.h>

namespace tools
{
using namespace std::chrono_literals;

progress_bar::progress_bar(std::uint64_t total, bool wanted)
    : m_total(total), m_wanted(wanted && isatty(STDERR_FILENO) != 0), m_next_draw(clock::now() + 500ms)
{}

progress_bar::~progress_bar() { hide(); }

void progress_bar::hide()
{
    if (m_drawn)
        std::fputs("\r\033[K", stderr);
    m_drawn = false;
}

void progress_bar::show(std::uint64_t done)
{
    if (!m_wanted || clock::now() < m_next_draw)
        return;
    m_next_draw = clock::now() + 100ms;
    m_drawn = true;
    const auto megabytes = static_cast<double>(done) / 1e6;
    if (m_total == 0) {
        std::fprintf(stderr, "\r%.1f MB", megabytes);
        return;
    }
    constexpr std::size_t width = 40;
    const double share = std::min(1.0, static_cast<double>(done) / static_cast<double>(m_total));
    std::string bar(width, '.');
    std::fill_n(bar.begin(), static_cast<std::size_t>(share * width), '#');
    std::fprintf(stderr, "\r[%s] %3d%%  %.1f MB", bar.c_str(), static_cast<int>(share * 100), megabytes);
}
} // namespace tools
