// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/PMT.h"
#include "mpegcore/monitor/PIDTable.h"

#include <cstdint>

namespace mpegcore
{
/// What an elementary stream carries, by its stream_type and, where that leaves it open, its descriptors.
[[nodiscard]] PIDKind kind_of(const CBaseStreamTypeMap& stream);
/// Whether its descriptors say that it has still pictures, whose times may be far apart.
[[nodiscard]] bool is_still_picture(const CBaseStreamTypeMap& stream);
/// What a PID is for by the standards alone; unknown for those that tables give away (0x0020 to 0x1FFE).
[[nodiscard]] PIDKind fixed_kind(std::uint16_t PID);
} // namespace mpegcore
