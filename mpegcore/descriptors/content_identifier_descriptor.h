// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Identifiers of an event and of the series it is of: ETSI TS 102 323, 12.1.
class content_identifier_descriptor : public standard_descriptor<content_identifier_descriptor, 0x76>
{
public:
    struct entry
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.bits(6, "crid_type", d.crid_type) && io.bits(2, "crid_location", d.crid_location) &&
                   (d.crid_location != 0 || io.data(8, "crid", d.crid_length, d.crid)) &&
                   (d.crid_location != 1 || io.bits(16, "crid_ref", d.crid_ref));
        }

        std::uint8_t crid_type = 0;
        std::uint8_t crid_location = 0;
        std::uint8_t crid_length = 0;
        /// When crid_location is 0.
        std::vector<unsigned char> crid;
        /// When crid_location is 1.
        std::uint16_t crid_ref = 0;
    };

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.entries(1, "entries", d.entries);
    }

    std::vector<entry> entries;
};
} // namespace mpegcore
