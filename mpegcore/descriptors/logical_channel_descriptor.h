// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Channel numbers of services, a private descriptor in wide use: IEC 62216, 9.2.11.2.
class logical_channel_descriptor : public typed_descriptor<logical_channel_descriptor, 0x83>
{
public:
    // By the standard the tag is private: these are EACEM, the UK's DTT and the networks of Australia.
    static constexpr int any = DescriptorPlace::any_extension;
    static constexpr std::array places{DescriptorPlace{ZQDescriptorType::TS, 0x83},
                                       DescriptorPlace{ZQDescriptorType::Standard, 0x83, any, 0x00000028, 0x00000028},
                                       DescriptorPlace{ZQDescriptorType::Standard, 0x83, any, 0x0000233A, 0x0000233A},
                                       DescriptorPlace{ZQDescriptorType::Standard, 0x83, any, 0x00003200, 0x0000320F}};

    struct entry
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.bits(16, "service_id", d.service_id) &&
                   io.bits(1, "visible_service_flag", d.visible_service_flag) && io.bits(5, "reserved", d.reserved) &&
                   io.bits(10, "logical_channel_number", d.logical_channel_number);
        }

        std::uint16_t service_id = 0;
        std::uint8_t visible_service_flag = 0;
        std::uint8_t reserved = 0;
        std::uint16_t logical_channel_number = 0;
    };

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.entries(4, "entries", d.entries);
    }

    std::vector<entry> entries;
};
} // namespace mpegcore
