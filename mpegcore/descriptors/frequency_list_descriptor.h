// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Further frequencies of a multiplex: ETSI EN 300 468, 6.2.17.
class frequency_list_descriptor : public standard_descriptor<frequency_list_descriptor, 0x62>
{
public:
    struct entry
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.bits(32, "centre_frequency", d.centre_frequency);
        }

        /// Form and unit depend on coding_type.
        std::uint32_t centre_frequency = 0;
    };

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(6, "reserved_future_use", d.reserved_future_use) && io.bits(2, "coding_type", d.coding_type) &&
               io.entries(4, "entries", d.entries);
    }

    std::uint8_t reserved_future_use = 0;
    /// 1 satellite, BCD in 10 kHz; 2 cable, BCD in 100 Hz; 3 terrestrial, binary in 10 Hz.
    std::uint8_t coding_type = 0;
    std::vector<entry> entries;
};
} // namespace mpegcore
