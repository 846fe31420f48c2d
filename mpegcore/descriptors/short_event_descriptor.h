// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"
#include "mpegcore/syntax/ZeroBytes.h"

namespace mpegcore
{
/// Name and short text of an event: ETSI EN 300 468, 6.2.37.
class short_event_descriptor : public typed_descriptor<short_event_descriptor, 0x4D>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.code("ISO_639_language_code", d.ISO_639_language_code) &&
               io.text(8, "event_name", d.event_name_length, d.event_name_char) &&
               io.text(8, "text", d.text_length, d.text_char);
    }

    std::array<unsigned char, 3> ISO_639_language_code{};
    std::uint8_t event_name_length = 0;
    /// Texts are kept as transmitted, with the leading bytes that choose the character table (Annex A).
    std::array<unsigned char, 256> event_name_char = zero_bytes<256>();
    std::uint8_t text_length = 0;
    std::array<unsigned char, 256> text_char = zero_bytes<256>();
};
} // namespace mpegcore
