// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Highest rate of a stream or program: ISO/IEC 13818-1, 2.6.26.
class maximum_bitrate_descriptor : public standard_descriptor<maximum_bitrate_descriptor, 0x0E>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(2, "reserved", d.reserved) && io.bits(22, "maximum_bitrate", d.maximum_bitrate);
    }

    std::uint8_t reserved = 0;
    /// Units of 50 byte/s, which are 400 bit/s.
    std::uint32_t maximum_bitrate = 0;
};
} // namespace mpegcore
