// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/BaseMpegTable.h"

#include "support/ByteTable.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <memory>
#include <type_traits>

namespace BaseMpegTable_test
{
using mpegcore::CBaseMpegTable;
using testing::Each;
using testing::ElementsAre;
using zqtest::ByteTable;
using zqtest::section_of;

bool read(CBaseMpegTable& table, std::vector<unsigned char> bytes)
{
    CBaseMpegTable::Reader reader(bytes.data(), bytes.size());
    return table.read(reader);
}

void read_header(CBaseMpegTable& table, std::vector<unsigned char> bytes)
{
    CBaseMpegTable::Reader reader(bytes.data(), bytes.size());
    EXPECT_TRUE(table.CBaseMpegTable::read(reader));
}

std::vector<unsigned char> rendered(const CBaseMpegTable& table) { return {table.buffer, table.buffer + table.used}; }

TEST(TableHeader, IsReadFieldByField)
{
    ByteTable table(nullptr, 16);
    read_header(table, {0x42, 0xB1, 0x23});
    EXPECT_EQ(table.table_id, 0x42);
    EXPECT_EQ(table.section_syntax_indicator, 1);
    EXPECT_EQ(table.private_indicator, 0);
    EXPECT_EQ(table.reserved, 3);
    EXPECT_EQ(table.section_length, 0x123);
}

TEST(TableHeader, FromAnExhaustedReaderChangesNothing)
{
    ByteTable table(nullptr, 16);
    read_header(table, {0x42, 0xB1, 0x23});
    CBaseMpegTable::Reader empty(nullptr, 0);
    EXPECT_TRUE(table.CBaseMpegTable::read(empty));
    EXPECT_EQ(table.table_id, 0x42);
    EXPECT_EQ(table.section_length, 0x123);
}

TEST(TableHeader, OfOneByteLeavesTheOtherFieldsZero)
{
    ByteTable table(nullptr, 16);
    read_header(table, {0x42, 0xF1, 0x23});
    read_header(table, {0x43});
    EXPECT_EQ(table.table_id, 0x43);
    EXPECT_EQ(table.section_syntax_indicator, 0);
    EXPECT_EQ(table.private_indicator, 0);
    EXPECT_EQ(table.reserved, 0);
    EXPECT_EQ(table.section_length, 0);
}

TEST(TableHeader, OfTwoBytesLeavesSectionLengthPartlyFilled)
{
    ByteTable table(nullptr, 16);
    read_header(table, {0x42, 0xB5});
    EXPECT_EQ(table.reserved, 3);
    EXPECT_EQ(table.section_length, 0x500);
}

TEST(TableHeader, IsWrittenFromTheLowBitsOfItsFields)
{
    ByteTable table(nullptr, 16);
    table.body.assign(0x123 - 4, 0);
    table.table_id = 0x42;
    table.section_syntax_indicator = 0xFF;
    table.private_indicator = 0xFE;
    table.reserved = 0xFE;
    std::array<unsigned char, 3> bytes{};
    CBaseMpegTable::Writer writer(bytes.data(), bytes.size());
    EXPECT_TRUE(table.write(writer));
    EXPECT_THAT(bytes, ElementsAre(0x42, 0xA1, 0x23));
    EXPECT_EQ(table.section_length, 0x123);
}

TEST(TableHeader, StopsSilentlyWhereTheWriterIsFull)
{
    ByteTable table(nullptr, 16);
    table.table_id = 0x42;
    unsigned char byte = 0;
    CBaseMpegTable::Writer writer(&byte, 1);
    EXPECT_TRUE(table.write(writer));
    EXPECT_EQ(byte, 0x42);
}

TEST(TableHeader, IsCopiedAndComparedButForTheReservedBits)
{
    ByteTable table(nullptr, 16), copy(nullptr, 16);
    read_header(table, {0x42, 0xB1, 0x23});
    EXPECT_FALSE(table.same_header(copy));
    table.copy_header(copy);
    EXPECT_EQ(copy.reserved, 3);
    EXPECT_TRUE(table.same_header(copy));
    copy.reserved = 0;
    EXPECT_TRUE(table.same_header(copy));
    copy.section_length = 0x124;
    EXPECT_FALSE(table.same_header(copy));
}

TEST(TableBuffer, IsOwnedWhenTheTableAllocatedIt)
{
    const ByteTable table(nullptr, 16);
    EXPECT_EQ(table.owns_buffer, 1);
    EXPECT_EQ(table.capacity, 16U);
    EXPECT_EQ(table.used, 0U);
    EXPECT_NE(table.buffer, nullptr);
}

TEST(TableBuffer, OfTheCallerStaysTheCallers)
{
    std::array<unsigned char, 16> bytes{};
    const ByteTable table(bytes.data(), bytes.size());
    EXPECT_EQ(table.owns_buffer, 0);
    EXPECT_EQ(table.buffer, bytes.data());
    EXPECT_EQ(table.capacity, 16U);
}

TEST(TableBuffer, ClearZeroesAllOfItAndKeepsTheHeader)
{
    std::array<unsigned char, 16> bytes;
    bytes.fill(0xFF);
    ByteTable table(bytes.data(), bytes.size());
    table.used = 3;
    table.table_id = 0x42;
    table.Clear();
    EXPECT_THAT(bytes, Each(0));
    EXPECT_EQ(table.used, 0U);
    EXPECT_EQ(table.table_id, 0x42);
}

TEST(TableBuffer, IsNotCopyable) { EXPECT_FALSE(std::is_copy_constructible_v<ByteTable>); }

TEST(AddData, AppendsBehindWhatIsUsed)
{
    ByteTable table(nullptr, 8);
    const std::array<unsigned char, 4> bytes{1, 2, 3, 4};
    EXPECT_TRUE(table.AddData(bytes.data(), 3));
    EXPECT_TRUE(table.AddData(bytes.data(), 4));
    EXPECT_THAT(rendered(table), ElementsAre(1, 2, 3, 1, 2, 3, 4));
}

TEST(AddData, OfExactlyTheFreeSpaceFails)
{
    ByteTable table(nullptr, 4);
    const std::array<unsigned char, 4> bytes{1, 2, 3, 4};
    EXPECT_FALSE(table.AddData(bytes.data(), 4));
    EXPECT_EQ(table.used, 0U);
    EXPECT_EQ(table.buffer[0], 0);
    EXPECT_TRUE(table.AddData(bytes.data(), 3));
    EXPECT_FALSE(table.AddData(bytes.data(), 1));
}

TEST(AddData, OfALengthWhoseSumOverflowsFails)
{
    ByteTable table(nullptr, 4);
    const unsigned char byte = 1;
    EXPECT_TRUE(table.AddData(&byte, 1));
    EXPECT_FALSE(table.AddData(&byte, ~0UL));
}

TEST(AddData, WithoutABufferFails)
{
    ByteTable table(nullptr, 4);
    const auto owned = std::unique_ptr<unsigned char[]>(std::exchange(table.buffer, nullptr));
    const unsigned char byte = 1;
    EXPECT_FALSE(table.AddData(&byte, 1));
    table.Clear();
    EXPECT_FALSE(table.RenderTable());
}

TEST(SectionRead, TakesTheBodyAndTheCrc)
{
    ByteTable table(nullptr, 16);
    const auto bytes = section_of(0x42, {1, 2, 3});
    EXPECT_TRUE(read(table, bytes));
    EXPECT_THAT(table.body, ElementsAre(1, 2, 3));
    EXPECT_EQ(table.CRC_32, bytes[6] << 24U | bytes[7] << 16U | bytes[8] << 8U | bytes[9]);
}

TEST(SectionRead, OneByteShortIsIncompleteAndTouchesNoBodyField)
{
    ByteTable table(nullptr, 16);
    auto bytes = section_of(0x42, {1, 2, 3});
    bytes.pop_back();
    EXPECT_FALSE(read(table, bytes));
    EXPECT_TRUE(table.body.empty());
    EXPECT_EQ(table.table_id, 0x42);
    EXPECT_EQ(table.section_length, 7);
}

TEST(SectionRead, FailsAtEveryTruncation)
{
    const auto bytes = section_of(0x42, {1, 2, 3});
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        ByteTable table(nullptr, 16);
        EXPECT_FALSE(read(table, {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)})) << size;
    }
}

