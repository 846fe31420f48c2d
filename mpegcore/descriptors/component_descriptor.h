// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// What a component of an event is: ETSI EN 300 468, 6.2.8.
class component_descriptor : public standard_descriptor<component_descriptor, 0x50>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(4, "stream_content_ext", d.stream_content_ext) &&
               io.bits(4, "stream_content", d.stream_content) && io.bits(8, "component_type", d.component_type) &&
               io.bits(8, "component_tag", d.component_tag) &&
               io.code("ISO_639_language_code", d.ISO_639_language_code) && io.rest_text("text", d.text);
    }

    /// 0xF where stream_content, 1 to 8, needs no extension.
    std::uint8_t stream_content_ext = 0;
    std::uint8_t stream_content = 0;
    std::uint8_t component_type = 0;
    std::uint8_t component_tag = 0;
    std::array<unsigned char, 3> ISO_639_language_code{};
    /// As transmitted, with the leading bytes that choose the character table (Annex A).
    std::vector<unsigned char> text;
};
} // namespace mpegcore
