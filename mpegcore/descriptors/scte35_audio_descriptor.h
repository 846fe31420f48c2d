// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Audio of the programme that a splice goes to: ANSI/SCTE 35, 10.3.5.
class scte35_audio_descriptor : public typed_descriptor<scte35_audio_descriptor, 0x04>
{
public:
    static constexpr auto places = places_of_tag(0x04, {ZQDescriptorType::StandardSCTE35});

    struct component
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.bits(8, "component_tag", d.component_tag) && io.code("ISO_code", d.ISO_code) &&
                   io.bits(3, "Bit_Stream_Mode", d.Bit_Stream_Mode) && io.bits(4, "Num_Channels", d.Num_Channels) &&
                   io.bits(1, "Full_Srvc_Audio", d.Full_Srvc_Audio);
        }

        std::uint8_t component_tag = 0;
        std::array<unsigned char, 3> ISO_code{};
        std::uint8_t Bit_Stream_Mode = 0;
        std::uint8_t Num_Channels = 0;
        std::uint8_t Full_Srvc_Audio = 0;
    };

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(32, "identifier", d.identifier) && io.bits(4, "audio_count", d.audio_count) &&
               io.bits(4, "reserved", d.reserved) && io.counted(d.audio_count, "components", d.components);
    }

    /// 0x43554549, "CUEI".
    std::uint32_t identifier = 0;
    std::uint8_t audio_count = 0;
    std::uint8_t reserved = 0;
    std::vector<component> components;
};
} // namespace mpegcore
