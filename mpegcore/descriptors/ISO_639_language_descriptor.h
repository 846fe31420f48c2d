// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Languages of a stream: ISO/IEC 13818-1, 2.6.18.
class ISO_639_language_descriptor : public typed_descriptor<ISO_639_language_descriptor, 0x0A>
{
public:
    struct entry
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.code("ISO_639_language_code", d.ISO_639_language_code) && io.bits(8, "audio_type", d.audio_type);
        }

        std::array<unsigned char, 3> ISO_639_language_code{};
        std::uint8_t audio_type = 0;
    };

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.entries(4, "entries", d.entries);
    }

    std::vector<entry> entries;
};
} // namespace mpegcore
