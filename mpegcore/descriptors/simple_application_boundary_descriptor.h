// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Beginnings of the addresses that belong to an application: ETSI TS 102 809, 5.3.8.
class simple_application_boundary_descriptor
    : public application_information_descriptor<simple_application_boundary_descriptor, 0x17>
{
public:
    struct entry
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.data(8, "boundary_extension", d.boundary_extension_length, d.boundary_extension);
        }

        std::uint8_t boundary_extension_length = 0;
        std::vector<unsigned char> boundary_extension;
    };

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(8, "boundary_extension_count", d.boundary_extension_count) &&
               io.counted(d.boundary_extension_count, "entries", d.entries);
    }

    std::uint8_t boundary_extension_count = 0;
    std::vector<entry> entries;
};
} // namespace mpegcore
