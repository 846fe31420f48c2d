// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "zq_net/hot_spares.h"
#include "zq_net/ip_address.h"

#include <sys/socket.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace zq_net
{
/// Nanoseconds of the system's real-time clock, which the kernel stamps datagrams with.
[[nodiscard]] std::uint64_t real_time();
/// Nanoseconds of a clock that nobody sets.
[[nodiscard]] std::uint64_t steady_time();

/// Reads datagrams in one system call, side by side into memory of the caller's.
class datagram_reader
{
public:
    static constexpr std::size_t largest_datagram = 65536;

    struct datagram
    {
        unsigned char* data = nullptr;
        std::size_t size = 0;
        std::uint64_t arrival = 0; ///< by real_time()
        bool truncated = false;
        std::uint32_t dropped_before = 0; ///< by the socket so far, modulo 2^32
        const sockaddr_storage* sender = nullptr;
        socklen_t sender_size = 0;
    };

    enum class details
    {
        all,
        none, ///< arrival 0, sender null, and that the socket was shut down goes unnoticed
    };

    /// `most`: datagrams a call. A datagram of more than `largest` bytes is cut.
    explicit datagram_reader(std::size_t most, std::size_t largest = largest_datagram, details wanted = details::all);

    /// Reads up to `count` datagrams, at most as many as one call may, the n-th to `memory` + n * `slot_size`; one
    /// that is longer goes to memory of the reader's, whole. With `wait` waits for the first one. The `kept` datagrams
    /// that reads before gave together stay where they are, and count for what one call may. The number of
    /// datagrams; 0 when there was none or the wait was ended (with errno, unless the socket was shut down); -1 with
    /// errno when receiving failed.
    [[nodiscard]] int read(int socket, unsigned char* memory, std::size_t slot_size, std::size_t count, bool wait,
                           std::size_t kept = 0);

    /// Of the last read(), valid until the next one or release().
    [[nodiscard]] const datagram& operator[](std::size_t index) const { return m_desk->datagrams[index]; }
    /// Lends what it needs for a read to others until the next one. The bytes of the last one stay where they are.
    void release();
    [[nodiscard]] std::size_t most() const { return m_most; }

private:
    struct unmap
    {
        std::size_t size;
        void operator()(unsigned char* memory) const;
    };
    struct alignas(cmsghdr) control
    {
        std::array<unsigned char, 64> bytes;
    };
    /// What a read is told and tells, for as many messages as were asked for in one call so far.
    struct desk
    {
        std::vector<mmsghdr> messages;
        std::vector<std::array<iovec, 2>> parts;
        std::vector<sockaddr_storage> senders;
        std::vector<control> controls;
        std::vector<datagram> datagrams;

        void make_room(std::size_t count);
    };
    /// For reads that ask for few datagrams, which may wait for long, and for all others.
    static hot_spares<desk> small_desks, desks;
    static constexpr std::size_t small = 2;

    void take(std::size_t index, unsigned char* slot, std::size_t slot_size, unsigned char* whole);

    std::size_t m_most;
    std::size_t m_largest;
    details m_details;
    std::unique_ptr<unsigned char, unmap> m_long; // m_largest bytes for each message, untouched until one is needed
    std::unique_ptr<desk> m_desk;                 // null: lent
};
} // namespace zq_net
