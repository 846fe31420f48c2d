// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace monitor
{
/// Closes a stream socket to which an answer was sent, of whose request something may be unread.
void close_behind_the_answer(int socket);

/// Sends answers to readers of any speed, from one thread of its own that waits for none of them. Its places are
/// bounded: when all are taken, the reader who has stood still for the longest is cut off for the next one.
class answer_sender
{
public:
    struct answer
    {
        std::string head;                        ///< up to the empty line
        std::shared_ptr<const std::string> body; ///< null: none
    };
    using clock = std::chrono::steady_clock;

    /// Whoever has not read his answer within `write_time` is cut off. Throws where the system has no thread for it.
    answer_sender(std::size_t places, clock::duration write_time);
    ~answer_sender(); ///< waits for those who still read
    answer_sender(const answer_sender&) = delete;
    answer_sender& operator=(const answer_sender&) = delete;

    /// Takes over a stream socket, to which what `make` gives is sent. The sender's thread calls it; where it throws,
    /// the socket is closed. Of more than `places` that come at once, the last ones stay.
    void take(int socket, std::function<answer()> make);

private:
    struct request
    {
        int socket;
        std::function<answer()> make;
    };
    struct place
    {
        int socket;
        answer given;
        clock::time_point until; ///< it is to be read
        clock::time_point moved; ///< when the reader last made room
        std::size_t sent = 0;

        [[nodiscard]] std::string_view rest() const;
    };

    void run();
    [[nodiscard]] bool admit();
    void cut_off_the_stillest();
    void wait() const;
    void send_to_all();
    [[nodiscard]] static bool is_over(place& served, clock::time_point now);

    const std::size_t m_most;
    const clock::duration m_write_time;
    const int m_wake; ///< an eventfd
    std::mutex m_mutex;
    std::vector<request> m_requests;
    bool m_ended = false;
    std::vector<place> m_places; ///< of the thread
    std::thread m_thread;
};
} // namespace monitor
