// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Any extension of tag 0x7F without a class of its own: ETSI EN 300 468, 6.2.16.
class extension_descriptor : public typed_descriptor<extension_descriptor, 0x7F>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(8, "descriptor_tag_extension", d.descriptor_tag_extension) &&
               io.rest("selector_byte", d.selector_byte);
    }

    std::uint8_t descriptor_tag_extension = 0;
    std::vector<unsigned char> selector_byte;
};
} // namespace mpegcore
