// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

namespace support
{
/// Moves this process, before it has threads, into a network of its own with nothing but a loopback that carries
/// multicast too. False where the system refuses; tests then share the host's loopback and skip what needs routes.
bool enter_net_sandbox();
bool in_net_sandbox();
} // namespace support
