// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Name of a bouquet by language: ETSI EN 300 468, 6.2.22.
class multilingual_bouquet_name_descriptor : public standard_descriptor<multilingual_bouquet_name_descriptor, 0x5C>
{
public:
    struct entry
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.code("ISO_639_language_code", d.ISO_639_language_code) &&
                   io.text(8, "bouquet_name", d.bouquet_name_length, d.bouquet_name);
        }

        std::array<unsigned char, 3> ISO_639_language_code{};
        std::uint8_t bouquet_name_length = 0;
        /// As transmitted, with the leading bytes that choose the character table (Annex A).
        std::vector<unsigned char> bouquet_name;
    };

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.entries(4, "entries", d.entries);
    }

    std::vector<entry> entries;
};
} // namespace mpegcore
