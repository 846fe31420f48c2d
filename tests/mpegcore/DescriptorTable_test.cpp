// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/CAT.h"
#include "mpegcore/TSDT.h"
#include "support/Tables.h"

#include <gmock/gmock.h>

namespace DescriptorTable_test
{
using zqtest::Bytes;
using zqtest::Roomy;
using zqtest::operator+;
using zqtest::section_of;

// reserved 0x3A5F2, version 10, current, section 1 of 2.
const Bytes fields{0xE9, 0x7C, 0x95, 0x01, 0x02};
const Bytes conditional_access{0x09, 0x04, 0x18, 0x33, 0xE1, 0x00};

template <class Table>
class CatAndTsdt : public testing::Test
{
protected:
    Roomy<Table> table;
};
using both = testing::Types<mpegcore::CCAT, mpegcore::CTSDT>;

TYPED_TEST_SUITE(CatAndTsdt, both);

TYPED_TEST(CatAndTsdt, ReadTheirFieldsAndDescriptors)
{
    auto& t = this->table;
    ASSERT_TRUE(zqtest::read(t, section_of(0x01, fields + conditional_access)));
    EXPECT_EQ(t.reserved, 0x3A5F2U);
    EXPECT_EQ(t.version_number, 10);
    EXPECT_EQ(t.current_next_indicator, 1);
    EXPECT_EQ(t.section_number, 1);
    EXPECT_EQ(t.last_section_number, 2);
    const auto ca = std::dynamic_pointer_cast<mpegcore::CA_descriptor>(t.descriptors.find(9));
    ASSERT_TRUE(ca);
    EXPECT_EQ(ca->CA_PID, 0x0100);
}

TYPED_TEST(CatAndTsdt, WithoutDescriptorsReadAndLeaveTheirCrcAtZero)
{
    auto& t = this->table;
    t.CRC_32 = 1;
    ASSERT_TRUE(zqtest::read(t, section_of(0x01, fields)));
    EXPECT_EQ(t.section_length, 9);
    EXPECT_EQ(t.CRC_32, 0U);
    EXPECT_EQ(t.version_number, 10);
}

TYPED_TEST(CatAndTsdt, NeedNineBytesWhenEmpty) { EXPECT_EQ(this->table.calc_section_length(), 9U); }

TYPED_TEST(CatAndTsdt, DoNotCheckTheirTableId)
{
    EXPECT_TRUE(zqtest::read(this->table, section_of(0x77, fields + conditional_access)));
}

TYPED_TEST(CatAndTsdt, AreRefusedForADescriptorThatRunsPastTheLoop)
{
    EXPECT_FALSE(zqtest::read(this->table, section_of(0x01, fields + Bytes{0x09, 0x05, 0x18, 0x33, 0xE1, 0x00})));
}

TYPED_TEST(CatAndTsdt, IgnoreOneOrTwoBytesBehindTheLastDescriptor)
{
    ASSERT_TRUE(zqtest::read(this->table, section_of(0x01, fields + conditional_access + Bytes{0x09, 0x00})));
    EXPECT_EQ(this->table.descriptors.size(), 1U);
}
} // namespace DescriptorTable_test
