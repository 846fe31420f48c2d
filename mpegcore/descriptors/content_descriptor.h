// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Genres of an event: ETSI EN 300 468, 6.2.9.
class content_descriptor : public standard_descriptor<content_descriptor, 0x54>
{
public:
    struct entry
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.bits(4, "content_nibble_level_1", d.content_nibble_level_1) &&
                   io.bits(4, "content_nibble_level_2", d.content_nibble_level_2) &&
                   io.bits(8, "user_byte", d.user_byte);
        }

        std::uint8_t content_nibble_level_1 = 0;
        std::uint8_t content_nibble_level_2 = 0;
        std::uint8_t user_byte = 0;
    };

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.entries(2, "entries", d.entries);
    }

    std::vector<entry> entries;
};
} // namespace mpegcore
