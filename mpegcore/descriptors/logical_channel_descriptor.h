// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Channel numbers of services, a private descriptor in wide use: IEC 62216, 9.2.11.2.
class logical_channel_descriptor : public typed_descriptor<logical_channel_descriptor, 0x83>
{
public:
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
