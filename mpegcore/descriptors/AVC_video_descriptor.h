// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Coding of an AVC video stream: ISO/IEC 13818-1, 2.6.64.
class AVC_video_descriptor : public standard_descriptor<AVC_video_descriptor, 0x28>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(8, "profile_idc", d.profile_idc) && io.bits(1, "constraint_set0_flag", d.constraint_set0_flag) &&
               io.bits(1, "constraint_set1_flag", d.constraint_set1_flag) &&
               io.bits(1, "constraint_set2_flag", d.constraint_set2_flag) &&
               io.bits(1, "constraint_set3_flag", d.constraint_set3_flag) &&
               io.bits(1, "constraint_set4_flag", d.constraint_set4_flag) &&
               io.bits(1, "constraint_set5_flag", d.constraint_set5_flag) &&
               io.bits(2, "AVC_compatible_flags", d.AVC_compatible_flags) && io.bits(8, "level_idc", d.level_idc) &&
               io.bits(1, "AVC_still_present", d.AVC_still_present) &&
               io.bits(1, "AVC_24_hour_picture_flag", d.AVC_24_hour_picture_flag) &&
               io.bits(1, "Frame_Packing_SEI_not_present_flag", d.Frame_Packing_SEI_not_present_flag) &&
               io.bits(5, "reserved", d.reserved);
    }

    std::uint8_t profile_idc = 0;
    std::uint8_t constraint_set0_flag = 0;
    std::uint8_t constraint_set1_flag = 0;
    std::uint8_t constraint_set2_flag = 0;
    std::uint8_t constraint_set3_flag = 0;
    std::uint8_t constraint_set4_flag = 0;
    std::uint8_t constraint_set5_flag = 0;
    std::uint8_t AVC_compatible_flags = 0;
    /// Ten times the level.
    std::uint8_t level_idc = 0;
    std::uint8_t AVC_still_present = 0;
    std::uint8_t AVC_24_hour_picture_flag = 0;
    std::uint8_t Frame_Packing_SEI_not_present_flag = 0;
    std::uint8_t reserved = 0;
};
} // namespace mpegcore
