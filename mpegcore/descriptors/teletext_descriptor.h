// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Teletext pages, and with tag 0x46 those in VBI: ETSI EN 300 468, 6.2.43 and 6.2.48.
class teletext_descriptor : public typed_descriptor<teletext_descriptor, 0x56>
{
public:
    static constexpr std::array places{
        DescriptorPlace{ZQDescriptorType::TS, 0x46}, DescriptorPlace{ZQDescriptorType::TS, 0x56},
        DescriptorPlace{ZQDescriptorType::Standard, 0x46}, DescriptorPlace{ZQDescriptorType::Standard, 0x56}};

    struct entry
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.code("ISO_639_language_code", d.ISO_639_language_code) &&
                   io.bits(5, "teletext_type", d.teletext_type) &&
                   io.bits(3, "teletext_magazine_number", d.teletext_magazine_number) &&
                   io.bits(8, "teletext_page_number", d.teletext_page_number);
        }

        std::array<unsigned char, 3> ISO_639_language_code{};
        std::uint8_t teletext_type = 0;
        std::uint8_t teletext_magazine_number = 0;
        /// Two BCD digits.
        std::uint8_t teletext_page_number = 0;
    };

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.entries(5, "entries", d.entries);
    }

    std::vector<entry> entries;
};
} // namespace mpegcore
