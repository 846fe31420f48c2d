// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/Tables.h"

#include <gmock/gmock.h>

namespace PMT_test
{
using mpegcore::CPMT;
using zqtest::Bytes;
using zqtest::length_field;
using zqtest::Roomy;
using zqtest::operator+;
using zqtest::section_of;

// program_number 0x1234, reserved 3, version 10, current, section 1 of 2, reserved 5, PCR_PID 0x0101.
const Bytes fields{0x12, 0x34, 0xD5, 0x01, 0x02, 0xA1, 0x01};
const Bytes no_descriptors{0xF0, 0x00};
const Bytes stream_identifier{0x52, 0x01, 0x33};

Bytes stream(std::uint8_t type, const Bytes& descriptors)
{
    return Bytes{type, 0xE1, 0x02} + length_field(descriptors.size()) + descriptors;
}

TEST(PMT, ReadsItsFieldsStreamsAndDescriptors)
{
    Roomy<CPMT> pmt;
    ASSERT_TRUE(zqtest::read(
        pmt, section_of(0x02, fields + length_field(3, 9) + stream_identifier + stream(0x1B, stream_identifier))));
    EXPECT_EQ(pmt.program_number, 0x1234);
    EXPECT_EQ(pmt.reserved, 3);
    EXPECT_EQ(pmt.version_number, 10);
    EXPECT_EQ(pmt.current_next_indicator, 1);
    EXPECT_EQ(pmt.section_number, 1);
    EXPECT_EQ(pmt.last_section_number, 2);
    EXPECT_EQ(pmt.reserved2, 5);
    EXPECT_EQ(pmt.PCR_PID, 0x0101);
    EXPECT_EQ(pmt.reserved3, 9);
    EXPECT_EQ(pmt.program_info_length, 3);
    EXPECT_TRUE(pmt.descriptors.find(0x52));
    ASSERT_EQ(pmt.streams.count(0x0102), 1U);
    const auto& entry = *pmt.streams[0x0102];
    EXPECT_EQ(entry.stream_type, 0x1B);
    EXPECT_EQ(entry.reserved, 7);
    EXPECT_EQ(entry.elementary_PID, 0x0102);
    EXPECT_EQ(entry.reserved2, 15);
    EXPECT_EQ(entry.ES_info_length, 3);
    EXPECT_EQ(entry.descriptors.size(), 1U);
}

TEST(PMT, WithAPrivateIndicatorIsRefused)
{
    Roomy<CPMT> pmt;
    EXPECT_FALSE(zqtest::read(pmt, section_of(0x02, fields + no_descriptors, 0xF)));
}

TEST(PMT, OfAnotherTableIdIsRefused)
{
    Roomy<CPMT> pmt;
    EXPECT_FALSE(zqtest::read(pmt, section_of(0x03, fields + no_descriptors)));
}

TEST(PMT, DoesNotCheckItsSyntaxIndicator)
{
    Roomy<CPMT> pmt;
    EXPECT_TRUE(zqtest::read(pmt, section_of(0x02, fields + no_descriptors, 0x3)));
}

TEST(PMT, WithoutStreamsReads)
{
    Roomy<CPMT> pmt;
    ASSERT_TRUE(zqtest::read(pmt, section_of(0x02, fields + no_descriptors)));
    EXPECT_EQ(pmt.section_length, 13);
    EXPECT_TRUE(pmt.streams.empty());
}

TEST(PMT, KeepsTheSecondOfTwoStreamsWithOnePid)
{
    Roomy<CPMT> pmt;
    ASSERT_TRUE(zqtest::read(pmt, section_of(0x02, fields + no_descriptors + stream(1, {}) + stream(2, {}))));
    ASSERT_EQ(pmt.streams.size(), 1U);
    EXPECT_EQ(pmt.streams[0x0102]->stream_type, 2);
}

TEST(PMT, IgnoresUpToFourStrayBytesBehindItsStreams)
{
    for (std::size_t stray = 1; stray <= 4; ++stray) {
        Roomy<CPMT> pmt;
        const Bytes section = section_of(0x02, fields + no_descriptors + stream(1, {}) + Bytes(stray, 0xFF));
        ASSERT_TRUE(zqtest::read(pmt, section)) << stray;
        EXPECT_EQ(pmt.streams.size(), 1U);
        EXPECT_EQ(pmt.CRC_32, mpegcore::crc32_mpeg2(section.data(), section.size() - 4));
    }
}

TEST(PMT, IsRefusedWhenADescriptorLoopRunsPastItsEnd)
{
    Roomy<CPMT> pmt;
    EXPECT_FALSE(zqtest::read(pmt, section_of(0x02, fields + length_field(1))));
    EXPECT_FALSE(zqtest::read(pmt, section_of(0x02, fields + length_field(5) + stream_identifier)));
    EXPECT_FALSE(zqtest::read(pmt, section_of(0x02, fields + no_descriptors + Bytes{1, 0xE1, 0x02, 0xF0, 0x01})));
    EXPECT_FALSE(zqtest::read(pmt, section_of(0x02, fields + no_descriptors + Bytes{1, 0xE1, 0x02, 0xFF, 0xFF})));
}

TEST(PMT, IsRefusedWhenItIsTooShortForItsFields)
{
    Roomy<CPMT> pmt;
    EXPECT_FALSE(zqtest::read(pmt, section_of(0x02, fields)));
}

TEST(PMT, IsRefusedForABadDescriptorAndKeepsNoHalfReadStream)
{
    Roomy<CPMT> pmt;
    EXPECT_FALSE(
        zqtest::read(pmt, section_of(0x02, fields + no_descriptors + stream(1, {}) + stream(2, {0x52, 0x09, 0x33}))));
    ASSERT_EQ(pmt.streams.size(), 1U);
    EXPECT_EQ(pmt.streams[0x0102]->stream_type, 1);
}

TEST(PMT, OfTwoStreamsWithoutDescriptorsNeedsTwentyThreeBytes)
{
    Roomy<CPMT> pmt;
    pmt.streams[1] = std::make_shared<mpegcore::CBaseStreamTypeMap>();
    pmt.streams[2] = std::make_shared<mpegcore::CBaseStreamTypeMap>();
    EXPECT_EQ(pmt.calc_section_length(), 13U + 10U);
}

TEST(PMT, RendersTheLengthsThatItsDescriptorsNeed)
{
    Roomy<CPMT> pmt;
    fill(pmt);
    const Bytes good = zqtest::rendered(pmt);
    pmt.program_info_length = 1;
    pmt.streams[0x0101]->ES_info_length = 0xFFF;
    EXPECT_EQ(zqtest::rendered(pmt), good);
}

TEST(PMT, DoesNotRenderWhenADescriptorDisagreesWithItsLength)
{
    Roomy<CPMT> pmt;
    fill(pmt);
    auto wrong = std::make_shared<mpegcore::STD_descriptor>();
    wrong->descriptor_length = 7;
    pmt.descriptors.append(wrong);
    EXPECT_FALSE(pmt.RenderTable());
    EXPECT_EQ(pmt.used, 0U);
}

TEST(PMT, CopiesItsStreamsIntoEntriesOfTheirOwn)
{
    Roomy<CPMT> pmt, copy;
    fill(pmt);
    pmt.copyTo(&copy);
    ASSERT_EQ(copy.streams.size(), 2U);
    EXPECT_NE(copy.streams[0x0101], pmt.streams[0x0101]);
    EXPECT_EQ(copy.streams[0x0101]->ES_info_length, copy.streams[0x0101]->descriptors.getSize());
}

TEST(PMT, IsNotDifferentBySectionNumberCrcAndContentsOfItsLoops)
{
    Roomy<CPMT> a, b;
    fill(a);
    fill(b);
    b.section_number ^= 1;
    b.CRC_32 ^= 1;
    b.descriptors.clear();
    b.streams[0x0021]->stream_type ^= 1;
    EXPECT_FALSE(a != b);
}

TEST(PMT, IsDifferentByEachComparedField)
{
    const auto differs = [](auto change) {
        Roomy<CPMT> a, b;
        fill(a);
        fill(b);
        change(b);
        return a != b;
    };
    EXPECT_TRUE(differs([](CPMT& t) { t.table_id ^= 1; }));
    EXPECT_TRUE(differs([](CPMT& t) { t.section_syntax_indicator ^= 1; }));
    EXPECT_TRUE(differs([](CPMT& t) { t.private_indicator ^= 1; }));
    EXPECT_TRUE(differs([](CPMT& t) { t.section_length ^= 1; }));
    EXPECT_TRUE(differs([](CPMT& t) { t.program_number ^= 1; }));
    EXPECT_TRUE(differs([](CPMT& t) { t.reserved ^= 1; }));
    EXPECT_TRUE(differs([](CPMT& t) { t.version_number ^= 1; }));
    EXPECT_TRUE(differs([](CPMT& t) { t.current_next_indicator ^= 1; }));
    EXPECT_TRUE(differs([](CPMT& t) { t.last_section_number ^= 1; }));
    EXPECT_TRUE(differs([](CPMT& t) { t.reserved2 ^= 1; }));
    EXPECT_TRUE(differs([](CPMT& t) { t.PCR_PID ^= 1; }));
    EXPECT_TRUE(differs([](CPMT& t) { t.reserved3 ^= 1; }));
    EXPECT_TRUE(differs([](CPMT& t) { t.program_info_length ^= 1; }));
    EXPECT_TRUE(differs([](CPMT& t) { t.streams.clear(); }));
}
} // namespace PMT_test
