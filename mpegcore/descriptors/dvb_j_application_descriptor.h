// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Parameters that a DVB-J application starts with: ETSI TS 102 727, 10.9.1.
class dvb_j_application_descriptor : public application_information_descriptor<dvb_j_application_descriptor, 0x03>
{
public:
    struct entry
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.data(8, "parameter", d.parameter_length, d.parameter);
        }

        std::uint8_t parameter_length = 0;
        std::vector<unsigned char> parameter;
    };

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.entries(1, "entries", d.entries);
    }

    std::vector<entry> entries;
};
} // namespace mpegcore
