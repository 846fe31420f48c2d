// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/BaseMpegParser.h"
#include "support/Stream.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>

namespace AdaptationField_test
{
using mpegcore::adaptation_field_record;
using mpegcore::transport_packet;
using zqtest::Bytes;

/// The 184 bytes behind a packet header, of which `field` are the first.
class AdaptationField : public testing::Test
{
protected:
    bool parse(const Bytes& field, unsigned char filler = 0xFF)
    {
        payload = Bytes(184, filler);
        std::copy(field.begin(), field.end(), payload.begin());
        packet = transport_packet{};
        packet.adaptation_field_control = 3;
        packet.payload = payload.data();
        packet.payload_size = payload.size();
        return mpegcore::CBaseMpegParser::ParserAdaptationField(packet);
    }

    const adaptation_field_record& field() const { return packet.adaptation_field; }

    bool is_zero() const
    {
        static const adaptation_field_record zero{};
        return std::memcmp(&field(), &zero, sizeof zero) == 0;
    }

    Bytes payload;
    transport_packet packet{};
};

TEST_F(AdaptationField, OfLengthZeroIsAllZero)
{
    EXPECT_TRUE(parse({0}));
    EXPECT_TRUE(is_zero());
}

TEST_F(AdaptationField, LongerThan183BytesIsRefusedAndLeftZero)
{
    EXPECT_TRUE(parse({183, 0}));
    EXPECT_EQ(field().adaptation_field_length, 183);
    for (unsigned length = 184; length < 256; ++length) {
        EXPECT_FALSE(parse({static_cast<unsigned char>(length), 0}));
        EXPECT_TRUE(is_zero());
    }
}

TEST_F(AdaptationField, HasItsFlagsInOrder)
{
    EXPECT_TRUE(parse({1, 0xA0}));
    EXPECT_EQ(field().discontinuity_indicator, 1);
    EXPECT_EQ(field().random_access_indicator, 0);
    EXPECT_EQ(field().elementary_stream_priority_indicator, 1);
    EXPECT_EQ(field().PCR_flag, 0);
    EXPECT_TRUE(parse({1, 0x4F}, 0x00));
    EXPECT_EQ(field().discontinuity_indicator, 0);
    EXPECT_EQ(field().random_access_indicator, 1);
    EXPECT_EQ(field().OPCR_flag, 1);
    EXPECT_EQ(field().splicing_point_flag, 1);
    EXPECT_EQ(field().transport_private_data_flag, 1);
    EXPECT_EQ(field().adaptation_field_extension_flag, 1);
}

TEST_F(AdaptationField, HoldsBothClockReferences)
{
    EXPECT_TRUE(parse(Bytes{13, 0x18, 0xC0, 0x00, 0x00, 0x00, 0xD5, 0x2B, 0x00, 0x00, 0x00, 0x01, 0xFE, 0x05}));
    EXPECT_EQ(field().program_clock_reference_base, 0x180000001U);
    EXPECT_EQ(field().reserved, 0x2A);
    EXPECT_EQ(field().program_clock_reference_extension, 0x12B);
    EXPECT_EQ(field().original_program_clock_reference_base, 3U);
    EXPECT_EQ(field().reserved2, 0x3F);
    EXPECT_EQ(field().original_program_clock_reference_extension, 5);
}

TEST_F(AdaptationField, HoldsTheSpliceCountdownAsItsEightBits)
{
    EXPECT_TRUE(parse({2, 0x04, 0xFE}));
    EXPECT_EQ(field().splice_countdown, 0xFE);
}

TEST_F(AdaptationField, HoldsPrivateData)
{
    EXPECT_TRUE(parse({5, 0x02, 3, 'a', 'b', 'c'}));
    EXPECT_EQ(field().transport_private_data_length, 3);
    EXPECT_EQ(field().private_data_byte[0], 'a');
    EXPECT_EQ(field().private_data_byte[2], 'c');
    EXPECT_EQ(field().private_data_byte[3], 0);
}

TEST_F(AdaptationField, WithPrivateDataLongerThan188BytesIsRefused)
{
    EXPECT_FALSE(parse({183, 0x02, 189}));
    EXPECT_TRUE(is_zero());
}

TEST_F(AdaptationField, WithMorePrivateDataThanThePacketHoldsKeepsWhatIsThere)
{
    EXPECT_TRUE(parse({183, 0x03, 188}, 0x11));
    EXPECT_EQ(field().transport_private_data_length, 188);
    EXPECT_EQ(field().private_data_byte[180], 0x11);
    EXPECT_EQ(field().private_data_byte[181], 0);
    EXPECT_EQ(field().adaptation_field_extension_length, 0) << "the data had run out";
}

TEST_F(AdaptationField, HoldsItsExtension)
{
    EXPECT_TRUE(parse({13, 0x01, 11, 0xF5, 0x92, 0x34, 0xAA, 0x55, 0x66, 0x7B, 0x12, 0x35, 0x67, 0x89}));
    EXPECT_EQ(field().adaptation_field_extension_length, 11);
    EXPECT_EQ(field().ltw_flag, 1);
    EXPECT_EQ(field().piecewise_rate_flag, 1);
    EXPECT_EQ(field().seamless_splice_flag, 1);
    EXPECT_EQ(field().reserved3, 0x15);
    EXPECT_EQ(field().ltw_valid_flag, 1);
    EXPECT_EQ(field().ltw_offset, 0x1234);
    EXPECT_EQ(field().reserved4, 2);
    EXPECT_EQ(field().piecewise_rate, 0x2A5566U);
    EXPECT_EQ(field().splice_type, 7);
    EXPECT_EQ(field().DTS_next_AU_32_30, 5);
    EXPECT_EQ(field().marker_bit, 1);
    EXPECT_EQ(field().DTS_next_AU_29_15, 0x1235 >> 1);
    EXPECT_EQ(field().marker_bit2, 1);
    EXPECT_EQ(field().DTS_next_AU_14_0, 0x6789 >> 1);
    EXPECT_EQ(field().marker_bit3, 1);
}

TEST_F(AdaptationField, HoldsThePartsOfItsExtensionThatTheFlagsName)
{
    EXPECT_TRUE(parse({5, 0x01, 3, 0x5F, 0xC0, 0x00, 0x01}));
    EXPECT_EQ(field().ltw_offset, 0);
    EXPECT_EQ(field().reserved4, 3);
    EXPECT_EQ(field().piecewise_rate, 1U);
    EXPECT_EQ(field().splice_type, 0);
}

// A PCR alone is read in another way.
TEST_F(AdaptationField, HasTheSamePCRWithAndWithoutAnOriginalOne)
{
    std::mt19937 random(3);
    for (int count = 0; count < 10000; ++count) {
        Bytes bytes(14);
        std::generate(bytes.begin(), bytes.end(), [&random] { return static_cast<unsigned char>(random()); });
        bytes[0] = static_cast<unsigned char>(1 + bytes[0] % 183);
        bytes[1] = (bytes[1] & 0xE0U) | 0x18U;
        ASSERT_TRUE(parse(bytes));
        adaptation_field_record with_original = field();
        EXPECT_EQ(with_original.OPCR_flag, 1);
        with_original.OPCR_flag = 0;
        with_original.original_program_clock_reference_base = 0;
        with_original.reserved2 = 0;
        with_original.original_program_clock_reference_extension = 0;
        bytes[1] &= 0xF7U;
        ASSERT_TRUE(parse(bytes));
        EXPECT_EQ(std::memcmp(&field(), &with_original, sizeof with_original), 0);
    }
}

TEST_F(AdaptationField, OfAShortPayloadHasThePCRFieldsThatAreWhole)
{
    Bytes bytes{7, 0x10, 0x00, 0x00, 0x00, 0x01, 0xFE, 0x05};
    for (std::size_t size = 0; size <= bytes.size(); ++size) {
        const std::unique_ptr<unsigned char[]> block(new unsigned char[size]);
        std::copy_n(bytes.begin(), size, block.get());
        packet = transport_packet{};
        packet.payload = block.get();
        packet.payload_size = size;
        EXPECT_TRUE(mpegcore::CBaseMpegParser::ParserAdaptationField(packet));
        EXPECT_EQ(field().adaptation_field_length, size >= 1 ? 7 : 0);
        EXPECT_EQ(field().PCR_flag, size >= 2 ? 1 : 0);
        EXPECT_EQ(field().program_clock_reference_base, size >= 7 ? 3U : 0U) << size;
        EXPECT_EQ(field().reserved, size >= 7 ? 0x3F : 0) << size;
        EXPECT_EQ(field().program_clock_reference_extension, size >= 8 ? 5 : 0) << size;
    }
}

TEST_F(AdaptationField, IsNotHeldAgainstItsLength)
{
    EXPECT_TRUE(parse(Bytes{1, 0x10, 0x00, 0x00, 0x00, 0x01, 0xFE, 0x05}));
    EXPECT_EQ(field().adaptation_field_length, 1);
    EXPECT_EQ(field().program_clock_reference_base, 3U);
    EXPECT_EQ(field().program_clock_reference_extension, 5);
}

TEST_F(AdaptationField, WhereTheDataRunOutHasZerosFromThereOn)
{
    // 178 bytes of private data leave one byte and 7 bits less than the extension needs.
    Bytes bytes{183, 0x03, 178};
    bytes.resize(181, 0x22);
    bytes.insert(bytes.end(), {1, 0x9F, 0xFF});
    EXPECT_TRUE(parse(bytes));
    EXPECT_EQ(field().adaptation_field_extension_length, 1);
    EXPECT_EQ(field().ltw_flag, 1);
    EXPECT_EQ(field().ltw_valid_flag, 1);
    EXPECT_EQ(field().ltw_offset, 0) << "7 of its 15 bits were there";
}

TEST_F(AdaptationField, OfEveryLengthAndEveryFlagIsReadWithinThePacket)
{
    for (unsigned length = 0; length < 256; ++length)
        for (unsigned flags = 0; flags < 256; ++flags)
            for (const unsigned char filler : {0x00, 0x55, 0xBC, 0xFF}) {
                const Bytes bytes{static_cast<unsigned char>(length), static_cast<unsigned char>(flags)};
                const bool good = parse(bytes, filler);
                EXPECT_TRUE(good || length > 183 || (flags & 2U) != 0);
            }
}
} // namespace AdaptationField_test
