// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/Tables.h"

#include <gmock/gmock.h>

namespace SDT_test
{
using mpegcore::CSDT;
using zqtest::Bytes;
using zqtest::length_field;
using zqtest::Roomy;
using zqtest::operator+;
using zqtest::section_of;

// transport_stream_id 0x1234, reserved 3, version 10, current, section 1 of 2, original_network_id 0x5678, 0xA5.
const Bytes fields{0x12, 0x34, 0xD5, 0x01, 0x02, 0x56, 0x78, 0xA5};
const Bytes name{0x48, 0x05, 0x01, 0x00, 0x02, 'T', 'V'};

Bytes service(std::uint8_t id, const Bytes& descriptors, unsigned status_bits = 0x9)
{
    return Bytes{0x00, id, 0xFE} + length_field(descriptors.size(), status_bits) + descriptors;
}

TEST(SDT, ReadsItsFieldsAndServices)
{
    Roomy<CSDT> sdt;
    ASSERT_TRUE(zqtest::read(sdt, section_of(0x42, fields + service(7, name))));
    EXPECT_EQ(sdt.transport_stream_id, 0x1234);
    EXPECT_EQ(sdt.reserved, 3);
    EXPECT_EQ(sdt.version_number, 10);
    EXPECT_EQ(sdt.original_network_id, 0x5678);
    EXPECT_EQ(sdt.reserved_future_use, 0xA5);
    ASSERT_EQ(sdt.services.count(7), 1U);
    const auto& entry = *sdt.services[7];
    EXPECT_EQ(entry.service_id, 7);
    EXPECT_EQ(entry.reserved_future_use, 0x3F);
    EXPECT_EQ(entry.EIT_schedule_flag, 1);
    EXPECT_EQ(entry.EIT_present_following_flag, 0);
    EXPECT_EQ(entry.running_status, 4);
    EXPECT_EQ(entry.free_CA_mode, 1);
    EXPECT_EQ(entry.descriptors_loop_length, 7);
    EXPECT_TRUE(entry.descriptors.find<mpegcore::service_descriptor>());
}

TEST(SDT, WithoutServicesReadsToAnEmptyMapAndNeedsTwelveBytes)
{
    Roomy<CSDT> sdt;
    ASSERT_TRUE(zqtest::read(sdt, section_of(0x42, fields)));
    EXPECT_TRUE(sdt.services.empty());
    EXPECT_EQ(sdt.calc_section_length(), 12U);
}

TEST(SDT, KeepsTheSecondOfTwoServicesWithOneId)
{
    Roomy<CSDT> sdt;
    ASSERT_TRUE(zqtest::read(sdt, section_of(0x42, fields + service(7, name) + service(7, {}, 0x2))));
    ASSERT_EQ(sdt.services.size(), 1U);
    EXPECT_EQ(sdt.services[7]->running_status, 1);
    EXPECT_TRUE(sdt.services[7]->descriptors.empty());
}

TEST(SDT, IsRefusedWhenAServiceIsLongerThanWhatIsLeft)
{
    Roomy<CSDT> sdt;
    EXPECT_FALSE(zqtest::read(sdt, section_of(0x42, fields + Bytes{0x00, 0x07, 0xFE, 0x90, 0x08} + name)));
    EXPECT_FALSE(zqtest::read(sdt, section_of(0x42, fields + Bytes{0x00, 0x07, 0xFE, 0x9F, 0xFF} + name)));
}

TEST(SDT, IsRefusedWhenItIsTooShortForItsFields)
{
    Roomy<CSDT> sdt;
    EXPECT_FALSE(zqtest::read(sdt, section_of(0x42, Bytes(fields.begin(), fields.end() - 1))));
}

TEST(SDT, KeepsTheServicesReadBeforeABadOneUntilItIsCleared)
{
    Roomy<CSDT> sdt;
    EXPECT_FALSE(zqtest::read(sdt, section_of(0x42, fields + service(7, name) + service(8, {0x48, 0x09, 0x01}))));
    EXPECT_EQ(sdt.services.size(), 1U);
    sdt.Clear();
    EXPECT_TRUE(sdt.services.empty());
}

TEST(SDT, EndsItsServicesWhereTheSectionEndsNotWhereTheDataEnd)
{
    Roomy<CSDT> sdt;
    ASSERT_TRUE(zqtest::read(sdt, section_of(0x42, fields + service(7, {}) + Bytes(4, 0)) + service(8, {})));
    EXPECT_EQ(sdt.services.size(), 1U);
}

TEST(SDT, RendersTheLengthsThatItsDescriptorsNeed)
{
    Roomy<CSDT> sdt;
    fill(sdt);
    const Bytes good = zqtest::rendered(sdt);
    sdt.services[5]->descriptors_loop_length = 1;
    EXPECT_EQ(zqtest::rendered(sdt), good);
}

TEST(Service, IsCopiedOverWhatTheTargetHad)
{
    Roomy<CSDT> sdt;
    fill(sdt);
    mpegcore::CServiceDescriptionSection target;
    sdt.services[5]->copyTo(&target);
    sdt.services[5]->copyTo(&target);
    EXPECT_EQ(target.descriptors.size(), 1U);
    EXPECT_EQ(target.descriptors_loop_length, target.descriptors.getSize());
    EXPECT_EQ(target.service_id, 5);
}
} // namespace SDT_test
