// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/watchdog.h"

#include <cstdio>
#include <cstdlib>

namespace support
{
watchdog::watchdog(std::chrono::seconds limit)
    : m_thread{[this, limit] {
          std::unique_lock lock{m_mutex};
          if (m_changed.wait_for(lock, limit, [this] { return m_done; }))
              return;
          std::fputs("watchdog: hung\n", stderr);
          std::abort();
      }}
{}

watchdog::~watchdog()
{
    {
        const std::lock_guard lock{m_mutex};
        m_done = true;
    }
    m_changed.notify_all();
    m_thread.join();
}

bool eventually(const std::function<bool()>& reached, std::chrono::seconds limit)
{
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!reached()) {
        if (std::chrono::steady_clock::now() > deadline)
            return reached();
        std::this_thread::sleep_for(std::chrono::milliseconds{2});
    }
    return true;
}
} // namespace support
