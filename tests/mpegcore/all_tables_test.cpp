// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/sections/SectionHeader.h"
#include "support/Tables.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <random>

namespace all_tables_test
{
using namespace mpegcore;
using zqtest::Bytes;
using zqtest::ExactBlock;
using zqtest::Roomy;
using zqtest::operator+;

template <class Table>
class AllTables : public testing::Test
{
protected:
    Roomy<Table> table;
    Bytes section;

    AllTables()
    {
        fill(table);
        section = zqtest::rendered(table);
    }
};

/// What a table holds after reading; of the TOT's CRC_32 only the low 16 bits are kept.
template <class Table>
std::string fields_after_reading(const Table& table)
{
    std::string text = zqtest::fields_text(table);
    if constexpr (std::is_base_of_v<CTOT, Table>)
        text.replace(text.size() - 8, 4, "0000");
    return text;
}

/// A random table of the class: a section of random bytes with a good CRC, as far as reading understands it.
template <class Table>
Bytes random_section(std::mt19937& random, std::uint8_t table_id)
{
    Bytes body(random() % 80);
    for (auto& byte : body)
        byte = static_cast<unsigned char>(random() % 4 == 0 ? random() : random() % 8);
    return zqtest::section_of(table_id, body);
}

TYPED_TEST_SUITE(AllTables, zqtest::all_tables);

TYPED_TEST(AllTables, RenderAsManyBytesAsTheyAnnounce)
{
    ASSERT_FALSE(this->section.empty());
    EXPECT_EQ(this->section.size(), 3 + this->table.calc_section_length());
    EXPECT_EQ(this->section.size(), 3U + ((this->section[1] & 0x0FU) << 8 | this->section[2]));
    EXPECT_EQ(this->table.used, this->section.size());
}

TYPED_TEST(AllTables, EndInACrcThatMakesThatOfTheSectionZero)
{
    EXPECT_EQ(TypeParam::has_CRC_32, mpegcore::SectionHeader(this->section.data(), this->section.size()).has_CRC_32());
    if (TypeParam::has_CRC_32) {
        EXPECT_EQ(crc32_mpeg2_bytewise(this->section.data(), this->section.size()), 0U);
    }
}

TYPED_TEST(AllTables, ReadBackWhatWasFilledIn)
{
    Roomy<TypeParam> back;
    ASSERT_TRUE(zqtest::read(back, this->section));
    EXPECT_EQ(zqtest::fields_text(back), fields_after_reading(this->table));
}

TYPED_TEST(AllTables, RenderUnchangedToTheSameBytes)
{
    Roomy<TypeParam> back;
    ASSERT_TRUE(zqtest::read(back, this->section));
    EXPECT_EQ(zqtest::rendered(back), this->section);
}

TYPED_TEST(AllTables, AreRefusedWhenTruncatedAtAnyByte)
{
    for (std::size_t size = 0; size < this->section.size(); ++size) {
        Roomy<TypeParam> back;
        EXPECT_FALSE(zqtest::read(back, Bytes(this->section.begin(), this->section.begin() + size))) << size;
    }
}

TYPED_TEST(AllTables, AreRefusedWithAnyBitFlippedWhereACrcGuardsThem)
{
    if (!TypeParam::has_CRC_32)
        return;
    for (std::size_t bit = 0; bit < 8 * this->section.size(); ++bit) {
        Bytes bytes = this->section;
        bytes[bit / 8] ^= static_cast<unsigned char>(0x80 >> bit % 8);
        Roomy<TypeParam> back;
        EXPECT_FALSE(zqtest::read(back, bytes)) << bit;
    }
}

TYPED_TEST(AllTables, DoNotLookAtWhatStandsBehindTheSection)
{
    Roomy<TypeParam> back;
    ASSERT_TRUE(zqtest::read(back, this->section + Bytes(200, 0x01)));
    EXPECT_EQ(zqtest::rendered(back), this->section);
}

TYPED_TEST(AllTables, DoNotRenderIntoABufferThatIsTooSmall)
{
    for (unsigned long size = 1; size < this->section.size(); ++size) {
        ExactBlock block(size);
        TypeParam small(block.data(), size);
        zqtest::fill(small);
        EXPECT_FALSE(small.RenderTable()) << size;
        EXPECT_EQ(small.used, 0U);
    }
    ExactBlock block(this->section.size());
    TypeParam exact(block.data(), block.size());
    zqtest::fill(exact);
    EXPECT_TRUE(exact.RenderTable());
    EXPECT_EQ(block.bytes(block.size()), this->section);
}

TYPED_TEST(AllTables, CopyToATableThatRendersTheSameBytes)
{
    Roomy<TypeParam> copy;
    this->table.copyTo(&copy);
    EXPECT_EQ(copy.section_length, this->table.calc_section_length());
    EXPECT_EQ(zqtest::rendered(copy), this->section);
}

TYPED_TEST(AllTables, CopyTwiceWithoutDoublingAnything)
{
    Roomy<TypeParam> copy;
    this->table.copyTo(&copy);
    this->table.copyTo(&copy);
    EXPECT_EQ(zqtest::rendered(copy), this->section);
}

TYPED_TEST(AllTables, ShareNothingWithTheirCopy)
{
    Roomy<TypeParam> copy;
    this->table.copyTo(&copy);
    copy.Clear();
    copy.table_id ^= 1;
    EXPECT_EQ(zqtest::rendered(this->table), this->section);
}

TYPED_TEST(AllTables, AreLeftAloneByACopyToNothingAndToThemselves)
{
    this->table.copyTo(nullptr);
    this->table.copyTo(&this->table);
    EXPECT_EQ(zqtest::rendered(this->table), this->section);
}

TYPED_TEST(AllTables, HaveNoEntriesAndAnEmptyBufferWhenCleared)
{
    this->table.Clear();
    Roomy<TypeParam> empty;
    zqtest::put_kind(this->table, empty);
    EXPECT_EQ(this->table.calc_section_length(), empty.calc_section_length());
    EXPECT_EQ(this->table.used, 0U);
    EXPECT_EQ(Bytes(this->table.buffer, this->table.buffer + this->table.capacity), Bytes(this->table.capacity));
    EXPECT_EQ(this->table.CBaseMpegTable::reserved, 2) << "the fields stay";
}

TYPED_TEST(AllTables, ReadInUnalignedMemory)
{
    for (std::size_t offset = 1; offset < 8; ++offset) {
        Bytes bytes(offset + this->section.size());
        std::copy(this->section.begin(), this->section.end(), bytes.begin() + static_cast<std::ptrdiff_t>(offset));
        typename TypeParam::Reader reader(bytes.data() + offset, this->section.size());
        Roomy<TypeParam> back;
        ASSERT_TRUE(back.read(reader)) << offset;
        EXPECT_EQ(zqtest::rendered(back), this->section);
    }
}

TYPED_TEST(AllTables, TakeNoMoreFromAShortSectionWithAGoodCrcThanItHolds)
{
    const std::size_t empty = Roomy<TypeParam>{}.calc_section_length();
    for (std::size_t length = 0; length <= 20; ++length)
        for (const unsigned char filler : {0x00, 0x01, 0x0F, 0xFF}) {
            Bytes bytes(3 + length - (length < 4 ? 0 : 4), filler);
            bytes[0] = this->section[0];
            bytes[1] = this->section[1] & 0xF0;
            bytes[2] = static_cast<unsigned char>(length);
            if (length >= 4)
                bytes = zqtest::with_crc(bytes);
            Roomy<TypeParam> back;
            if (zqtest::read(back, bytes)) {
                EXPECT_LE(back.calc_section_length(), std::max(length, empty)) << length;
            }
            EXPECT_EQ(back.section_length, length);
        }
}

TYPED_TEST(AllTables, RenderWhateverTheyReadOfRandomSectionsAndReadNoMoreBack)
{
    std::mt19937 random(4);
    for (int round = 0; round < 3000; ++round) {
        Roomy<TypeParam> first, second;
        if (!zqtest::read(first, random_section<TypeParam>(random, this->section[0])))
            continue;
        const Bytes once = zqtest::rendered(first);
        if (once.empty())
            continue; // descriptors that end before their length
        // An empty descriptor at the end of a loop is written and not read again.
        if (zqtest::read(second, once)) {
            EXPECT_LE(second.calc_section_length(), first.calc_section_length());
        }
    }
}
} // namespace all_tables_test
