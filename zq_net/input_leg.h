// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "zq_net/datagram_reader.h"
#include "zq_net/input_figures.h"
#include "zq_net/udp_socket.h"
#include "zq_net/wrapping_count.h"

#include <string>
#include <vector>

namespace zq_net
{
/// Counts what differs among addresses of senders, bounded in memory.
class sender_list
{
public:
    void see(const sockaddr_storage& sender, socklen_t size);
    [[nodiscard]] std::size_t count() const { return m_known.size(); }

private:
    std::string m_last; // bytes of the address
    std::vector<std::string> m_known;
};

/// One way on which a stream comes: a socket and what is known of it. For one thread, but for what is said.
class input_leg
{
public:
    input_leg(const udp_settings& settings, std::size_t datagrams_a_call)
        : m_settings{settings}, reader{datagrams_a_call}
    {}

    [[nodiscard]] bool open(std::string& error);
    void close();
    /// Takes over how many datagrams the kernel dropped so far; what it dropped while idle does not count.
    void note_drops();
    /// True with a socket to move_to() where the interface has become another one. Changes nothing that others use.
    [[nodiscard]] bool has_moved(udp_socket& fresh);
    /// Receives on `fresh` from now on, which becomes the socket of before.
    void move_to(udp_socket& fresh);
    /// Why there is no socket on what the interface has become, when that lasts; empty otherwise.
    [[nodiscard]] std::string follow_error() const { return m_follow_failures < lasting ? "" : m_follow_error; }

private:
    static constexpr unsigned lasting = 3; // an address needs a moment until it may be used

    udp_settings m_settings;
    wrapping_count m_drops;
    std::string m_follow_error; // of the last look
    unsigned m_follow_failures = 0;

public:
    udp_socket socket;
    datagram_reader reader;
    leg_figures figures;
    bool idle = false;
    std::uint64_t read_up_to = 0;     ///< real_time() up to which all that came has been read
    std::uint64_t fresh_from = 0;     ///< what came before is dropped; the last such time that took effect
    std::uint32_t dropped_before = 0; ///< by the socket in front of the last datagram
    bool heard = false;               ///< since the interface was last thought of
    std::uint64_t quiet_since = 0;    ///< by steady_time(); so long nothing came, or the interface was looked at then
};
} // namespace zq_net
