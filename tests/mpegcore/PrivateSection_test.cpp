// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/PrivateSection.h"

#include "mpegcore/TablePrinter.h"
#include "support/Tables.h"

#include <gtest/gtest.h>

#include <random>

namespace PrivateSection_test
{
using namespace mpegcore;
using zqtest::Bytes;
using zqtest::section_of;

std::string json_of(const Bytes& section)
{
    const auto table = table_of_section(section.data(), section.size());
    return table == nullptr ? "none" : to_json(*table);
}

TEST(PrivateSection, HasItsHeaderAndItsBytes)
{
    EXPECT_EQ(json_of({0x90, 0x30, 0x03, 1, 2, 0xAB}),
              R"({"table_id":144,"table_id_name":"user defined","section_syntax_indicator":0,"private_indicator":0,)"
              R"("reserved":3,"section_length":3,"private_data_byte":"0102ab"})");
    const Bytes section{0x90, 0xB0, 0x0B, 0x12, 0x34, 0xC7, 0x01, 0x02, 0xEE, 0xFF, 0xDE, 0xAD, 0xBE, 0xEF};
    EXPECT_EQ(json_of(section),
              R"({"table_id":144,"table_id_name":"user defined","section_syntax_indicator":1,"private_indicator":0,)"
              R"("reserved":3,"section_length":11,"table_id_extension":4660,"reserved2":3,"version_number":3,)"
              R"("current_next_indicator":1,"section_number":1,"last_section_number":2,)"
              R"("private_data_byte":"eeff","CRC_32":3735928559})");
}

TEST(PrivateSection, TooShortForALongHeaderIsAllBytes)
{
    EXPECT_EQ(json_of({0x90, 0xB0, 0x01, 0x55}),
              R"({"table_id":144,"table_id_name":"user defined","section_syntax_indicator":1,"private_indicator":0,)"
              R"("reserved":3,"section_length":1,"private_data_byte":"55"})");
}

TEST(PrivateSection, ThatIsNotWholeIsNone)
{
    const Bytes section{0x90, 0x30, 0x03, 1, 2, 3};
    for (std::size_t size = 0; size < section.size(); ++size)
        EXPECT_EQ(table_of_section(section.data(), size), nullptr) << size;
}

template <class Table>
class TableOfSection : public testing::Test
{};
TYPED_TEST_SUITE(TableOfSection, zqtest::all_tables);

TYPED_TEST(TableOfSection, IsOfTheClassOfItsTableId)
{
    zqtest::Roomy<TypeParam> table;
    fill(table);
    if (std::is_same_v<TypeParam, CTSDT>)
        table.table_id = 0x03;
    const Bytes section = zqtest::rendered(table);
    const auto read = table_of_section(section.data(), section.size());
    ASSERT_NE(read, nullptr);
    EXPECT_NE(dynamic_cast<TypeParam*>(read.get()), nullptr);
}

TEST(TableOfSection, ReadsDescriptorsByTheStandards)
{
    // A network name of 1 letter, then an empty descriptor at the end of the loop.
    const Bytes section = section_of(0x40, {0x00, 0x01, 0xC1, 0, 0, 0xF0, 5, 0x40, 1, 'N', 0x6F, 0, 0xF0, 0});
    const auto table = table_of_section(section.data(), section.size());
    const auto* const nit = dynamic_cast<const CNIT*>(table.get());
    ASSERT_NE(nit, nullptr);
    EXPECT_EQ(nit->network_descriptors.size(), 2U);
}

TEST(TableOfSection, KeepsTheBytesOfWhatItsClassRefuses)
{
    Bytes damaged = section_of(0x40, {0x00, 0x01, 0xC1, 0, 0, 0xF0, 0, 0xF0, 0});
    damaged.back() ^= 1;
    const auto table = table_of_section(damaged.data(), damaged.size());
    const auto* const any = dynamic_cast<const CPrivateSection*>(table.get());
    ASSERT_NE(any, nullptr);
    EXPECT_EQ(any->private_data_byte, (Bytes{0xF0, 0, 0xF0, 0}));
    EXPECT_EQ(any->calc_section_length(), damaged.size() - 3);
}

TEST(TableOfSection, TakesAnyBytes)
{
    std::mt19937 random(2);
    for (int round = 0; round < 3000; ++round) {
        Bytes bytes(random() % 60);
        for (auto& byte : bytes)
            byte = static_cast<unsigned char>(random());
        if (bytes.size() >= 3) {
            bytes[1] &= 0xF0;
            bytes[2] = static_cast<unsigned char>(bytes.size() - 3);
        }
        zqtest::ExactBlock block(bytes);
        EXPECT_EQ(table_of_section(block.data(), block.size()) != nullptr, bytes.size() >= 3);
    }
}
} // namespace PrivateSection_test
