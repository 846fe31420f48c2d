// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Which application information table a stream carries: ETSI TS 102 809, 5.3.5.2.1.
class application_signalling_descriptor : public standard_descriptor<application_signalling_descriptor, 0x6F>
{
public:
    struct entry
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.bits(1, "reserved_future_use", d.reserved_future_use) &&
                   io.bits(15, "application_type", d.application_type) &&
                   io.bits(3, "reserved_future_use", d.reserved_future_use2) &&
                   io.bits(5, "AIT_version_number", d.AIT_version_number);
        }

        std::uint8_t reserved_future_use = 0;
        std::uint16_t application_type = 0;
        std::uint8_t reserved_future_use2 = 0;
        std::uint8_t AIT_version_number = 0;
    };

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.entries(3, "entries", d.entries);
    }

    std::vector<entry> entries;
};
} // namespace mpegcore
