// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

namespace zq_net
{
/// About 1.3 s of a 50 Mbit/s stream; what Linux gives unasked holds 20 ms of it.
inline constexpr int usual_receive_buffer = 8 * 1024 * 1024;

/// Bytes that the kernel may keep for `socket`, as one asks for them (it reports twice as much, for its own
/// bookkeeping counts too). 0 when it does not say.
[[nodiscard]] int receive_buffer(int socket);

/// Asks for `wanted` bytes, past the system's limit where this process may. Never makes the buffer smaller.
void enlarge_receive_buffer(int socket, int wanted = usual_receive_buffer);
} // namespace zq_net
