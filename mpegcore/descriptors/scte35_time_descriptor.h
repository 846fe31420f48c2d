// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Wall clock of a splice: ANSI/SCTE 35, 10.3.4.
class scte35_time_descriptor : public typed_descriptor<scte35_time_descriptor, 0x03>
{
public:
    static constexpr auto places = places_of_tag(0x03, {ZQDescriptorType::StandardSCTE35});

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(32, "identifier", d.identifier) && io.bits(48, "TAI_seconds", d.TAI_seconds) &&
               io.bits(32, "TAI_ns", d.TAI_ns) && io.bits(16, "UTC_offset", d.UTC_offset);
    }

    /// 0x43554549, "CUEI".
    std::uint32_t identifier = 0;
    /// International atomic time since 1970-01-01 00:00:00, 48 bits, and the nanoseconds of the second.
    std::uint64_t TAI_seconds = 0;
    std::uint32_t TAI_ns = 0;
    /// Seconds that UTC is behind.
    std::uint16_t UTC_offset = 0;
};
} // namespace mpegcore
