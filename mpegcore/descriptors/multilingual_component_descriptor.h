// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// What a component is, in words, by language: ETSI EN 300 468, 6.2.23.
class multilingual_component_descriptor : public standard_descriptor<multilingual_component_descriptor, 0x5E>
{
public:
    struct entry
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.code("ISO_639_language_code", d.ISO_639_language_code) &&
                   io.text(8, "text_description", d.text_description_length, d.text_description);
        }

        std::array<unsigned char, 3> ISO_639_language_code{};
        std::uint8_t text_description_length = 0;
        /// As transmitted, with the leading bytes that choose the character table (Annex A).
        std::vector<unsigned char> text_description;
    };

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(8, "component_tag", d.component_tag) && io.entries(4, "entries", d.entries);
    }

    std::uint8_t component_tag = 0;
    std::vector<entry> entries;
};
} // namespace mpegcore
