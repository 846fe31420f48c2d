// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net_source/zq_net_statistics.h"

#include "zqsdk/ZQString.h"

#include <exception>

// The figures are independent of each other, so relaxed order is enough everywhere.
static constexpr auto relaxed = std::memory_order_relaxed;

zq_base_statistics::items zq_net_statistics::get_items() const
{
    std::string last_error;
    {
        const std::lock_guard lock{last_error_mutex_};
        last_error = last_error_;
    }
    return {
        {"System time", ZQSDK::toString("hhh:mm:ss.ccc", std::chrono::nanoseconds{system_time_ns_.load(relaxed)})},
        {"Data counter [byte]", std::to_string(data_counter_.load(relaxed))},
        {"Bit rate [bit/sec]", std::to_string(bit_rate_.load(relaxed))},
        {"Last error", std::move(last_error)},
    };
}

void zq_net_statistics::reset()
{
    data_counter_.store(0, relaxed);
    bit_rate_.store(0, relaxed);
}

void zq_net_statistics::set_system_time(std::chrono::nanoseconds since_start)
{
    system_time_ns_.store(since_start.count(), relaxed);
}

void zq_net_statistics::add_data(std::uint64_t bytes) { data_counter_.fetch_add(bytes, relaxed); }

void zq_net_statistics::set_bit_rate(std::uint64_t bits_per_second) { bit_rate_.store(bits_per_second, relaxed); }

void zq_net_statistics::set_last_error(std::string text)
{
    const std::lock_guard lock{last_error_mutex_};
    last_error_ = std::move(text);
}

void zq_net_statistics::note_exception() noexcept
{
    try {
        try {
            throw;
        } catch (const std::exception& error) {
            set_last_error(error.what());
        } catch (...) {
            set_last_error("unknown exception");
        }
    } catch (...) { // no memory even for the text
        return;
    }
}
