// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Long text of an event: ETSI EN 300 468, 6.2.15.
class extended_event_descriptor : public typed_descriptor<extended_event_descriptor, 0x4E>
{
public:
    struct item
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.text(8, "item_description", d.item_description_length, d.item_description_char) &&
                   io.text(8, "item", d.item_length, d.item_char);
        }

        std::uint8_t item_description_length = 0;
        std::vector<unsigned char> item_description_char;
        std::uint8_t item_length = 0;
        std::vector<unsigned char> item_char;
    };

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(4, "descriptor_number", d.descriptor_number) &&
               io.bits(4, "last_descriptor_number", d.last_descriptor_number) &&
               io.code("ISO_639_language_code", d.ISO_639_language_code) &&
               io.bits(8, "length_of_items", d.length_of_items) &&
               io.within(d.length_of_items, [&] { return io.entries(2, "items", d.items); }) &&
               io.text(8, "text", d.text_length, d.text_char);
    }

    std::uint8_t descriptor_number = 0;
    std::uint8_t last_descriptor_number = 0;
    std::array<unsigned char, 3> ISO_639_language_code{};
    /// Bytes that the items take.
    std::uint8_t length_of_items = 0;
    std::vector<item> items;
    std::uint8_t text_length = 0;
    std::vector<unsigned char> text_char;
};
} // namespace mpegcore
