// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// DVB subtitles: ETSI EN 300 468, 6.2.41.
class subtitling_descriptor : public typed_descriptor<subtitling_descriptor, 0x59>
{
public:
    struct entry
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.code("ISO_639_language_code", d.ISO_639_language_code) &&
                   io.bits(8, "subtitling_type", d.subtitling_type) &&
                   io.bits(16, "composition_page_id", d.composition_page_id) &&
                   io.bits(16, "ancillary_page_id", d.ancillary_page_id);
        }

        std::array<unsigned char, 3> ISO_639_language_code{};
        std::uint8_t subtitling_type = 0;
        std::uint16_t composition_page_id = 0;
        std::uint16_t ancillary_page_id = 0;
    };

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.entries(8, "entries", d.entries);
    }

    std::vector<entry> entries;
};
} // namespace mpegcore
