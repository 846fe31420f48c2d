// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Text for the viewer: ETSI EN 300 468, 6.4.9.
class message_descriptor : public standard_extension<message_descriptor, 0x08>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(8, "descriptor_tag_extension", d.descriptor_tag_extension) &&
               io.bits(8, "message_id", d.message_id) && io.code("ISO_639_language_code", d.ISO_639_language_code) &&
               io.rest_text("text", d.text);
    }

    std::uint8_t descriptor_tag_extension = 0;
    std::uint8_t message_id = 0;
    std::array<unsigned char, 3> ISO_639_language_code{};
    /// As transmitted, with the leading bytes that choose the character table (Annex A).
    std::vector<unsigned char> text;
};
} // namespace mpegcore
