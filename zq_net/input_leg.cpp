// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/input_leg.h"

#include <algorithm>
#include <utility>

namespace zq_net
{
void sender_list::see(const sockaddr_storage& sender, socklen_t size)
{
    const auto* const bytes = reinterpret_cast<const char*>(&sender);
    if (m_last.compare(0, m_last.size(), bytes, size) == 0)
        return;
    m_last.assign(bytes, size);
    const auto place = std::lower_bound(m_known.begin(), m_known.end(), m_last);
    if ((place == m_known.end() || *place != m_last) && m_known.size() < input_figures::most_senders)
        m_known.insert(place, m_last);
}

bool input_leg::open(std::string& error)
{
    udp_socket fresh;
    // The port of a unicast address has to be let go first; a group is kept until the new socket has joined it.
    if (socket.is_open() && !socket.is_multicast())
        close();
    if (!fresh.open(m_settings, error))
        return false;
    close();
    socket = std::move(fresh);
    // What the system chose is kept when the socket is opened again.
    m_settings.port = socket.address().port();
    figures.buffer_asked = socket.buffer_asked();
    figures.buffer_got = socket.buffer_got();
    return true;
}

void input_leg::close()
{
    if (!socket.is_open())
        return;
    note_drops();
    socket.close();
    m_drops = {};
    dropped_before = 0;
}

void input_leg::note_drops()
{
    if (!socket.is_open())
        return;
    const std::uint32_t drops = m_drops.advance(socket.kernel_drops());
    if (!idle)
        figures.kernel_drops += drops;
}

bool input_leg::has_moved(udp_socket& fresh)
{
    const bool moved = socket.follow_interface(fresh, m_follow_error);
    m_follow_failures = m_follow_error.empty() ? 0 : m_follow_failures + 1;
    return moved;
}

void input_leg::move_to(udp_socket& fresh)
{
    note_drops();
    std::swap(socket, fresh);
    m_drops = {};
    dropped_before = 0;
    ++figures.rejoins;
    figures.buffer_got = socket.buffer_got();
}
} // namespace zq_net
