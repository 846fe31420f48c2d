// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "zq_net/nanoseconds.h"

#include <semaphore.h>
#include <time.h>

#include <cerrno>
#include <cstdint>

namespace zq_net
{
/// One thread waits for a time that another may end. It takes one system call; behind a wait on a condition variable
/// the C library makes a second one when it unlocks the mutex.
class wakeable_wait
{
public:
    wakeable_wait() { ::sem_init(&m_ended, 0, 0); }
    ~wakeable_wait() { ::sem_destroy(&m_ended); }
    wakeable_wait(const wakeable_wait&) = delete;
    wakeable_wait& operator=(const wakeable_wait&) = delete;

    /// Until steady_time() is `time`, in nanoseconds: false; true when end() was called, before or meanwhile. Each
    /// end() ends one wait.
    [[nodiscard]] bool until(std::uint64_t time)
    {
        const timespec limit{static_cast<time_t>(time / second), static_cast<long>(time % second)};
        for (;;) {
            if (::sem_clockwait(&m_ended, CLOCK_MONOTONIC, &limit) == 0)
                return true;
            if (errno != EINTR)
                return false;
        }
    }

    void end() { ::sem_post(&m_ended); }

private:
    sem_t m_ended{};
};
} // namespace zq_net