TEST(SectionRead, FailsForEveryFlippedBit)
{
    const auto good = section_of(0x42, {1, 2, 3});
    for (std::size_t bit = 0; bit < good.size() * 8; ++bit) {
        auto bytes = good;
        bytes[bit / 8] = static_cast<unsigned char>(bytes[bit / 8] ^ 1U << bit % 8);
        ByteTable table(nullptr, 16);
        EXPECT_FALSE(read(table, bytes)) << bit;
        EXPECT_TRUE(table.body.empty());
    }
}

TEST(SectionRead, LeavesTheReaderBehindTheSectionAndItsStuffingUnread)
{
    ByteTable table(nullptr, 16);
    auto bytes = section_of(0x42, {1, 2, 3});
    bytes.insert(bytes.end(), 5, 0xFF);
    CBaseMpegTable::Reader reader(bytes.data(), bytes.size());
    EXPECT_TRUE(table.read(reader));
    EXPECT_THAT(table.body, ElementsAre(1, 2, 3));
    EXPECT_EQ(reader.position(), bytes.data() + 10);
    EXPECT_EQ(reader.availableBytes(), 5U);
}

TEST(SectionRead, HandsTheBodyAReaderThatEndsWithTheSection)
{
    // section_length 4 is the CRC alone; the bytes behind it must not become a body.
    ByteTable table(nullptr, 16);
    auto bytes = section_of(0x42, {});
    bytes.insert(bytes.end(), {1, 2, 3});
    EXPECT_TRUE(read(table, bytes));
    EXPECT_TRUE(table.body.empty());
}

