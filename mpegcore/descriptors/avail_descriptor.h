// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Avail in a splice information section: ANSI/SCTE 35, 10.3.1.
class avail_descriptor : public typed_descriptor<avail_descriptor, 0x00>
{
public:
    // Deliberate: the splice descriptor 0x00 is an avail descriptor in a transport stream loop too.
    static constexpr auto places =
        places_of_tag(0x00, {ZQDescriptorType::TS, ZQDescriptorType::SCTE35, ZQDescriptorType::StandardSCTE35});

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(32, "identifier", d.identifier) && io.bits(32, "provider_avail_id", d.provider_avail_id);
    }

    /// 0x43554549, "CUEI".
    std::uint32_t identifier = 0;
    std::uint32_t provider_avail_id = 0;
};
} // namespace mpegcore
