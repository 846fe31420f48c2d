// SPDX-License-Identifier: LGPL-2.1-or-later
// Golden bytes of the descriptors of ISO/IEC 13818-1.
#include "support/descriptor_loops.h"

namespace mpeg_descriptors_test
{
using namespace mpegcore;
using namespace zqtest;

TEST(VideoStreamDescriptor, KeepsTheMpeg2Fields)
{
    const auto d = golden_ts<video_stream_descriptor>({0x02, 0x03, 0x99, 0x48, 0x5F});
    EXPECT_EQ(d->multiple_frame_rate_flag, 1);
    EXPECT_EQ(d->frame_rate_code, 3);
    EXPECT_EQ(d->MPEG_1_only_flag, 0);
    EXPECT_EQ(d->constrained_parameter_flag, 0);
    EXPECT_EQ(d->still_picture_flag, 1);
    EXPECT_EQ(d->profile_and_level_indication, 0x48);
    EXPECT_EQ(d->chroma_format, 1);
    EXPECT_EQ(d->frame_rate_extension_flag, 0);
    EXPECT_EQ(d->reserved, 0x1F);
}

TEST(VideoStreamDescriptor, EndsAfterOneByteForMpeg1)
{
    const auto d = golden_ts<video_stream_descriptor>({0x02, 0x01, 0x26});
    EXPECT_EQ(d->multiple_frame_rate_flag, 0);
    EXPECT_EQ(d->frame_rate_code, 4);
    EXPECT_EQ(d->MPEG_1_only_flag, 1);
    EXPECT_EQ(d->constrained_parameter_flag, 1);
    EXPECT_EQ(d->still_picture_flag, 0);
    EXPECT_EQ(d->profile_and_level_indication, 0);
}

TEST(VideoStreamDescriptor, KeepsConstrainedParametersOfMpeg2)
{
    const auto d = golden_ts<video_stream_descriptor>({0x02, 0x03, 0x02, 0x00, 0x20});
    EXPECT_EQ(d->MPEG_1_only_flag, 0);
    EXPECT_EQ(d->constrained_parameter_flag, 1);
    EXPECT_EQ(d->still_picture_flag, 0);
    EXPECT_EQ(d->chroma_format, 0);
    EXPECT_EQ(d->frame_rate_extension_flag, 1);
    EXPECT_EQ(d->reserved, 0);
}

TEST(AudioStreamDescriptor, KeepsItsFields)
{
    const auto d = golden_ts<audio_stream_descriptor>({0x03, 0x01, 0x6F});
    EXPECT_EQ(d->free_format_flag, 0);
    EXPECT_EQ(d->ID, 1);
    EXPECT_EQ(d->layer, 2);
    EXPECT_EQ(d->variable_rate_audio_indicator, 1);
    EXPECT_EQ(d->reserved, 7);
}

TEST(AudioStreamDescriptor, KeepsAConstantRateBesideReservedOnes)
{
    const auto d = golden_ts<audio_stream_descriptor>({0x03, 0x01, 0x97});
    EXPECT_EQ(d->free_format_flag, 1);
    EXPECT_EQ(d->ID, 0);
    EXPECT_EQ(d->layer, 1);
    EXPECT_EQ(d->variable_rate_audio_indicator, 0);
    EXPECT_EQ(d->reserved, 7);
}

TEST(CaDescriptor, KeepsSystemPidAndPrivateData)
{
    const auto d = golden_ts<CA_descriptor>({0x09, 0x06, 0x06, 0x04, 0xE1, 0x00, 0xAA, 0xBB});
    EXPECT_EQ(d->CA_system_ID, 0x0604);
    EXPECT_EQ(d->reserved, 7);
    EXPECT_EQ(d->CA_PID, 0x0100);
    EXPECT_EQ(d->private_data_byte[0], 0xAA);
    EXPECT_EQ(d->private_data_byte[1], 0xBB);
    EXPECT_EQ(d->private_data_byte[2], 0);
}

TEST(CaDescriptor, HasNoPrivateDataAtLengthFour)
{
    const auto d = golden_ts<CA_descriptor>({0x09, 0x04, 0x0B, 0x00, 0x5F, 0xFF});
    EXPECT_EQ(d->CA_system_ID, 0x0B00);
    EXPECT_EQ(d->reserved, 2);
    EXPECT_EQ(d->CA_PID, 0x1FFF);
    EXPECT_EQ(d->private_data_byte[0], 0);
}

TEST(CaDescriptor, ReadsItsFourBytesWhateverASmallerLengthSays)
{
    Bytes bytes{0x09, 0x01, 0x06, 0x04, 0xE1, 0x00, 0x77};
    ExactBlock block(bytes);
    auto reader = block.reader();
    CA_descriptor d;
    ASSERT_TRUE(d.read(reader));
    EXPECT_EQ(d.CA_PID, 0x0100);
    EXPECT_EQ(d.private_data_byte[0], 0);
    EXPECT_EQ(reader.availableBytes(), 1U);
}

TEST(CaDescriptor, FillsItsArrayWith194PrivateBytes)
{
    const auto d = golden_ts<CA_descriptor>(Bytes{0x09, 198, 0x06, 0x04, 0xE1, 0x00} + Bytes(193, 0x11) + Bytes{0x22});
    EXPECT_EQ(d->private_data_byte[192], 0x11);
    EXPECT_EQ(d->private_data_byte[193], 0x22);
}

TEST(CaDescriptor, KeepsTheFirst194OfMorePrivateBytesAndConsumesAll)
{
    for (const unsigned char length : {199, 230, 255}) {
        const Bytes kept = Bytes{0x06, 0x04, 0xE1, 0x00} + Bytes(194, 0x11);
        ExactBlock block(Bytes{0x09, length} + kept + Bytes(length - 198, 0x22) + Bytes{0x52, 0x01, 0x2A});
        auto reader = block.reader();
        ZQDescriptorList list(ZQDescriptorType::TS);
        ASSERT_TRUE(list.read(reader));
        ASSERT_EQ(list.size(), 2U);
        const auto d = list.find<CA_descriptor>();
        EXPECT_EQ(d->descriptor_length, 198);
        EXPECT_EQ(written(*d), (Bytes{0x09, 198} + kept));
        EXPECT_EQ(list.find<stream_identifier_descriptor>()->component_tag, 0x2A);
    }
}

TEST(CaDescriptor, WritesNothingFromBehindItsArray)
{
    CA_descriptor d;
    d.descriptor_length = 255;
    d.private_data_byte.fill(0x33);
    EXPECT_EQ(written(d), (Bytes{0x09, 255, 0, 0, 0, 0} + Bytes(194, 0x33)));
}

TEST(Iso639LanguageDescriptor, KeepsItsLanguagesInOrder)
{
    const auto d =
        golden_ts<ISO_639_language_descriptor>(Bytes{0x0A, 0x08} + "deu" + Bytes{0x00} + "eng" + Bytes{0x03});
    ASSERT_EQ(d->entries.size(), 2U);
    EXPECT_EQ(text(d->entries[0].ISO_639_language_code), "deu");
    EXPECT_EQ(d->entries[0].audio_type, 0);
    EXPECT_EQ(text(d->entries[1].ISO_639_language_code), "eng");
    EXPECT_EQ(d->entries[1].audio_type, 3);
}

TEST(MultiplexBufferUtilizationDescriptor, KeepsItsFields)
{
    const auto d = golden_ts<multiplex_buffer_utilization_descriptor>({0x0C, 0x04, 0x92, 0x34, 0x85, 0x67});
    EXPECT_EQ(d->bound_valid_flag, 1);
    EXPECT_EQ(d->LTW_offset_lower_bound, 0x1234);
    EXPECT_EQ(d->reserved, 1);
    EXPECT_EQ(d->LTW_offset_upper_bound, 0x0567);
}

TEST(SmoothingBufferDescriptor, KeepsItsFields)
{
    const auto d = golden_ts<smoothing_buffer_descriptor>({0x10, 0x06, 0xC1, 0x23, 0x45, 0xBA, 0xBC, 0xDE});
    EXPECT_EQ(d->reserved, 3);
    EXPECT_EQ(d->sb_leak_rate, 0x012345U);
    EXPECT_EQ(d->reserved2, 2);
    EXPECT_EQ(d->sb_size, 0x3ABCDEU);
}

TEST(StdDescriptor, KeepsItsFields)
{
    const auto d = golden_ts<STD_descriptor>({0x11, 0x01, 0xFD});
    EXPECT_EQ(d->reserved, 0x7E);
    EXPECT_EQ(d->leak_valid_flag, 1);
}
} // namespace mpeg_descriptors_test
