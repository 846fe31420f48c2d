// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/Tables.h"

#include <gmock/gmock.h>

namespace BAT_test
{
using mpegcore::CBAT;
using mpegcore::CBouquetAssociationStream;
using zqtest::Bytes;
using zqtest::length_field;
using zqtest::Roomy;
using zqtest::operator+;
using zqtest::section_of;

// bouquet_id 0x1234, reserved 3, version 10, current, section 1 of 2.
const Bytes fields{0x12, 0x34, 0xD5, 0x01, 0x02};
const Bytes name{0x47, 0x02, 'T', 'V'};
const Bytes services{0x41, 0x03, 0x00, 0x07, 0x01};

Bytes stream(std::uint8_t id, const Bytes& descriptors)
{
    return Bytes{0x00, id, 0x56, 0x78} + length_field(descriptors.size(), 11) + descriptors;
}

Bytes section(const Bytes& bouquet_descriptors, const Bytes& streams)
{
    return section_of(0x4A, fields + length_field(bouquet_descriptors.size(), 9) + bouquet_descriptors +
                                length_field(streams.size(), 10) + streams);
}

TEST(BAT, ReadsTheDescriptorsOfItsStreamsIntoItsOwnList)
{
    Roomy<CBAT> bat;
    ASSERT_TRUE(zqtest::read(bat, section(name, stream(7, services) + stream(6, {0x4A, 0x01, 0x00}))));
    EXPECT_EQ(bat.bouquet_id, 0x1234);
    EXPECT_EQ(bat.reserved_future_use, 9);
    EXPECT_EQ(bat.bouquet_descriptors_length, 4);
    EXPECT_EQ(bat.reserved_future_use2, 10);
    EXPECT_EQ(bat.transport_stream_loop_length, 20);
    EXPECT_EQ(zqtest::tags(bat.bouquet_descriptors), "[47,41,4a]");
    ASSERT_EQ(bat.transport_streams.size(), 2U);
    EXPECT_TRUE(bat.transport_streams[0]->transport_descriptors.empty());
    EXPECT_TRUE(bat.transport_streams[0]->empty());
    EXPECT_EQ(bat.transport_streams[0]->transport_stream_id, 7);
    EXPECT_EQ(bat.transport_streams[0]->original_network_id, 0x5678);
    EXPECT_EQ(bat.transport_streams[0]->reserved_future_use, 11);
    EXPECT_EQ(bat.transport_streams[0]->transport_descriptors_length, 5);
    EXPECT_EQ(bat.transport_streams[1]->transport_descriptors_length, 3);
    EXPECT_TRUE(bat.transport_streams[1]->transport_descriptors.empty());
}

TEST(BAT, ReadByTheStandardHasTheDescriptorsOfItsStreamsInTheirOwnLists)
{
    const Bytes bytes = section(name, stream(7, services) + stream(6, {0x4A, 0x01, 0x00}));
    Roomy<CBAT> bat;
    bat.descriptor_dictionary = mpegcore::ZQDescriptorType::Standard;
    ASSERT_TRUE(zqtest::read(bat, bytes));
    EXPECT_EQ(zqtest::tags(bat.bouquet_descriptors), "[47]");
    ASSERT_EQ(bat.transport_streams.size(), 2U);
    EXPECT_EQ(zqtest::tags(bat.transport_streams[0]->transport_descriptors), "[41]");
    EXPECT_EQ(zqtest::tags(bat.transport_streams[1]->transport_descriptors), "[4a]");
    EXPECT_EQ(zqtest::rendered(bat), bytes);
}

TEST(BAT, IgnoresOneToFiveStrayBytesAtTheEndOfItsLoop)
{
    for (std::size_t stray = 1; stray <= 5; ++stray) {
        Roomy<CBAT> bat;
        ASSERT_TRUE(zqtest::read(bat, section(name, stream(7, services) + Bytes(stray, 0xFF)))) << stray;
        EXPECT_EQ(bat.transport_streams.size(), 1U);
    }
}

TEST(BAT, IsRefusedWhenALoopRunsPastTheSection)
{
    Roomy<CBAT> bat;
    EXPECT_FALSE(zqtest::read(bat, section_of(0x4A, fields + length_field(5) + name + Bytes{0xF0, 0x00})));
    EXPECT_FALSE(zqtest::read(bat, section({}, Bytes{0, 7, 0, 1, 0xF0, 0x01})));
    EXPECT_FALSE(zqtest::read(bat, section({}, stream(6, {0x41, 0x09, 0x00}))));
}

TEST(BAT, RendersTheDescriptorsThatItsEntriesHold)
{
    Roomy<CBAT> bat, back;
    fill(bat);
    EXPECT_EQ(bat.calc_transport_stream_loop_length(), 12U);
    zqtest::append_filled<mpegcore::service_list_descriptor>(bat.transport_streams[0]->transport_descriptors);
    const auto size = bat.transport_streams[0]->transport_descriptors.getSize();
    EXPECT_EQ(bat.calc_transport_stream_loop_length(), 12U + size);
    ASSERT_TRUE(zqtest::read(back, zqtest::rendered(bat)));
    EXPECT_EQ(back.transport_stream_loop_length, 12U + size);
    EXPECT_EQ(back.transport_streams[0]->transport_descriptors_length, size);
    EXPECT_EQ(back.bouquet_descriptors.size(), 2U);
}

TEST(BouquetAssociationStream, CopiedHasALengthOfSixMoreThanItsDescriptors)
{
    CBouquetAssociationStream source, target;
    source.transport_stream_id = 1;
    source.original_network_id = 2;
    source.reserved_future_use = 3;
    zqtest::append_filled<mpegcore::service_list_descriptor>(source.transport_descriptors);
    source.copyTo(&target);
    EXPECT_EQ(target.transport_stream_id, 1);
    EXPECT_EQ(target.original_network_id, 2);
    EXPECT_EQ(target.reserved_future_use, 3);
    EXPECT_EQ(target.transport_descriptors_length, target.transport_descriptors.getSize() + 6);
    EXPECT_EQ(target.transport_descriptors.getSize(), source.transport_descriptors.getSize());
}

TEST(BouquetAssociationStream, IsCopiedBehindWhatTheTargetHad)
{
    CBouquetAssociationStream source, target;
    zqtest::append_filled<mpegcore::service_list_descriptor>(source.transport_descriptors);
    source.copyTo(&target);
    source.copyTo(&target);
    EXPECT_EQ(target.transport_descriptors.size(), 2U);
}
} // namespace BAT_test
