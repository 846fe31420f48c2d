// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Bounds of the legal time window: ISO/IEC 13818-1, 2.6.22.
class multiplex_buffer_utilization_descriptor : public typed_descriptor<multiplex_buffer_utilization_descriptor, 0x0C>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(1, "bound_valid_flag", d.bound_valid_flag) &&
               io.bits(15, "LTW_offset_lower_bound", d.LTW_offset_lower_bound) && io.bits(1, "reserved", d.reserved) &&
               io.bits(15, "LTW_offset_upper_bound", d.LTW_offset_upper_bound);
    }

    std::uint8_t bound_valid_flag = 0;
    /// In units of 27 MHz / 300, as the upper bound.
    std::uint16_t LTW_offset_lower_bound = 0;
    std::uint8_t reserved = 0;
    std::uint16_t LTW_offset_upper_bound = 0;
};
} // namespace mpegcore
