// SPDX-License-Identifier: LGPL-2.1-or-later
// Where bodies end, which is not always where their length says.
#include "support/descriptor_loops.h"

namespace descriptor_oddities_test
{
using namespace mpegcore;
using namespace zqtest;

/// Reads `bytes` as a T, expects success, and returns it with the number of bytes left unread.
template <class T>
std::pair<T, std::size_t> read_as(const Bytes& bytes)
{
    ExactBlock block(bytes);
    auto reader = block.reader();
    std::pair<T, std::size_t> result;
    EXPECT_TRUE(result.first.read(reader));
    result.second = reader.availableBytes();
    return result;
}

/// How many entries T reads from a body of `length` bytes, and how many bytes it leaves unread.
template <class T>
std::pair<std::size_t, std::size_t> entries_of(unsigned char length)
{
    const auto [d, unread] = read_as<T>(Bytes{T::tag, length} + Bytes(length, 0x11));
    return {d.entries.size(), unread};
}

using Counts = std::pair<std::size_t, std::size_t>;

TEST(LogicalChannelDescriptor, OfLengthNineHasTwoEntriesAndLeavesTheNinthByte)
{
    EXPECT_EQ(entries_of<logical_channel_descriptor>(9), Counts(2, 1));
}

TEST(LogicalChannelDescriptor, OfLengthBelowFourSucceedsWithoutEntries)
{
    for (const unsigned char length : {0, 1, 2, 3})
        EXPECT_EQ(entries_of<logical_channel_descriptor>(length), Counts(0, length));
}

TEST(LogicalChannelDescriptor, SplitsVisibilityReservedBitsAndNumber)
{
    const auto d = golden_ts<logical_channel_descriptor>({0x83, 0x04, 0x00, 0x01, 0xFC, 0x05});
    ASSERT_EQ(d->entries.size(), 1U);
    EXPECT_EQ(d->entries[0].service_id, 1);
    EXPECT_EQ(d->entries[0].visible_service_flag, 1);
    EXPECT_EQ(d->entries[0].logical_channel_number, 5);
}

TEST(LocalTimeOffsetDescriptor, HasTwoEntriesAtLength26AndOneAt25)
{
    EXPECT_EQ(entries_of<local_time_offset_descriptor>(26), Counts(2, 0));
    EXPECT_EQ(entries_of<local_time_offset_descriptor>(25), Counts(1, 12));
    EXPECT_EQ(entries_of<local_time_offset_descriptor>(12), Counts(0, 12));
}

TEST(LocalTimeOffsetDescriptor, PassesOverAnEmptyPointerThatABuilderLeft)
{
    local_time_offset_descriptor d;
    d.entries.push_back(nullptr);
    EXPECT_EQ(written(d), (Bytes{0x58, 0x00}));
    local_time_offset_descriptor copy;
    d.copyTo(&copy);
    EXPECT_EQ(copy.entries.size(), 1U);
}

TEST(ServiceListDescriptor, LeavesARemainderBelowThreeBytes)
{
    EXPECT_EQ(entries_of<service_list_descriptor>(8), Counts(2, 2));
}

TEST(Iso639LanguageDescriptor, LeavesARemainderBelowFourBytes)
{
    EXPECT_EQ(entries_of<ISO_639_language_descriptor>(7), Counts(1, 3));
}

TEST(ParentalRatingDescriptor, LeavesARemainderBelowFourBytes)
{
    EXPECT_EQ(entries_of<parental_rating_descriptor>(11), Counts(2, 3));
}

TEST(TeletextDescriptor, LeavesARemainderBelowFiveBytes)
{
    EXPECT_EQ(entries_of<teletext_descriptor>(14), Counts(2, 4));
}

TEST(SubtitlingDescriptor, LeavesARemainderBelowEightBytes)
{
    EXPECT_EQ(entries_of<subtitling_descriptor>(15), Counts(1, 7));
}

TEST(VbiDataDescriptor, LeavesARemainderOfOneByte)
{
    const auto [d, unread] = read_as<VBI_data_descriptor>({0x45, 0x04, 0x01, 0x01, 0xE5, 0x02});
    EXPECT_EQ(d.entries.size(), 1U);
    EXPECT_EQ(unread, 1U);
}

TEST(VbiDataDescriptor, FailsWhenTheBytesOfAServiceAreNotThere)
{
    ExactBlock block(Bytes{0x45, 0x03, 0x01, 0x02, 0xE5});
    auto reader = block.reader();
    EXPECT_FALSE(VBI_data_descriptor().read(reader));
}

TEST(T2DeliverySystemDescriptor, OfLengthFourStillReadsSixBodyBytes)
{
    const auto [d, unread] =
        read_as<T2_delivery_system_descriptor>({0x7F, 0x04, 0x04, 1, 0x12, 0x34, 0x47, 0x4D, 0x99});
    EXPECT_EQ(d.bandwidth, 1);
    EXPECT_EQ(d.guard_interval, 2);
    EXPECT_EQ(unread, 1U);
    EXPECT_EQ(written(d), (Bytes{0x7F, 0x04, 0x04, 1, 0x12, 0x34, 0x47, 0x4D}));
}

TEST(T2DeliverySystemDescriptor, OfLengthFourFailsWhenNothingFollows)
{
    ExactBlock block(Bytes{0x7F, 0x04, 0x04, 1, 0x12, 0x34});
    auto reader = block.reader();
    EXPECT_FALSE(T2_delivery_system_descriptor().read(reader));
}

TEST(T2DeliverySystemDescriptor, LeavesItsCellsUnread)
{
    const auto [d, unread] = read_as<T2_delivery_system_descriptor>(
        {0x7F, 0x0B, 0x04, 1, 0x12, 0x34, 0x47, 0x4C, 0x00, 0x01, 0x02, 0x03, 0x04});
    EXPECT_EQ(d.descriptor_length, 11);
    EXPECT_EQ(unread, 5U);
}

TEST(ServiceDescriptor, FailsWhenANameRunsPastTheData)
{
    ExactBlock block(Bytes{0x48, 0x05, 0x01, 0x00, 0x03, 'A', 'B'});
    auto reader = block.reader();
    EXPECT_FALSE(service_descriptor().read(reader));
}

TEST(ServiceDescriptor, StopsWhereItsNamesEndInALongerBody)
{
    const auto [d, unread] = read_as<service_descriptor>({0x48, 0x06, 0x01, 0x00, 0x01, 'A', 'B', 'C'});
    EXPECT_EQ(d.service_name_length, 1);
    EXPECT_EQ(unread, 2U);
}

TEST(ExtendedEventDescriptor, TakesAStrayByteOfTheItemsForItsTextLength)
{
    const auto [d, unread] =
        read_as<extended_event_descriptor>(Bytes{0x4E, 0x08, 0x00} + "eng" + Bytes{0x01, 0x02, 'a', 'b'});
    EXPECT_TRUE(d.items.empty());
    EXPECT_EQ(d.text_length, 2);
    EXPECT_EQ(text(d.text_char), "ab");
    EXPECT_EQ(unread, 0U);
}

TEST(NetworkNameDescriptor, OfLengthZeroIsEmpty)
{
    const auto [d, unread] = read_as<network_name_descriptor>({0x40, 0x00});
    EXPECT_EQ(d.network_name[0], 0);
    EXPECT_EQ(unread, 0U);
}

TEST(Ac3Descriptor, WithoutABodyTakesItsFlagsFromWhatFollows)
{
    const auto [d, unread] = read_as<ac3_descriptor>({0x6A, 0x00, 0x0F, 0x77});
    EXPECT_EQ(d.reserved, 15);
    EXPECT_TRUE(d.additional_info.empty());
    EXPECT_EQ(unread, 1U);
}

TEST(Descriptor, WritesItsStoredLengthAndCountsButTheEntriesItHolds)
{
    scte35_dtmf_descriptor dtmf;
    dtmf.descriptor_length = 0x33;
    dtmf.dtmf_count = 2;
    dtmf.DTMF_char = {'1', '2', '3'};
    EXPECT_EQ(written(dtmf), (Bytes{0x01, 0x33, 0, 0, 0, 0, 0, 0x40, '1', '2', '3'}));
}

TEST(Descriptor, CutsValuesToTheWidthOfTheirField)
{
    CA_descriptor ca;
    ca.descriptor_length = 4;
    ca.reserved = 0xF8;
    ca.CA_PID = 0xFFFF;
    EXPECT_EQ(written(ca), (Bytes{0x09, 0x04, 0x00, 0x00, 0x1F, 0xFF}));
}

TEST(Descriptor, PresetsTheTagsThatTwoClassesOrTwoTagsShare)
{
    EXPECT_EQ(extension_descriptor().descriptor_tag, 0x7F);
    EXPECT_EQ(T2_delivery_system_descriptor().descriptor_tag, 0x7F);
    EXPECT_EQ(scte35_segmentation_descriptor().descriptor_tag, 0x02);
    EXPECT_EQ(video_stream_descriptor().descriptor_tag, 0x02);
    EXPECT_EQ(teletext_descriptor().descriptor_tag, 0x56);
    EXPECT_EQ(logical_channel_descriptor().descriptor_tag, 0x83);
}
} // namespace descriptor_oddities_test
