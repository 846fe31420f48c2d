// SPDX-License-Identifier: LGPL-2.1-or-later
// Tables whose descriptor_dictionary is Standard: every loop is read whole and rendered again byte for byte.
#include "support/empty_descriptors.h"

namespace standard_loops_test
{
using namespace mpegcore;
using zqtest::Bytes;
using zqtest::length_field;
using zqtest::Roomy;
using zqtest::operator+;

template <class Table>
class StandardLoops : public testing::Test
{};

using tables_with_loops = testing::Types<CPMT, CCAT, CTSDT, CNIT, CBAT, CSDT, CEIT, CTOT>;
TYPED_TEST_SUITE(StandardLoops, tables_with_loops);

TYPED_TEST(StandardLoops, AreReadWholeWhereTheStatedDictionaryDropsAnEmptyDescriptor)
{
    Roomy<TypeParam> table, stated, standard;
    zqtest::fill(table);
    zqtest::end_last_loop(table);
    const Bytes section = zqtest::rendered(table);
    ASSERT_TRUE(zqtest::read(stated, section));
    EXPECT_EQ(zqtest::rendered(stated).size(), section.size() - 2);

    standard.descriptor_dictionary = ZQDescriptorType::Standard;
    ASSERT_TRUE(zqtest::read(standard, section));
    EXPECT_EQ(zqtest::rendered(standard), section);
    Roomy<TypeParam> copy;
    standard.copyTo(&copy);
    EXPECT_EQ(zqtest::rendered(copy), section);
    EXPECT_EQ(copy.descriptor_dictionary, ZQDescriptorType::TS);
}

TEST(NitByTheStandard, ReadsT2CellsThatTheStatedDictionaryFailsAt)
{
    const Bytes cells =
        Bytes{0x7F, 0x0D, 0x04, 1, 0, 1, 0, 2} + Bytes{0x00, 0x63, 4, 0, 0, 0, 0} + Bytes{0x41, 0x03, 0x00, 0x07, 0x01};
    const Bytes stream = Bytes{0x00, 0x06, 0x56, 0x78} + length_field(cells.size()) + cells;
    const Bytes section = zqtest::section_of(
        0x40, Bytes{0x12, 0x34, 0xD5, 0x00, 0x00} + length_field(0) + length_field(stream.size()) + stream, 0xF);
    Roomy<CNIT> stated, standard;
    EXPECT_FALSE(zqtest::read(stated, section));
    standard.descriptor_dictionary = ZQDescriptorType::Standard;
    ASSERT_TRUE(zqtest::read(standard, section));
    ASSERT_EQ(standard.transport_streams.size(), 1U);
    const ZQDescriptorList& read = standard.transport_streams[0]->descriptors;
    ASSERT_NE(read.find<standard_T2_delivery_system_descriptor>(), nullptr);
    EXPECT_EQ(read.find<standard_T2_delivery_system_descriptor>()->cells.at(0).cell_id, 0x63);
    EXPECT_NE(read.find<service_list_descriptor>(), nullptr);
    EXPECT_EQ(zqtest::rendered(standard), section);
}
} // namespace standard_loops_test
