// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "support/element.h"
#include "support/udp_sender.h"

#include <vector>

namespace support
{
/// Sends `datagrams` no faster than `receivers` take them: every so often, before a socket with the system's usual
/// limit could run over, waits until each of them has counted what was sent. False when one did not come to that.
[[nodiscard]] bool send_paced(const udp_sender& sender, const std::vector<std::vector<unsigned char>>& datagrams,
                              const std::vector<const element*>& receivers);
} // namespace support
