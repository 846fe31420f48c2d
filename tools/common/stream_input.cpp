// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/common/stream_input.h"

#include "tools/common/udp_address.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tools
{
namespace
{
constexpr std::size_t block_size = 1 << 20;
constexpr int longest_wait_ms = 200;
} // namespace

stream_input::~stream_input()
{
    if (m_descriptor > STDERR_FILENO)
        close(m_descriptor);
}

bool stream_input::open(const std::string& name, const std::string& interface)
{
    m_name = name;
    m_block.resize(block_size);
    return is_udp_address(name) ? open_udp(name, interface) : open_file(name);
}

bool stream_input::open_udp(const std::string& name, const std::string& interface)
{
    m_is_udp = true;
    m_is_live = true;
    auto settings = parse_udp_address(name);
    if (!settings)
        return fail("is not udp://[SOURCE@]GROUP:PORT");
    settings->interface = interface;
    zq_net::input_settings input;
    input.legs.push_back(*settings);
    // Packets of 204 bytes are whole packets, too; finding them is not for the socket.
    input.align = false;
    input.longest_wait = longest_wait_ms;
    return m_datagrams.open(input) || fail(m_datagrams.error());
}

bool stream_input::open_file(const std::string& name)
{
    m_descriptor = name == "-" ? STDIN_FILENO : ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status = {};
    if (m_descriptor < 0 || fstat(m_descriptor, &status) != 0)
        return fail(std::strerror(errno));
    if (isatty(m_descriptor) != 0)
        return fail("is a terminal");
    if (S_ISDIR(status.st_mode))
        return fail("is a directory");
    m_is_live = !S_ISREG(status.st_mode);
    if (S_ISREG(status.st_mode))
        m_total = static_cast<std::uint64_t>(status.st_size);
    return true;
}

bool stream_input::wait_for_bytes(result& instead)
{
    pollfd waits{m_descriptor, POLLIN, 0};
    const int ready = poll(&waits, 1, longest_wait_ms);
    if (ready > 0)
        return true;
    instead = result::nothing;
    if (ready < 0 && errno != EINTR && !fail(std::strerror(errno)))
        instead = result::failed;
    return false;
}

stream_input::result stream_input::next()
{
    m_data = m_block.data();
    m_size = 0;
    if (m_is_udp)
        return next_datagrams();
    if (result instead{}; m_is_live && !wait_for_bytes(instead))
        return instead;
    const ssize_t size = read(m_descriptor, m_block.data(), m_block.size());
    if (size < 0 && (errno == EINTR || errno == EAGAIN))
        return result::nothing;
    if (size < 0) {
        fail(std::strerror(errno));
        return result::failed;
    }
    m_size = static_cast<std::size_t>(size);
    return size == 0 ? result::end : result::bytes;
}

stream_input::result stream_input::next_datagrams()
{
    using received = zq_net::transport_input::result;
    const auto& pieces = m_datagrams.pieces();
    if (m_next_piece == pieces.size()) {
        m_next_piece = 0;
        const std::size_t slot_size = m_datagrams.wanted_slot_size();
        const std::size_t slots = m_datagrams.wanted_slots();
        m_block.resize(std::max(m_block.size(), slots * slot_size));
        const auto got = m_datagrams.receive(m_block.data(), slots, slot_size);
        if (got == received::failed) {
            fail(m_datagrams.error());
            return result::failed;
        }
        if (got != received::data)
            return result::nothing;
    }
    m_data = pieces[m_next_piece].data;
    m_size = pieces[m_next_piece++].size;
    return result::bytes;
}

bool stream_input::fail(const std::string& reason)
{
    m_fault = m_name + ": " + reason;
    return false;
}
} // namespace tools
