// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Coding of an HEVC video stream: ISO/IEC 13818-1, 2.6.95.
class HEVC_video_descriptor : public standard_descriptor<HEVC_video_descriptor, 0x38>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(2, "profile_space", d.profile_space) && io.bits(1, "tier_flag", d.tier_flag) &&
               io.bits(5, "profile_idc", d.profile_idc) &&
               io.bits(32, "profile_compatibility_indication", d.profile_compatibility_indication) &&
               io.bits(1, "progressive_source_flag", d.progressive_source_flag) &&
               io.bits(1, "interlaced_source_flag", d.interlaced_source_flag) &&
               io.bits(1, "non_packed_constraint_flag", d.non_packed_constraint_flag) &&
               io.bits(1, "frame_only_constraint_flag", d.frame_only_constraint_flag) &&
               io.bits(44, "copied_44bits", d.copied_44bits) && io.bits(8, "level_idc", d.level_idc) &&
               io.bits(1, "temporal_layer_subset_flag", d.temporal_layer_subset_flag) &&
               io.bits(1, "HEVC_still_present_flag", d.HEVC_still_present_flag) &&
               io.bits(1, "HEVC_24hr_picture_present_flag", d.HEVC_24hr_picture_present_flag) &&
               io.bits(1, "sub_pic_hrd_params_not_present_flag", d.sub_pic_hrd_params_not_present_flag) &&
               io.bits(2, "reserved", d.reserved) && io.bits(2, "HDR_WCG_idc", d.HDR_WCG_idc) &&
               (d.temporal_layer_subset_flag == 0 ||
                (io.bits(3, "temporal_id_min", d.temporal_id_min) && io.bits(5, "reserved", d.reserved2) &&
                 io.bits(3, "temporal_id_max", d.temporal_id_max) && io.bits(5, "reserved", d.reserved3)));
    }

    std::uint8_t profile_space = 0;
    std::uint8_t tier_flag = 0;
    std::uint8_t profile_idc = 0;
    std::uint32_t profile_compatibility_indication = 0;
    std::uint8_t progressive_source_flag = 0;
    std::uint8_t interlaced_source_flag = 0;
    std::uint8_t non_packed_constraint_flag = 0;
    std::uint8_t frame_only_constraint_flag = 0;
    std::uint64_t copied_44bits = 0;
    /// Thirty times the level.
    std::uint8_t level_idc = 0;
    std::uint8_t temporal_layer_subset_flag = 0;
    std::uint8_t HEVC_still_present_flag = 0;
    std::uint8_t HEVC_24hr_picture_present_flag = 0;
    std::uint8_t sub_pic_hrd_params_not_present_flag = 0;
    std::uint8_t reserved = 0;
    std::uint8_t HDR_WCG_idc = 0;
    /// This and the rest only when temporal_layer_subset_flag is 1.
    std::uint8_t temporal_id_min = 0;
    std::uint8_t reserved2 = 0;
    std::uint8_t temporal_id_max = 0;
    std::uint8_t reserved3 = 0;
};
} // namespace mpegcore
