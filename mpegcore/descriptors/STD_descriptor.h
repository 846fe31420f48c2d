// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// System target decoder, leak valid: ISO/IEC 13818-1, 2.6.32.
class STD_descriptor : public typed_descriptor<STD_descriptor, 0x11>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(7, "reserved", d.reserved) && io.bits(1, "leak_valid_flag", d.leak_valid_flag);
    }

    std::uint8_t reserved = 0;
    std::uint8_t leak_valid_flag = 0;
};
} // namespace mpegcore
