// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/common/stream_input.h"

#include "mpegcore/TransportPacket.h"
#include "tools/common/udp_address.h"

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

/// Bytes in front of the first of the packets that fill the rest of a datagram, as an RTP header is.
std::size_t header_size(const unsigned char* datagram, std::size_t size)
{
    const std::size_t first = size % mpegcore::ts_packet_size;
    for (std::size_t at = first; at < size; at += mpegcore::ts_packet_size)
        if (datagram[at] != mpegcore::ts_sync_byte)
            return 0;
    return first == size ? 0 : first;
}
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
    const auto address = parse_udp_address(name);
    if (!address)
        return fail("is not udp://[SOURCE@]GROUP:PORT");
    std::string reason;
    m_descriptor = open_udp_socket(*address, interface, reason);
    return m_descriptor >= 0 || fail(reason);
}

bool stream_input::open_file(const std::string& name)
{
    m_descriptor = name == "-" ? STDIN_FILENO : ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status = {};
    if (m_descriptor < 0 || fstat(m_descriptor, &status) != 0)
        return fail(std::strerror(errno));
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
    m_first = 0;
    m_size = 0;
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
    if (m_is_udp) {
        m_first = header_size(m_block.data(), m_size);
        m_size -= m_first;
        return result::bytes;
    }
    return size == 0 ? result::end : result::bytes;
}

bool stream_input::fail(const std::string& reason)
{
    m_fault = m_name + ": " + reason;
    return false;
}
} // namespace tools
