// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// T2-MI stream that a component carries: ETSI EN 300 468, 6.4.14.
class T2_MI_descriptor : public standard_extension<T2_MI_descriptor, 0x11>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(8, "descriptor_tag_extension", d.descriptor_tag_extension) &&
               io.bits(5, "reserved_zero_future_use", d.reserved_zero_future_use) &&
               io.bits(3, "t2mi_stream_id", d.t2mi_stream_id) &&
               io.bits(5, "reserved_zero_future_use", d.reserved_zero_future_use2) &&
               io.bits(3, "num_t2mi_streams_minus_one", d.num_t2mi_streams_minus_one) &&
               io.bits(7, "reserved_zero_future_use", d.reserved_zero_future_use3) &&
               io.bits(1, "pcr_iscr_common_clock_flag", d.pcr_iscr_common_clock_flag) &&
               io.rest("reserved_zero_future_use_byte", d.reserved_zero_future_use_byte);
    }

    std::uint8_t descriptor_tag_extension = 0;
    std::uint8_t reserved_zero_future_use = 0;
    std::uint8_t t2mi_stream_id = 0;
    std::uint8_t reserved_zero_future_use2 = 0;
    std::uint8_t num_t2mi_streams_minus_one = 0;
    std::uint8_t reserved_zero_future_use3 = 0;
    std::uint8_t pcr_iscr_common_clock_flag = 0;
    std::vector<unsigned char> reserved_zero_future_use_byte;
};
} // namespace mpegcore