TEST(SectionRead, FailsWhenTheSectionIsShorterThanItsOwnCrcField)
{
    // Headers of section_length 3 whose third byte begins the CRC of the two before it: good by the CRC alone.
    int found = 0;
    for (unsigned start = 0; start < 0x10000; start += 0x10) {
        std::vector<unsigned char> bytes{static_cast<unsigned char>(start >> 8), static_cast<unsigned char>(start)};
        const std::uint32_t crc = mpegcore::crc32_mpeg2_bytewise(bytes.data(), bytes.size());
        if (crc >> 24 != 3 || bytes[0] == 0xFF)
            continue;
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes.push_back(static_cast<unsigned char>(crc >> shift));
        ASSERT_EQ(mpegcore::crc32_mpeg2_bytewise(bytes.data(), bytes.size()), 0U);
        ByteTable table(nullptr, 16);
        EXPECT_FALSE(read(table, bytes));
        ++found;
    }
    EXPECT_GT(found, 0);
}

TEST(SectionRead, FailsWhenTheHeaderIsRefused)
{
    ByteTable table(nullptr, 16);
    EXPECT_FALSE(read(table, section_of(0xFF, {1, 2, 3})));
    EXPECT_TRUE(table.body.empty());
}

TEST(SectionRead, FailsWhenTheBodyIsRefusedAndLeavesTheReaderBehindTheHeader)
{
    ByteTable table(nullptr, 16);
    auto bytes = section_of(0x42, {1, 0x80, 3});
    CBaseMpegTable::Reader reader(bytes.data(), bytes.size());
    EXPECT_FALSE(table.read(reader));
    EXPECT_EQ(reader.position(), bytes.data() + 3);
}

TEST(SectionRender, WritesHeaderBodyAndCrc)
{
    ByteTable table(nullptr, 16);
    table.table_id = 0x42;
    table.section_syntax_indicator = 1;
    table.reserved = 3;
    table.body = {1, 2, 3};
    EXPECT_TRUE(table.RenderTable());
    EXPECT_EQ(rendered(table), section_of(0x42, {1, 2, 3}));
    EXPECT_EQ(table.used, table.section_length + 3U);
    EXPECT_EQ(mpegcore::crc32_mpeg2_bytewise(table.buffer, table.used), 0U);
    EXPECT_EQ(table.CRC_32, mpegcore::crc32_mpeg2_bytewise(table.buffer, table.used - 4));
}

TEST(SectionRender, FitsABufferOfExactlyItsSize)
{
    ByteTable table(nullptr, 10);
    table.body = {1, 2, 3};
    EXPECT_TRUE(table.RenderTable());
    EXPECT_EQ(table.used, 10U);
}

TEST(SectionRender, IntoEverySmallerBufferFailsWithNothingUsed)
{
    for (std::size_t size = 0; size < 10; ++size) {
        ByteTable table(nullptr, size);
        table.body = {1, 2, 3};
        table.used = size;
        EXPECT_FALSE(table.RenderTable()) << size;
        EXPECT_EQ(table.used, 0U);
    }
}

TEST(SectionRender, TakesASectionLengthOf4095)
{
    ByteTable table(nullptr, 5000);
    table.body.assign(4091, 7);
    EXPECT_TRUE(table.RenderTable());
    EXPECT_EQ(table.used, 4098U);
}

TEST(SectionRender, RefusesASectionLengthOf4096)
{
    ByteTable table(nullptr, 5000);
    table.body.assign(4092, 7);
    EXPECT_FALSE(table.RenderTable());
    EXPECT_EQ(table.used, 0U);
}

TEST(SectionRender, FailsWhenTheBodyIsNotAsLongAsAnnounced)
{
    ByteTable table(nullptr, 16);
    table.body = {1, 2, 3};
    table.overstated = 1;
    EXPECT_FALSE(table.RenderTable());
    EXPECT_EQ(table.used, 0U);
    table.overstated = ~0U;
    EXPECT_FALSE(table.RenderTable());
    EXPECT_EQ(table.used, 0U);
}

TEST(SectionRender, FailsWhenTheBodyFails)
{
    ByteTable table(nullptr, 16);
    table.body_is_good = false;
    EXPECT_FALSE(table.RenderTable());
    EXPECT_EQ(table.used, 0U);
}

TEST(SectionRender, WithoutCrcEndsWithTheBody)
{
    ByteTable table(nullptr, 16);
    table.body = {1, 2, 3};
    table.overstated = static_cast<std::uint32_t>(-4);
    EXPECT_TRUE(table.render_section_without_crc([&](auto& out) { return table.write_body(out); }));
    EXPECT_THAT(rendered(table), ElementsAre(0, 0, 3, 1, 2, 3));
}
} // namespace BaseMpegTable_test
