// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// DTMF sequence to signal a splice with: ANSI/SCTE 35, 10.3.2.
class scte35_dtmf_descriptor : public typed_descriptor<scte35_dtmf_descriptor, 0x01>
{
public:
    static constexpr auto places = places_of_tag(0x01, {ZQDescriptorType::SCTE35, ZQDescriptorType::StandardSCTE35});

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(32, "identifier", d.identifier) && io.bits(8, "preroll", d.preroll) &&
               io.bits(3, "dtmf_count", d.dtmf_count) && io.bits(5, "reserved", d.reserved) &&
               io.bytes(d.dtmf_count, "DTMF_char", d.DTMF_char);
    }

    /// 0x43554549, "CUEI".
    std::uint32_t identifier = 0;
    /// Tenths of a second.
    std::uint8_t preroll = 0;
    std::uint8_t dtmf_count = 0;
    std::uint8_t reserved = 0;
    /// dtmf_count of "0" to "9", "*" and "#".
    std::vector<unsigned char> DTMF_char;
};
} // namespace mpegcore
