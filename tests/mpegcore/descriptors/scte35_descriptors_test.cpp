// SPDX-License-Identifier: LGPL-2.1-or-later
// Golden bytes of the descriptors of ANSI/SCTE 35.
#include "support/descriptor_loops.h"

namespace scte35_descriptors_test
{
using namespace mpegcore;
using namespace zqtest;

constexpr std::uint32_t cuei = 0x43554549;

TEST(AvailDescriptor, KeepsItsFields)
{
    const auto d = golden_scte35<avail_descriptor>({0x00, 0x08, 0x43, 0x55, 0x45, 0x49, 0x00, 0x01, 0x02, 0xFE});
    EXPECT_EQ(d->identifier, cuei);
    EXPECT_EQ(d->provider_avail_id, 0x000102FEU);
}

TEST(Scte35DtmfDescriptor, KeepsItsCharacters)
{
    const auto d = golden_scte35<scte35_dtmf_descriptor>(Bytes{0x01, 0x0A} + "CUEI" + Bytes{0x32, 0x9E} + "121*");
    EXPECT_EQ(d->identifier, cuei);
    EXPECT_EQ(d->preroll, 50);
    EXPECT_EQ(d->dtmf_count, 4);
    EXPECT_EQ(d->reserved, 0x1E);
    EXPECT_EQ(text(d->DTMF_char), "121*");
}

TEST(Scte35SegmentationDescriptor, KeepsAProgramSegmentWithoutSubSegments)
{
    const auto d = golden_scte35<scte35_segmentation_descriptor>({0x02, 0x17, 0x43, 0x55, 0x45, 0x49, 0x48, 0x00, 0x00,
                                                                  0x8E, 0x7F, 0x9F, 0x08, 0x08, 0x00, 0x00, 0x00, 0x00,
                                                                  0x2C, 0xA0, 0xA1, 0x8A, 0x34, 0x01, 0x02});
    EXPECT_EQ(d->identifier, cuei);
    EXPECT_EQ(d->segmentation_event_id, 0x4800008EU);
    EXPECT_EQ(d->segmentation_event_cancel_indicator, 0);
    EXPECT_EQ(d->reserved, 0x7F);
    EXPECT_EQ(d->program_segmentation_flag, 1);
    EXPECT_EQ(d->segmentation_duration_flag, 0);
    EXPECT_EQ(d->delivery_not_restricted_flag, 0);
    EXPECT_EQ(d->web_delivery_allowed_flag, 1);
    EXPECT_EQ(d->no_regional_blackout_flag, 1);
    EXPECT_EQ(d->archive_allowed_flag, 1);
    EXPECT_EQ(d->device_restrictions, 3);
    EXPECT_TRUE(d->components.empty());
    EXPECT_EQ(d->segmentation_upid_type, 8);
    EXPECT_EQ(d->segmentation_upid_length, 8);
    EXPECT_EQ(d->segmentation_upid, (Bytes{0, 0, 0, 0, 0x2C, 0xA0, 0xA1, 0x8A}));
    EXPECT_EQ(d->segmentation_type_id, 0x34);
    EXPECT_EQ(d->segment_num, 1);
    EXPECT_EQ(d->segments_expected, 2);
    EXPECT_EQ(d->sub_segment_num, 0);
    EXPECT_EQ(d->sub_segments_expected, 0);
}

TEST(Scte35SegmentationDescriptor, KeepsComponentsDurationAndSubSegments)
{
    const auto d = golden_scte35<scte35_segmentation_descriptor>(
        {0x02, 0x25, 0x43, 0x55, 0x45, 0x49, 0x00, 0x00, 0x00, 0x07, 0x7E, 0x56, 0x01,
         0x21, 0xFD, 0x23, 0x45, 0x67, 0x89, 0xFE, 0x01, 0x4F, 0x3D, 0x00, 0x09, 0x08,
         0x53, 0x49, 0x47, 0x4E, 0x41, 0x4C, 0x3A, 0x31, 0x10, 0x02, 0x03, 0x04, 0x05});
    EXPECT_EQ(d->reserved, 0x7E);
    EXPECT_EQ(d->program_segmentation_flag, 0);
    EXPECT_EQ(d->segmentation_duration_flag, 1);
    EXPECT_EQ(d->delivery_not_restricted_flag, 0);
    EXPECT_EQ(d->web_delivery_allowed_flag, 1);
    EXPECT_EQ(d->no_regional_blackout_flag, 0);
    EXPECT_EQ(d->archive_allowed_flag, 1);
    EXPECT_EQ(d->device_restrictions, 2);
    EXPECT_EQ(d->component_count, 1);
    ASSERT_EQ(d->components.size(), 1U);
    const scte35_segmentation_descriptor::component& component = d->components[0];
    EXPECT_EQ(component.component_tag, 0x21);
    EXPECT_EQ(component.reserved, 0x7E);
    EXPECT_EQ(component.pts_offset, 0x123456789U);
    EXPECT_EQ(d->segmentation_duration, 0xFE014F3D00U);
    EXPECT_EQ(text(d->segmentation_upid), "SIGNAL:1");
    EXPECT_EQ(d->segmentation_type_id, 0x10);
    EXPECT_EQ(d->segment_num, 2);
    EXPECT_EQ(d->segments_expected, 3);
    EXPECT_EQ(d->sub_segment_num, 4);
    EXPECT_EQ(d->sub_segments_expected, 5);
}

TEST(Scte35SegmentationDescriptor, KeepsReservedBitsWhenDeliveryIsNotRestricted)
{
    const auto d = golden_scte35<scte35_segmentation_descriptor>(
        {0x02, 0x0F, 0x43, 0x55, 0x45, 0x49, 0x00, 0x00, 0x00, 0x01, 0x7F, 0xB5, 0x00, 0x00, 0x30, 0x01, 0x01});
    EXPECT_EQ(d->delivery_not_restricted_flag, 1);
    EXPECT_EQ(d->reserved2, 0x15);
    EXPECT_EQ(d->web_delivery_allowed_flag, 0);
    EXPECT_EQ(d->device_restrictions, 0);
    EXPECT_EQ(d->segmentation_type_id, 0x30);
}

TEST(Scte35SegmentationDescriptor, HoldsIdentifierAndEventIdOnlyWhenCancelled)
{
    const auto d = golden_scte35<scte35_segmentation_descriptor>(
        {0x02, 0x09, 0x43, 0x55, 0x45, 0x49, 0x00, 0x00, 0x01, 0x02, 0xFF});
    EXPECT_EQ(d->identifier, cuei);
    EXPECT_EQ(d->segmentation_event_id, 0x102U);
    EXPECT_EQ(d->segmentation_event_cancel_indicator, 1);
    EXPECT_EQ(d->program_segmentation_flag, 0);
    EXPECT_EQ(d->segmentation_upid_length, 0);
    EXPECT_TRUE(d->segmentation_upid.empty());
    EXPECT_EQ(d->segmentation_type_id, 0);
}

TEST(Scte35SegmentationDescriptor, FindsSubSegmentsByLengthNotByTypeId)
{
    Bytes bytes{0x02, 0x0F, 0x43, 0x55, 0x45, 0x49, 0x00, 0x00, 0x00, 0x01, 0x7F, 0xBF, 0x00, 0x00, 0x34, 0x01, 0x01};
    EXPECT_EQ(golden_scte35<scte35_segmentation_descriptor>(bytes)->sub_segment_num, 0);
    bytes[1] += 2;
    bytes[14] = 0x10;
    bytes = bytes + Bytes{0x08, 0x09};
    const auto d = golden_scte35<scte35_segmentation_descriptor>(bytes);
    EXPECT_EQ(d->segmentation_type_id, 0x10);
    EXPECT_EQ(d->sub_segment_num, 8);
    EXPECT_EQ(d->sub_segments_expected, 9);
}

TEST(Scte35SegmentationDescriptor, FailsWhenTheSubSegmentsThatTheLengthLeavesOpenAreMissing)
{
    // Length 16 leaves 4 body bytes before segmentation_type_id: neither 3 nor the 5 that the fields need.
    ExactBlock block(Bytes{0x02, 0x10, 0x43, 0x55, 0x45, 0x49, 0, 0, 0, 1, 0x7F, 0xBF, 0, 0, 0x34, 1, 1, 8});
    auto reader = block.reader();
    EXPECT_FALSE(scte35_segmentation_descriptor().read(reader));
}

TEST(Scte35SegmentationDescriptor, ReadsSubSegmentsBehindALengthThatEndsBeforeTheSegments)
{
    // Deliberate: only a rest of exactly 3 bytes does without them, not one of 2 or less.
    for (const unsigned char length : {0, 12, 13, 14}) {
        ExactBlock block(
            Bytes{0x02, length, 0x43, 0x55, 0x45, 0x49, 0, 0, 0, 1, 0x7F, 0xBF, 0, 0, 0x34, 1, 2, 8, 9, 0x77});
        auto reader = block.reader();
        scte35_segmentation_descriptor d;
        ASSERT_TRUE(d.read(reader));
        EXPECT_EQ(d.segments_expected, 2);
        EXPECT_EQ(d.sub_segment_num, 8);
        EXPECT_EQ(d.sub_segments_expected, 9);
        EXPECT_EQ(reader.availableBytes(), 1U);
    }
}

TEST(CueIdentifierDescriptor, KeepsItsField)
{
    EXPECT_EQ(golden_ts<cue_identifier_descriptor>({0x8A, 0x01, 0x03})->cue_stream_type, 3);
}

TEST(Scte35TimeDescriptor, KeepsItsClock)
{
    const auto d = golden<scte35_time_descriptor>(
        ZQDescriptorType::StandardSCTE35,
        Bytes{0x03, 0x10} + "CUEI" + Bytes{0x00, 0x00, 0x65, 0xA1, 0xB2, 0xC3, 0x1D, 0xCD, 0x65, 0x00, 0x00, 0x25});
    EXPECT_EQ(d->identifier, cuei);
    EXPECT_EQ(d->TAI_seconds, 0x65A1B2C3U);
    EXPECT_EQ(d->TAI_ns, 500000000U);
    EXPECT_EQ(d->UTC_offset, 37);
}

TEST(Scte35AudioDescriptor, KeepsEachComponent)
{
    const auto d = golden<scte35_audio_descriptor>(ZQDescriptorType::StandardSCTE35,
                                                   Bytes{0x04, 0x0F} + "CUEI" + Bytes{0x2F, 0x31} + "eng" +
                                                       Bytes{0x05, 0x32} + "spa" + Bytes{0xB8});
    EXPECT_EQ(d->identifier, cuei);
    EXPECT_EQ(d->audio_count, 2);
    EXPECT_EQ(d->reserved, 15);
    ASSERT_EQ(d->components.size(), 2U);
    EXPECT_EQ(d->components[0].component_tag, 0x31);
    EXPECT_EQ(text(d->components[0].ISO_code), "eng");
    EXPECT_EQ(d->components[0].Bit_Stream_Mode, 0);
    EXPECT_EQ(d->components[0].Num_Channels, 2);
    EXPECT_EQ(d->components[0].Full_Srvc_Audio, 1);
    EXPECT_EQ(d->components[1].component_tag, 0x32);
    EXPECT_EQ(text(d->components[1].ISO_code), "spa");
    EXPECT_EQ(d->components[1].Bit_Stream_Mode, 5);
    EXPECT_EQ(d->components[1].Num_Channels, 12);
    EXPECT_EQ(d->components[1].Full_Srvc_Audio, 0);
}

TEST(Scte35Descriptors, StayRawInTheStatedDictionaryBeyondItsOwn)
{
    golden_scte35<base_descriptor>(Bytes{0x04, 0x05} + "CUEI" + Bytes{0x0F});
}
} // namespace scte35_descriptors_test
