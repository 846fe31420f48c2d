// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Names of a service and its provider by language: ETSI EN 300 468, 6.2.25.
class multilingual_service_name_descriptor : public standard_descriptor<multilingual_service_name_descriptor, 0x5D>
{
public:
    struct entry
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.code("ISO_639_language_code", d.ISO_639_language_code) &&
                   io.text(8, "service_provider_name", d.service_provider_name_length, d.service_provider_name) &&
                   io.text(8, "service_name", d.service_name_length, d.service_name);
        }

        std::array<unsigned char, 3> ISO_639_language_code{};
        std::uint8_t service_provider_name_length = 0;
        /// As transmitted, with the leading bytes that choose the character table (Annex A).
        std::vector<unsigned char> service_provider_name;
        std::uint8_t service_name_length = 0;
        std::vector<unsigned char> service_name;
    };

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.entries(5, "entries", d.entries);
    }

    std::vector<entry> entries;
};
} // namespace mpegcore
