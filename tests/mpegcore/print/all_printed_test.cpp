// SPDX-License-Identifier: LGPL-2.1-or-later
// What holds for the printing of every table and descriptor class.
#include "mpegcore/TablePrinter.h"
#include "mpegcore/descriptors/DescriptorRegistry.h"
#include "support/StrictJson.h"
#include "support/Tables.h"
#include "support/WritingPrinter.h"
#include "support/rounds.h"

#include <random>

namespace all_printed_test
{
using namespace mpegcore;
using namespace zqtest;

/// One object of each descriptor class, through the base.
template <class... Class>
struct Filled
{
    template <class T>
    static std::shared_ptr<base_descriptor> one()
    {
        auto descriptor = std::make_shared<T>();
        fill(*descriptor);
        return descriptor;
    }

    static std::vector<std::shared_ptr<base_descriptor>> all() { return {one<Class>()...}; }
};

class EveryPrintedDescriptor : public ::testing::TestWithParam<std::shared_ptr<base_descriptor>>
{
protected:
    const base_descriptor& descriptor = *GetParam();
};

INSTANTIATE_TEST_SUITE_P(Registry, EveryPrintedDescriptor, ::testing::ValuesIn(descriptor_classes<Filled>::all()),
                         [](const auto& instance) {
                             std::string name = type_of(*instance.param).name();
                             return name.substr(10, name.size() - 11);
                         });

TEST_P(EveryPrintedDescriptor, HandsOverEachFieldOnceAndInStreamOrder)
{
    EXPECT_EQ(bytes_of_printed(descriptor), written(descriptor));
}

TEST_P(EveryPrintedDescriptor, IsAnObjectThatStartsWithItsTagAndLength)
{
    const auto json = strict_json(to_json(descriptor));
    ASSERT_TRUE(json) << to_json(descriptor);
    EXPECT_EQ(json->begin().key(), "descriptor_tag");
    EXPECT_EQ(json->at("descriptor_tag"), descriptor.descriptor_tag);
    EXPECT_EQ(json->at("descriptor_length"), descriptor.descriptor_length);
    EXPECT_GT(json->size(), 2U);
}

TEST_P(EveryPrintedDescriptor, IsTextOfWholeLinesWithoutControlCharacters)
{
    const std::string text = to_text(descriptor);
    EXPECT_EQ(text.substr(0, 16), "descriptor_tag: ");
    EXPECT_EQ(text.back(), '\n');
    for (const char letter : text)
        EXPECT_TRUE(letter == '\n' || static_cast<unsigned char>(letter) >= 0x20);
}

TEST_P(EveryPrintedDescriptor, IsValidWhateverItRead)
{
    std::mt19937 random(11);
    for (unsigned round = 0; round < zqtest::rounds(300); ++round) {
        Bytes bytes(2 + random() % 60);
        for (auto& byte : bytes)
            byte = static_cast<unsigned char>(random());
        bytes[1] = static_cast<unsigned char>(bytes.size() - 2);
        ExactBlock block(bytes);
        auto reader = block.reader();
        const auto any = descriptor.create();
        static_cast<void>(any->read(reader));
        ASSERT_TRUE(strict_json(to_json(*any))) << to_json(*any);
        EXPECT_EQ(bytes_of_printed(*any), written(*any));
    }
}

template <class Table>
class EveryPrintedTable : public ::testing::Test
{
protected:
    EveryPrintedTable()
    {
        fill(table);
        section = rendered(table);
    }

    Roomy<Table> table;
    Bytes section;
    const CBaseMpegTable& base = table;
};

TYPED_TEST_SUITE(EveryPrintedTable, all_tables);

TYPED_TEST(EveryPrintedTable, HandsOverEachFieldOnceAndInStreamOrder)
{
    EXPECT_EQ(bytes_of_printed(this->base), this->section);
}

TYPED_TEST(EveryPrintedTable, IsAnObjectThatStartsWithItsHeader)
{
    const auto json = strict_json(to_json(this->base));
    ASSERT_TRUE(json) << to_json(this->base);
    EXPECT_EQ(json->begin().key(), "table_id");
    EXPECT_EQ(json->at("table_id"), this->base.table_id);
    EXPECT_EQ(json->at("section_length"), this->base.section_length);
    if constexpr (TypeParam::has_CRC_32) {
        EXPECT_EQ(json->at("CRC_32"), this->table.CRC_32);
    }
    if (this->base.section_syntax_indicator == 1) {
        EXPECT_EQ(json->at("version_number"), 21);
        EXPECT_EQ(json->at("current_next_indicator"), 1);
        EXPECT_EQ(json->at("section_number"), 3);
        EXPECT_EQ(json->at("last_section_number"), 7);
    }
}

TYPED_TEST(EveryPrintedTable, IsValidWhateverItRead)
{
    std::mt19937 random(11);
    for (unsigned round = 0; round < zqtest::rounds(300); ++round) {
        Bytes body(random() % 80);
        for (auto& byte : body)
            byte = static_cast<unsigned char>(random() % 4 == 0 ? random() : random() % 8);
        Roomy<TypeParam> any;
        static_cast<void>(read(any, section_of(this->section[0], body)));
        ASSERT_TRUE(strict_json(to_json(any))) << to_json(any);
    }
}

TYPED_TEST(EveryPrintedTable, AppendsToWhatIsThere)
{
    std::string line = "[", text = "[";
    append_json(line, this->base);
    append_text(text, this->base, 4);
    EXPECT_EQ(line, "[" + to_json(this->base));
    EXPECT_EQ(text.substr(0, 15), "[    table_id: ");
    EXPECT_EQ(text[text.find('\n') + 5], 's');
}
} // namespace all_printed_test
