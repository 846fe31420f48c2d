// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

namespace bench
{
/// Packets of one PID whose continuity_counter goes on.
[[nodiscard]] std::vector<unsigned char> transport_packets(std::size_t count);

/// Sends all of `bytes` to a port of the loopback in datagrams, `per_tick` of them every 200 us.
void send_paced(const std::vector<unsigned char>& bytes, std::size_t datagram_size, double per_tick,
                std::uint16_t port);

/// Datagrams of 1316 bytes to each of `ports` ports from `first_port` on, `rate` a second to each, evenly spread: no
/// port gets two together, and the ports have their turns one after the other. The number sent in all.
unsigned long send_to_many(std::uint16_t first_port, unsigned ports, unsigned rate, double seconds);
/// The same with datagrams of `stream`, all of it to each port.
unsigned long send_stream_to_many(std::vector<unsigned char>& stream, std::uint16_t first_port, unsigned ports,
                                  unsigned rate);
} // namespace bench
