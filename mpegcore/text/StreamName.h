// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/PMT.h"

#include <string>

namespace mpegcore
{
/// What a stream of a PMT carries, also when its stream_type leaves that to the descriptors: "AVC video", "AC-3 audio".
[[nodiscard]] std::string stream_name(const CBaseStreamTypeMap& stream);
/// The language codes of its descriptors, "deu" or "deu,eng"; empty without.
[[nodiscard]] std::string stream_language(const CBaseStreamTypeMap& stream);
} // namespace mpegcore
