// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Name of an application by language: ETSI TS 102 809, 5.3.5.6.2.
class application_name_descriptor : public application_information_descriptor<application_name_descriptor, 0x01>
{
public:
    struct entry
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.code("ISO_639_language_code", d.ISO_639_language_code) &&
                   io.text(8, "application_name", d.application_name_length, d.application_name);
        }

        std::array<unsigned char, 3> ISO_639_language_code{};
        std::uint8_t application_name_length = 0;
        /// As transmitted, with the leading bytes that choose the character table (ETSI EN 300 468, Annex A).
        std::vector<unsigned char> application_name;
    };

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.entries(4, "entries", d.entries);
    }

    std::vector<entry> entries;
};
} // namespace mpegcore
