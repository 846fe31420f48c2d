// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/zqdescriptorlist.h"

namespace zqtest
{
// The fills of descriptor_registry.h for the classes of ISO/IEC 13818-1 that only the standard dictionary has, by tag.

inline void fill(mpegcore::registration_descriptor& d)
{
    d.format_identifier = 0x48455643;
    d.additional_identification_info = {0xFF, 0x1B, 0x44};
    d.descriptor_length = 7;
}

inline void fill(mpegcore::data_stream_alignment_descriptor& d)
{
    d.alignment_type = 0xC2;
    d.descriptor_length = 1;
}

inline void fill(mpegcore::maximum_bitrate_descriptor& d)
{
    d.reserved = 2;
    d.maximum_bitrate = 0x2AAAAB;
    d.descriptor_length = 3;
}

inline void fill(mpegcore::carousel_identifier_descriptor& d)
{
    d.carousel_id = 0x00C0FFEE;
    d.FormatID = 1;
    d.boot = {2, 0x0304, 0x0FFE, 0x01020304, 5, 0x0A0B0C0D, 6, 3, {7, 8, 9}};
    d.private_data_byte = {0xA1, 0xA2};
    d.descriptor_length = 4 + 1 + 19 + 2;
}

inline void fill(mpegcore::association_tag_descriptor& d)
{
    d.association_tag = 0x0B0C;
    d.selector_length = 8;
    d.transaction_id = 0x80000002;
    d.timeout = 0xFFFFFFFE;
    d.private_data_byte = {0xA3, 0xA4};
    d.descriptor_length = 5 + 8 + 2;
}

inline void fill(mpegcore::MPEG_4_audio_descriptor& d)
{
    d.MPEG_4_audio_profile_and_level = 0x59;
    d.descriptor_length = 1;
}

inline void fill(mpegcore::AVC_video_descriptor& d)
{
    d.profile_idc = 100;
    d.constraint_set0_flag = d.constraint_set2_flag = d.constraint_set4_flag = 1;
    d.AVC_compatible_flags = 2;
    d.level_idc = 41;
    d.AVC_still_present = d.Frame_Packing_SEI_not_present_flag = 1;
    d.reserved = 0x15;
    d.descriptor_length = 4;
}

inline void fill(mpegcore::AVC_timing_and_HRD_descriptor& d)
{
    d.hrd_management_valid_flag = d.picture_and_timing_info_present = 1;
    d.reserved = 0x2A;
    d.reserved2 = 0x55;
    d.N = 0x01020304;
    d.K = 0xFEDCBA98;
    d.num_units_in_tick = 1001;
    d.fixed_frame_rate_flag = d.picture_to_display_conversion_flag = 1;
    d.reserved3 = 0x0A;
    d.descriptor_length = 15;
}

inline void fill(mpegcore::HEVC_video_descriptor& d)
{
    d.profile_space = 1;
    d.tier_flag = 1;
    d.profile_idc = 2;
    d.profile_compatibility_indication = 0x60000001;
    d.progressive_source_flag = d.non_packed_constraint_flag = 1;
    d.copied_44bits = 0xABCDEF01234;
    d.level_idc = 153;
    d.temporal_layer_subset_flag = d.HEVC_24hr_picture_present_flag = 1;
    d.reserved = 2;
    d.HDR_WCG_idc = 1;
    d.temporal_id_min = 3;
    d.reserved2 = 0x15;
    d.temporal_id_max = 6;
    d.reserved3 = 0x0A;
    d.descriptor_length = 15;
}
} // namespace zqtest
