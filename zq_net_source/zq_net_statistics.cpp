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
        const std::lock_guard lock{m_last_error_mutex};
        last_error = m_last_error;
    }
    return {
        {"System time", ZQSDK::toString("hhh:mm:ss.ccc", std::chrono::nanoseconds{m_system_time_ns.load(relaxed)})},
        {"Data counter [byte]", std::to_string(m_data_counter.load(relaxed))},
        {"Bit rate [bit/sec]", std::to_string(m_bit_rate.load(relaxed))},
        {"Last error", std::move(last_error)},
    };
}

void zq_net_statistics::reset()
{
    m_data_counter.store(0, relaxed);
    m_bit_rate.store(0, relaxed);
}

void zq_net_statistics::set_system_time(std::chrono::nanoseconds since_start)
{
    m_system_time_ns.store(since_start.count(), relaxed);
}

void zq_net_statistics::add_data(std::uint64_t bytes) { m_data_counter.fetch_add(bytes, relaxed); }

void zq_net_statistics::set_bit_rate(std::uint64_t bits_per_second) { m_bit_rate.store(bits_per_second, relaxed); }

void zq_net_statistics::set_last_error(std::string text)
{
    const std::lock_guard lock{m_last_error_mutex};
    m_last_error = std::move(text);
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
