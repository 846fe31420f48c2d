// SPDX-License-Identifier: LGPL-2.1-or-later
// Golden bytes of the descriptors of ISO/IEC 13818-1 and 13818-6 that only the standard dictionary has.
#include "support/descriptor_loops.h"

namespace standard_mpeg_descriptors_test
{
using namespace mpegcore;
using namespace zqtest;

TEST(RegistrationDescriptor, KeepsItsIdentifierAndWhatStandsBehind)
{
    const auto d = golden_standard<registration_descriptor>(Bytes{0x05, 0x06} + "HDMV" + Bytes{0xFF, 0x1B});
    EXPECT_EQ(d->format_identifier, 0x48444D56U);
    EXPECT_EQ(d->additional_identification_info, (Bytes{0xFF, 0x1B}));
}

TEST(DataStreamAlignmentDescriptor, KeepsItsField)
{
    EXPECT_EQ(golden_standard<data_stream_alignment_descriptor>({0x06, 0x01, 0x02})->alignment_type, 2);
}

TEST(MaximumBitrateDescriptor, KeepsItsRate)
{
    // 15 Mbit/s.
    const auto d = golden_standard<maximum_bitrate_descriptor>({0x0E, 0x03, 0xC0, 0x92, 0x7C});
    EXPECT_EQ(d->reserved, 3);
    EXPECT_EQ(d->maximum_bitrate, 37500U);
}

TEST(CarouselIdentifierDescriptor, KeepsItsIdentifierAlone)
{
    EXPECT_EQ(golden_standard<carousel_identifier_descriptor>({0x13, 0x04, 0x00, 0x00, 0x01, 0x02})->carousel_id, 258U);
}

TEST(CarouselIdentifierDescriptor, TakesEveryFormatButTheFirstForPrivate)
{
    const auto d = golden_standard<carousel_identifier_descriptor>({0x13, 0x07, 0, 0, 0, 9, 0x00, 0xAA, 0xBB});
    EXPECT_EQ(d->FormatID, 0);
    EXPECT_EQ(d->private_data_byte, (Bytes{0xAA, 0xBB}));
}

TEST(CarouselIdentifierDescriptor, KeepsTheModuleOfTheServiceGateway)
{
    const auto d = golden_standard<carousel_identifier_descriptor>(
        Bytes{0x13, 0x17, 0, 0, 0, 9, 0x01} + Bytes{0x02, 0x00, 0x03, 0x0F, 0xFE, 0x00, 0x01, 0x02, 0x03} +
        Bytes{0x00, 0x00, 0x01, 0x04, 0x05, 0xFF, 0x01, 0x07, 0xEE});
    EXPECT_EQ(d->FormatID, 1);
    EXPECT_EQ(d->boot.ModuleVersion, 2);
    EXPECT_EQ(d->boot.ModuleId, 3);
    EXPECT_EQ(d->boot.BlockSize, 0x0FFE);
    EXPECT_EQ(d->boot.ModuleSize, 0x00010203U);
    EXPECT_EQ(d->boot.CompressionMethod, 0);
    EXPECT_EQ(d->boot.OriginalSize, 0x00010405U);
    EXPECT_EQ(d->boot.TimeOut, 0xFF);
    EXPECT_EQ(d->boot.ObjectKey, (Bytes{0x07}));
    EXPECT_EQ(d->private_data_byte, (Bytes{0xEE}));
}

TEST(Mpeg4AudioDescriptor, KeepsItsField)
{
    EXPECT_EQ(golden_standard<MPEG_4_audio_descriptor>({0x1C, 0x01, 0x51})->MPEG_4_audio_profile_and_level, 0x51);
}

TEST(AvcVideoDescriptor, KeepsEachFlag)
{
    const auto d = golden_standard<AVC_video_descriptor>({0x28, 0x04, 0x64, 0xA9, 0x29, 0x7F});
    EXPECT_EQ(d->profile_idc, 100);
    EXPECT_EQ(d->constraint_set0_flag, 1);
    EXPECT_EQ(d->constraint_set1_flag, 0);
    EXPECT_EQ(d->constraint_set2_flag, 1);
    EXPECT_EQ(d->constraint_set3_flag, 0);
    EXPECT_EQ(d->constraint_set4_flag, 1);
    EXPECT_EQ(d->constraint_set5_flag, 0);
    EXPECT_EQ(d->AVC_compatible_flags, 1);
    EXPECT_EQ(d->level_idc, 41);
    EXPECT_EQ(d->AVC_still_present, 0);
    EXPECT_EQ(d->AVC_24_hour_picture_flag, 1);
    EXPECT_EQ(d->Frame_Packing_SEI_not_present_flag, 1);
    EXPECT_EQ(d->reserved, 0x1F);
}

TEST(HevcVideoDescriptor, KeepsItsFields)
{
    // Main 10, high tier, level 5.1, wide colours and high dynamic range.
    const auto d = golden_standard<HEVC_video_descriptor>(
        {0x38, 0x0D, 0x22, 0x20, 0x00, 0x00, 0x00, 0x9A, 0xBC, 0xDE, 0xF0, 0x12, 0x34, 0x99, 0x1E});
    EXPECT_EQ(d->profile_space, 0);
    EXPECT_EQ(d->tier_flag, 1);
    EXPECT_EQ(d->profile_idc, 2);
    EXPECT_EQ(d->profile_compatibility_indication, 0x20000000U);
    EXPECT_EQ(d->progressive_source_flag, 1);
    EXPECT_EQ(d->interlaced_source_flag, 0);
    EXPECT_EQ(d->non_packed_constraint_flag, 0);
    EXPECT_EQ(d->frame_only_constraint_flag, 1);
    EXPECT_EQ(d->copied_44bits, 0xABCDEF01234U);
    EXPECT_EQ(d->level_idc, 153);
    EXPECT_EQ(d->temporal_layer_subset_flag, 0);
    EXPECT_EQ(d->HEVC_still_present_flag, 0);
    EXPECT_EQ(d->HEVC_24hr_picture_present_flag, 0);
    EXPECT_EQ(d->sub_pic_hrd_params_not_present_flag, 1);
    EXPECT_EQ(d->reserved, 3);
    EXPECT_EQ(d->HDR_WCG_idc, 2);
}

TEST(HevcVideoDescriptor, KeepsTheLayersOfASubset)
{
    const auto d = golden_standard<HEVC_video_descriptor>(
        {0x38, 0x0F, 0x01, 0x60, 0x00, 0x00, 0x00, 0x90, 0x00, 0x00, 0x00, 0x00, 0x00, 0x7B, 0x8F, 0x5F, 0xBF});
    EXPECT_EQ(d->temporal_layer_subset_flag, 1);
    EXPECT_EQ(d->HDR_WCG_idc, 3);
    EXPECT_EQ(d->temporal_id_min, 2);
    EXPECT_EQ(d->reserved2, 0x1F);
    EXPECT_EQ(d->temporal_id_max, 5);
    EXPECT_EQ(d->reserved3, 0x1F);
}

TEST(AssociationTagDescriptor, KeepsWhichMessageHasTheServiceGateway)
{
    const auto d = golden_standard<association_tag_descriptor>(
        {0x14, 0x0E, 0x00, 0x0B, 0x00, 0x00, 0x08, 0x80, 0x00, 0x00, 0x02, 0x00, 0x98, 0x96, 0x80, 0xEE});
    EXPECT_EQ(d->association_tag, 11);
    EXPECT_EQ(d->use, 0);
    EXPECT_EQ(d->selector_length, 8);
    EXPECT_EQ(d->transaction_id, 0x80000002U);
    EXPECT_EQ(d->timeout, 10000000U);
    EXPECT_TRUE(d->selector_byte.empty());
    EXPECT_EQ(d->private_data_byte, (Bytes{0xEE}));
}

TEST(AssociationTagDescriptor, KeepsTheSelectorOfAnotherUse)
{
    const auto d =
        golden_standard<association_tag_descriptor>({0x14, 0x08, 0x00, 0x0C, 0x01, 0x00, 0x02, 0xA1, 0xA2, 0xB1});
    EXPECT_EQ(d->use, 0x0100);
    EXPECT_EQ(d->selector_byte, (Bytes{0xA1, 0xA2}));
    EXPECT_EQ(d->private_data_byte, (Bytes{0xB1}));
}

TEST(AssociationTagDescriptor, KeepsASelectorThatIsNoMessage)
{
    const auto d = golden_standard<association_tag_descriptor>({0x14, 0x06, 0x00, 0x0D, 0x00, 0x00, 0x01, 0xC1});
    EXPECT_EQ(d->transaction_id, 0U);
    EXPECT_EQ(d->selector_byte, (Bytes{0xC1}));
}

TEST(AvcTimingAndHrdDescriptor, KeepsATimeScaleOfItsOwn)
{
    // 27 MHz * 1 / 540 = 50 kHz, of which 1000 are a tick.
    const auto d = golden_standard<AVC_timing_and_HRD_descriptor>(
        {0x2A, 0x0F, 0xFF, 0x7F, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x02, 0x1C, 0x00, 0x00, 0x03, 0xE8, 0xBF});
    EXPECT_EQ(d->hrd_management_valid_flag, 1);
    EXPECT_EQ(d->reserved, 0x3F);
    EXPECT_EQ(d->picture_and_timing_info_present, 1);
    EXPECT_EQ(d->is_90kHz_flag, 0);
    EXPECT_EQ(d->reserved2, 0x7F);
    EXPECT_EQ(d->N, 1U);
    EXPECT_EQ(d->K, 540U);
    EXPECT_EQ(d->num_units_in_tick, 1000U);
    EXPECT_EQ(d->fixed_frame_rate_flag, 1);
    EXPECT_EQ(d->temporal_poc_flag, 0);
    EXPECT_EQ(d->picture_to_display_conversion_flag, 1);
    EXPECT_EQ(d->reserved3, 0x1F);
}

TEST(AvcTimingAndHrdDescriptor, HasNoFactorsAt90KilohertzAndNoTicksWithoutTiming)
{
    const auto timed =
        golden_standard<AVC_timing_and_HRD_descriptor>({0x2A, 0x07, 0x7F, 0xFF, 0x00, 0x00, 0x0E, 0x10, 0x5F});
    EXPECT_EQ(timed->hrd_management_valid_flag, 0);
    EXPECT_EQ(timed->is_90kHz_flag, 1);
    EXPECT_EQ(timed->num_units_in_tick, 3600U);
    EXPECT_EQ(timed->temporal_poc_flag, 1);
    const auto untimed = golden_standard<AVC_timing_and_HRD_descriptor>({0x2A, 0x02, 0xFE, 0x9F});
    EXPECT_EQ(untimed->picture_and_timing_info_present, 0);
    EXPECT_EQ(untimed->fixed_frame_rate_flag, 1);
}
} // namespace standard_mpeg_descriptors_test
