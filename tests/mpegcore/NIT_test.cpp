// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/Tables.h"

#include <gmock/gmock.h>

namespace NIT_test
{
using mpegcore::CNIT;
using zqtest::Bytes;
using zqtest::length_field;
using zqtest::Roomy;
using zqtest::operator+;
using zqtest::section_of;

// network_id 0x1234, reserved 3, version 10, current, section 1 of 2.
const Bytes fields{0x12, 0x34, 0xD5, 0x01, 0x02};
const Bytes name{0x40, 0x02, 'T', 'V'};
const Bytes services{0x41, 0x03, 0x00, 0x07, 0x01};

Bytes stream(std::uint8_t id, const Bytes& descriptors)
{
    return Bytes{0x00, id, 0x56, 0x78} + length_field(descriptors.size(), 11) + descriptors;
}

Bytes section(const Bytes& network_descriptors, const Bytes& streams)
{
    return section_of(0x40, fields + length_field(network_descriptors.size(), 9) + network_descriptors +
                                length_field(streams.size(), 10) + streams);
}

TEST(NIT, ReadsItsFieldsDescriptorsAndStreams)
{
    Roomy<CNIT> nit;
    ASSERT_TRUE(zqtest::read(nit, section(name, stream(6, services))));
    EXPECT_EQ(nit.network_id, 0x1234);
    EXPECT_EQ(nit.reserved, 3);
    EXPECT_EQ(nit.version_number, 10);
    EXPECT_EQ(nit.reserved_future_use, 9);
    EXPECT_EQ(nit.network_descriptors_length, 4);
    EXPECT_TRUE(nit.network_descriptors.find<mpegcore::network_name_descriptor>());
    EXPECT_EQ(nit.reserved_future_use2, 10);
    EXPECT_EQ(nit.transport_stream_loop_length, 11);
    ASSERT_EQ(nit.transport_streams.size(), 1U);
    const auto& entry = *nit.transport_streams[0];
    EXPECT_EQ(entry.transport_stream_id, 6);
    EXPECT_EQ(entry.original_network_id, 0x5678);
    EXPECT_EQ(entry.reserved_future_use, 11);
    EXPECT_EQ(entry.transport_descriptors_length, 5);
    EXPECT_TRUE(entry.descriptors.find<mpegcore::service_list_descriptor>());
}

TEST(NIT, WithoutLoopsNeedsThirteenBytes)
{
    Roomy<CNIT> nit;
    EXPECT_EQ(nit.calc_section_length(), 13U);
    ASSERT_TRUE(zqtest::read(nit, section({}, {})));
    EXPECT_EQ(nit.section_length, 13);
    EXPECT_TRUE(nit.transport_streams.empty());
}

TEST(NIT, IgnoresOneToFiveStrayBytesAtTheEndOfItsLoop)
{
    for (std::size_t stray = 1; stray <= 5; ++stray) {
        Roomy<CNIT> nit;
        const Bytes bytes = section(name, stream(6, services) + Bytes(stray, 0xFF));
        ASSERT_TRUE(zqtest::read(nit, bytes)) << stray;
        EXPECT_EQ(nit.transport_streams.size(), 1U);
        EXPECT_EQ(nit.CRC_32, mpegcore::crc32_mpeg2(bytes.data(), bytes.size() - 4));
    }
}

TEST(NIT, KeepsTwoEntriesOfOneStreamInStreamOrder)
{
    Roomy<CNIT> nit;
    ASSERT_TRUE(zqtest::read(nit, section({}, stream(7, services) + stream(6, {}) + stream(7, {}))));
    ASSERT_EQ(nit.transport_streams.size(), 3U);
    EXPECT_EQ(nit.transport_streams[0]->transport_stream_id, 7);
    EXPECT_EQ(nit.transport_streams[1]->transport_stream_id, 6);
    EXPECT_EQ(nit.transport_streams[2]->transport_stream_id, 7);
}

TEST(NIT, EndsItsLoopWhereTheLoopLengthSays)
{
    Roomy<CNIT> nit;
    ASSERT_TRUE(zqtest::read(
        nit, section_of(0x40, fields + Bytes{0xF0, 0x00} + length_field(6) + stream(7, {}) + stream(6, {}))));
    EXPECT_EQ(nit.transport_streams.size(), 1U);
}

TEST(NIT, IsRefusedWhenALoopRunsPastTheSection)
{
    Roomy<CNIT> nit;
    EXPECT_FALSE(zqtest::read(nit, section_of(0x40, fields + length_field(5) + name + Bytes{0xF0, 0x00})));
    EXPECT_FALSE(zqtest::read(nit, section_of(0x40, fields + Bytes{0xF0, 0x00} + length_field(12) + stream(7, {}))));
    EXPECT_FALSE(zqtest::read(nit, section({}, Bytes{0, 7, 0, 1, 0xF0, 0x01})));
    EXPECT_FALSE(zqtest::read(nit, section_of(0x40, fields + Bytes{0xF0, 0x00})));
}

TEST(NIT, IsRefusedForABadDescriptorInEitherLoop)
{
    Roomy<CNIT> nit;
    EXPECT_FALSE(zqtest::read(nit, section({0x40, 0x09, 'T', 'V'}, {})));
    EXPECT_FALSE(zqtest::read(nit, section({}, stream(6, {0x41, 0x09, 0x00}))));
}

TEST(NIT, RendersTheLengthsThatItsDescriptorsNeed)
{
    Roomy<CNIT> nit;
    fill(nit);
    const Bytes good = zqtest::rendered(nit);
    nit.network_descriptors_length = nit.transport_stream_loop_length = 1;
    nit.transport_streams[0]->transport_descriptors_length = 1;
    EXPECT_EQ(zqtest::rendered(nit), good);
}

TEST(TransportStream, IsCopiedOverWhatTheTargetHad)
{
    Roomy<CNIT> nit;
    fill(nit);
    mpegcore::CBaseTransportStream target;
    nit.transport_streams[0]->copyTo(&target);
    nit.transport_streams[0]->copyTo(&target);
    EXPECT_EQ(target.descriptors.size(), 1U);
    EXPECT_EQ(target.transport_descriptors_length, target.descriptors.getSize());
    EXPECT_EQ(target.reserved_future_use, 11);
}
} // namespace NIT_test
