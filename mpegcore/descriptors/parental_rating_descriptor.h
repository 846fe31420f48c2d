// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Minimum age by country: ETSI EN 300 468, 6.2.28.
class parental_rating_descriptor : public typed_descriptor<parental_rating_descriptor, 0x55>
{
public:
    struct parental
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.code("country_code", d.country_code) && io.bits(8, "rating", d.rating);
        }

        std::array<unsigned char, 3> country_code{};
        /// 0x01 to 0x0F: minimum age in years less 3.
        std::uint8_t rating = 0;
    };

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.entries(4, "entries", d.entries);
    }

    std::vector<parental> entries;
};
} // namespace mpegcore
