// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/TransportPacket.h"

namespace mpegcore
{
/// Reads the adaptation field at packet.payload into a record that is all zero. False when its length exceeds 183 or
/// its private data 188 bytes; some fields may be set then.
[[nodiscard]] bool read_adaptation_field(const transport_packet& packet, adaptation_field_record& cleared);
} // namespace mpegcore
