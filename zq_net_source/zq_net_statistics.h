// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

/// What the "statistics" property of `zqnetsource` points at. An application needs this header only, no library:
/// it reads the figures through the virtual get_items().
class zq_base_statistics
{
public:
    using items = std::vector<std::pair<std::string, std::string>>;

    virtual ~zq_base_statistics() = default;

    /// Name and value of every figure, as text for display. Callable from any thread.
    virtual items get_items() const = 0;
};

/// Live figures about the network input of one element. The object belongs to the element and lives as long as it;
/// the receive thread writes, any thread reads. A reader may see one figure from before and another from after an
/// update.
class zq_net_statistics : public zq_base_statistics
{
public:
    /// Four rows, in this order: "System time" (hhh:mm:ss.ccc since start), "Data counter [byte]" (bytes received
    /// since start while the pad was linked), "Bit rate [bit/sec]" (over the last interval of at least 2 s),
    /// "Last error" (empty when there was none).
    items get_items() const override;

    /// Counters and bit rate back to 0 for a new start. System time and last error stay until overwritten.
    void reset();

    void set_system_time(std::chrono::nanoseconds since_start);
    void add_data(std::uint64_t bytes);
    void set_bit_rate(std::uint64_t bits_per_second);
    void set_last_error(std::string text);
    /// Makes the exception that is being handled the last error, if memory allows.
    void note_exception() noexcept;

private:
    std::atomic<std::int64_t> m_system_time_ns{0};
    std::atomic<std::uint64_t> m_data_counter{0};
    std::atomic<std::uint64_t> m_bit_rate{0};
    mutable std::mutex m_last_error_mutex;
    std::string m_last_error;
};
