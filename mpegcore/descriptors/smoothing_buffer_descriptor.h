// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Size and leak rate of the smoothing buffer: ISO/IEC 13818-1, 2.6.30.
class smoothing_buffer_descriptor : public typed_descriptor<smoothing_buffer_descriptor, 0x10>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(2, "reserved", d.reserved) && io.bits(22, "sb_leak_rate", d.sb_leak_rate) &&
               io.bits(2, "reserved", d.reserved2) && io.bits(22, "sb_size", d.sb_size);
    }

    std::uint8_t reserved = 0;
    /// Units of 400 bit/s.
    std::uint32_t sb_leak_rate = 0;
    std::uint8_t reserved2 = 0;
    /// Bytes.
    std::uint32_t sb_size = 0;
};
} // namespace mpegcore
