// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "zq_net/ip_address.h"
#include "zq_net/receive_buffer.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zq_net
{
/// Where to receive.
struct udp_settings
{
    std::string address;              ///< a group, or a local address; empty: every local IPv4 address
    std::uint16_t port = 0;           ///< 0: the system's choice
    std::string interface;            ///< a name or an address of one; empty: what the routing table chooses
    std::vector<std::string> sources; ///< of a group: only what these send (RFC 4607)
    int buffer_size = 0;              ///< bytes the kernel may keep; 0: usual_receive_buffer
};

/// A UDP socket to receive from, with the kernel's receive stamps on. A group is shared with others on this host; a
/// unicast port is taken alone.
class udp_socket
{
public:
    udp_socket() = default;
    ~udp_socket() { close(); }
    udp_socket(udp_socket&& other) noexcept { swap(other); }
    udp_socket& operator=(udp_socket&& other) noexcept
    {
        swap(other);
        return *this;
    }

    /// On failure false, with a sentence in `error` that names what was wrong, and errno set.
    [[nodiscard]] bool open(const udp_settings& settings, std::string& error);
    void close();

    /// Ends a wait for data on any thread. Nothing is received any more until the next open().
    void interrupt() const;
    /// How long receiving waits at most, in milliseconds; 0: for ever.
    void limit_wait(unsigned milliseconds) const;

    /// True when what it receives on may become another one while it is open: for a group, an address that is one on
    /// its link only, and the address of a named interface.
    [[nodiscard]] bool depends_on_interface() const;
    /// Opens `fresh`, to be taken instead of this, where the settings now mean another interface or address than this
    /// was opened on, because it was removed and made again, or routes or addresses changed. False when they mean the
    /// same, or nothing that is there now; with a sentence in `error` when `fresh` could not be opened.
    [[nodiscard]] bool follow_interface(udp_socket& fresh, std::string& error) const;

    [[nodiscard]] bool is_open() const { return m_descriptor >= 0; }
    [[nodiscard]] int descriptor() const { return m_descriptor; }
    [[nodiscard]] bool is_multicast() const { return m_address.is_multicast(); }
    /// Address and port, the latter as the system chose it.
    [[nodiscard]] const ip_address& address() const { return m_address; }
    [[nodiscard]] int buffer_asked() const { return m_buffer_asked; }
    [[nodiscard]] int buffer_got() const { return receive_buffer(m_descriptor); }
    /// Datagrams that the kernel had no room for since open(), modulo 2^32.
    [[nodiscard]] std::uint32_t kernel_drops() const;

private:
    void swap(udp_socket& other) noexcept;
    bool choose_address(std::string& error);
    bool choose_interface(std::string& error);
    bool bind(std::string& error);
    bool join(std::string& error) const;
    bool set(int level, int option, int value) const;

    int m_descriptor = -1;
    udp_settings m_settings; // with the port that the system chose
    ip_address m_address;
    std::vector<ip_address> m_sources;
    unsigned m_interface_index = 0; // that a group is joined on; 0: the kernel's choice
    bool m_has_interface_address = false;
    int m_buffer_asked = 0;
};
} // namespace zq_net
