// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Data component of a service or event: ETSI EN 300 468, 6.2.11.
class data_broadcast_descriptor : public standard_descriptor<data_broadcast_descriptor, 0x64>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(16, "data_broadcast_id", d.data_broadcast_id) && io.bits(8, "component_tag", d.component_tag) &&
               io.data(8, "selector", d.selector_length, d.selector) &&
               io.code("ISO_639_language_code", d.ISO_639_language_code) && io.text(8, "text", d.text_length, d.text);
    }

    std::uint16_t data_broadcast_id = 0;
    std::uint8_t component_tag = 0;
    std::uint8_t selector_length = 0;
    std::vector<unsigned char> selector;
    std::array<unsigned char, 3> ISO_639_language_code{};
    std::uint8_t text_length = 0;
    /// As transmitted, with the leading bytes that choose the character table (Annex A).
    std::vector<unsigned char> text;
};
} // namespace mpegcore
