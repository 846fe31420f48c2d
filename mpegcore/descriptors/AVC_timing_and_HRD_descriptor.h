// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Time scale and decoder model of an AVC video stream: ISO/IEC 13818-1, 2.6.66.
class AVC_timing_and_HRD_descriptor : public standard_descriptor<AVC_timing_and_HRD_descriptor, 0x2A>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(1, "hrd_management_valid_flag", d.hrd_management_valid_flag) &&
               io.bits(6, "reserved", d.reserved) &&
               io.bits(1, "picture_and_timing_info_present", d.picture_and_timing_info_present) &&
               (d.picture_and_timing_info_present == 0 ||
                (io.bits(1, "90kHz_flag", d.is_90kHz_flag) && io.bits(7, "reserved", d.reserved2) &&
                 (d.is_90kHz_flag != 0 || (io.bits(32, "N", d.N) && io.bits(32, "K", d.K))) &&
                 io.bits(32, "num_units_in_tick", d.num_units_in_tick))) &&
               io.bits(1, "fixed_frame_rate_flag", d.fixed_frame_rate_flag) &&
               io.bits(1, "temporal_poc_flag", d.temporal_poc_flag) &&
               io.bits(1, "picture_to_display_conversion_flag", d.picture_to_display_conversion_flag) &&
               io.bits(5, "reserved", d.reserved3);
    }

    std::uint8_t hrd_management_valid_flag = 0;
    std::uint8_t reserved = 0;
    std::uint8_t picture_and_timing_info_present = 0;
    /// This and all up to num_units_in_tick when picture_and_timing_info_present is 1: the time scale is 90 kHz. Its
    /// name in the standard, 90kHz_flag, is none in C++.
    std::uint8_t is_90kHz_flag = 0;
    std::uint8_t reserved2 = 0;
    /// When the flag is 0: the time scale is 27 MHz * N / K.
    std::uint32_t N = 0;
    std::uint32_t K = 0;
    /// Units of the time scale.
    std::uint32_t num_units_in_tick = 0;
    std::uint8_t fixed_frame_rate_flag = 0;
    std::uint8_t temporal_poc_flag = 0;
    std::uint8_t picture_to_display_conversion_flag = 0;
    std::uint8_t reserved3 = 0;
};
} // namespace mpegcore
