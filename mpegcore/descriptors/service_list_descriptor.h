// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Services by type: ETSI EN 300 468, 6.2.35.
class service_list_descriptor : public typed_descriptor<service_list_descriptor, 0x41>
{
public:
    struct entry
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.bits(16, "service_id", d.service_id) && io.bits(8, "service_type", d.service_type);
        }

        std::uint16_t service_id = 0;
        std::uint8_t service_type = 0;
    };

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.entries(3, "entries", d.entries);
    }

    std::vector<entry> entries;
};
} // namespace mpegcore
