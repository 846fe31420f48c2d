// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/Tables.h"

#include <gmock/gmock.h>

namespace TDT_test
{
using mpegcore::CTDT;
using mpegcore::CTOT;
using zqtest::Bytes;
using zqtest::Roomy;
using zqtest::operator+;
using zqtest::section_of;

const Bytes now{0xC0, 0x79, 0x12, 0x45, 0x00};
const Bytes time_offset{0x58, 0x0D, 'D', 'E', 'U', 0x06, 0x01, 0x00, 0xC0, 0x79, 0x12, 0x45, 0x00, 0x02, 0x00};

Bytes offset_section(const Bytes& descriptors)
{
    return section_of(0x73, now + zqtest::length_field(descriptors.size(), 13) + descriptors, 0x7);
}

TEST(TDT, ReadsItsFiveBytesOfTime)
{
    Roomy<CTDT> tdt;
    ASSERT_TRUE(zqtest::read(tdt, Bytes{0x70, 0x70, 0x05} + now));
    EXPECT_EQ(tdt.table_id, 0x70);
    EXPECT_EQ(tdt.section_length, 5);
    EXPECT_EQ(tdt.UTC_time, 0xC079124500U);
    EXPECT_FALSE(zqtest::read(tdt, Bytes{0x70, 0x70, 0x05, 0xC0, 0x79, 0x12, 0x45}));
}

TEST(TDT, IgnoresItsSectionLength)
{
    Roomy<CTDT> tdt;
    EXPECT_TRUE(zqtest::read(tdt, Bytes{0x70, 0x70, 0x00} + now));
    EXPECT_TRUE(zqtest::read(tdt, Bytes{0x70, 0x7F, 0xFF} + now));
}

TEST(TDT, MadeFromATimeRendersEightBytes)
{
    Bytes buffer(8, 0xEE);
    CTDT tdt(0xC079124500, buffer.data(), 8);
    ASSERT_TRUE(tdt.RenderTable());
    EXPECT_EQ(buffer, (Bytes{0x70, 0x30, 0x05} + now));
    EXPECT_EQ(tdt.used, 8U);
}

TEST(TDT, CopiedGetsTheLengthThatTheTargetsClassComputes)
{
    class Longer : public Roomy<CTDT>
    {
    public:
        std::uint32_t calc_section_length() const override { return 9; }
    };
    Longer target;
    Roomy<CTDT> source;
    source.UTC_time = 7;
    source.copyTo(&target);
    EXPECT_EQ(target.UTC_time, 7U);
    EXPECT_EQ(target.section_length, 9);
}

TEST(TOT, ReadsItsTimeAndDescriptors)
{
    Roomy<CTOT> tot;
    ASSERT_TRUE(zqtest::read(tot, offset_section(time_offset)));
    EXPECT_EQ(tot.UTC_time, 0xC079124500U);
    EXPECT_EQ(tot.reserved, 13);
    EXPECT_EQ(tot.descriptors_loop_length, 15);
    EXPECT_TRUE(tot.descriptors.find<mpegcore::local_time_offset_descriptor>());
}

TEST(TOT, KeepsTheLowHalfOfItsCrc)
{
    Roomy<CTOT> tot;
    const Bytes section = offset_section(time_offset);
    ASSERT_TRUE(zqtest::read(tot, section));
    EXPECT_EQ(tot.CRC_32, static_cast<unsigned>(section.end()[-2] << 8 | section.end()[-1]));
}

TEST(TOT, WithAWrongCrcIsRefusedBeforeAnyFieldIsStored)
{
    Roomy<CTOT> tot;
    fill(tot);
    const auto body = [&tot] {
        const std::string text = zqtest::fields_text(tot);
        return text.substr(text.find("utc"));
    };
    const std::string before = body();
    Bytes section = section_of(0x73, Bytes(7, 0x11), 0x7);
    section.back() ^= 1;
    EXPECT_FALSE(zqtest::read(tot, section));
    EXPECT_EQ(body(), before);
}

TEST(TOT, TooShortForItsFieldsReadsAsZeros)
{
    for (std::size_t length = 4; length < 7; ++length) {
        Roomy<CTOT> tot;
        fill(tot);
        tot.CRC_32 = 5;
        tot.descriptors.clear();
        Bytes body(length - 4, 0);
        ASSERT_TRUE(zqtest::read(tot, section_of(0x73, body, 0x7))) << length;
        EXPECT_EQ(tot.CRC_32, 0U) << length;
        if (length < 5) {
            EXPECT_EQ(tot.UTC_time, 0U);
        }
        if (length < 6) {
            EXPECT_EQ(tot.reserved, 0);
        }
        EXPECT_EQ(tot.descriptors_loop_length, 0);
    }
}

TEST(TOT, IsRefusedWhenItsDescriptorsRunPastTheSection)
{
    Roomy<CTOT> tot;
    EXPECT_FALSE(zqtest::read(tot, section_of(0x73, now + Bytes{0xF0, 0x05}, 0x7)));
    EXPECT_FALSE(zqtest::read(tot, section_of(0x73, now + Bytes{0xFF, 0xFF} + time_offset, 0x7)));
    EXPECT_FALSE(zqtest::read(tot, offset_section({0x58, 0x09, 'D', 'E', 'U'})));
}

TEST(TOT, WithoutDescriptorsRendersFourteenBytes)
{
    Roomy<CTOT> tot;
    tot.table_id = 0x73;
    tot.UTC_time = 0xC079124500;
    const Bytes bytes = zqtest::rendered(tot);
    ASSERT_EQ(bytes.size(), 14U);
    EXPECT_EQ(tot.CRC_32, mpegcore::crc32_mpeg2_bytewise(bytes.data(), 10));
    EXPECT_EQ(mpegcore::crc32_mpeg2_bytewise(bytes.data(), 14), 0U);
}

TEST(TOT, TakesTheLengthOfItsDescriptorsWhenItIsRendered)
{
    Roomy<CTOT> tot;
    fill(tot);
    const Bytes good = zqtest::rendered(tot);
    tot.descriptors_loop_length = 1;
    EXPECT_EQ(zqtest::rendered(tot), good);
    EXPECT_EQ(tot.descriptors_loop_length, tot.descriptors.getSize());
}
} // namespace TDT_test
