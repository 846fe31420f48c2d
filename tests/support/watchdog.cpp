// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/watchdog.h"

#include <cstdio>
#include <cstdlib>

namespace support
{
watchdog::watchdog(std::chrono::seconds limit)
    : thread_{[this, limit] {
          std::unique_lock lock{mutex_};
          if (changed_.wait_for(lock, limit, [this] { return done_; }))
              return;
          std::fputs("watchdog: hung\n", stderr);
          std::abort();
      }}
{}

watchdog::~watchdog()
{
    {
        const std::lock_guard lock{mutex_};
        done_ = true;
    }
    changed_.notify_all();
    thread_.join();
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
