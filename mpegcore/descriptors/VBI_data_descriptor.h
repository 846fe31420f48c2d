// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Data services in the vertical blanking interval: ETSI EN 300 468, 6.2.47.
class VBI_data_descriptor : public typed_descriptor<VBI_data_descriptor, 0x45>
{
public:
    struct entry
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.bits(8, "data_service_id", d.data_service_id) &&
                   io.data(8, "data_service_descriptor", d.data_service_descriptor_length, d.data_service_descriptor);
        }

        std::uint8_t data_service_id = 0;
        std::uint8_t data_service_descriptor_length = 0;
        std::vector<unsigned char> data_service_descriptor;
    };

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.entries(2, "entries", d.entries);
    }

    std::vector<entry> entries;
};
} // namespace mpegcore
