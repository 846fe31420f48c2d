// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace monitor
{
/// Writes lines to a file descriptor from a thread of its own, so that whoever has something to say never waits for a
/// disk, a pipe or a terminal. The owner ignores SIGPIPE.
class line_spooler
{
public:
    static constexpr std::size_t most_bytes = std::size_t{4} << 20; ///< that wait to be written, with their sizes

    struct condition
    {
        std::uint64_t lost = 0; ///< texts that could not be written whole or had no room to wait
        int error = 0;          ///< errno of the last write; 0: it went well
    };

    line_spooler() = default;
    ~line_spooler(); ///< gives what waits a second to be written
    line_spooler(const line_spooler&) = delete;
    line_spooler& operator=(const line_spooler&) = delete;

    /// Lines are added to what stands in the file. False with errno when it cannot be opened; what was open stays so.
    [[nodiscard]] bool open(const std::string& file);
    /// `descriptor` stays the caller's.
    void use(int descriptor);

    /// With a newline behind it; after a failure the next one tries again.
    void put_line(std::string_view line);
    /// As it is.
    void put(std::string_view text);
    /// Whether nothing waits.
    [[nodiscard]] bool is_idle() const;
    [[nodiscard]] condition state() const;

private:
    void take(int descriptor, bool ours);
    void work();
    void write_waiting(std::unique_lock<std::mutex>& lock);
    [[nodiscard]] int write_all(int descriptor, std::string_view& text);

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::thread m_thread;
    int m_descriptor = -1;
    int m_next_descriptor = -1; ///< to change to, once the thread has written what it is at
    bool m_is_ours = false;
    bool m_next_is_ours = false;
    bool m_ended = false;
    bool m_is_writing = false;
    bool m_cut = false; ///< a line was written in part
    std::string m_waiting;
    std::vector<std::size_t> m_sizes; ///< of the texts in it
    condition m_state;
};
} // namespace monitor
