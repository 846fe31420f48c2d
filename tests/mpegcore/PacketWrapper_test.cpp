// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/PacketWrapper.h"

#include "support/ByteTable.h"

#include <gmock/gmock.h>

#include <type_traits>

namespace PacketWrapper_test
{
using mpegcore::CPacketWrapper;
using mpegcore::section_buffer_size;
using testing::ElementsAre;
using zqtest::ByteTable;
using zqtest::section_of;

int parse(CPacketWrapper<ByteTable>& wrapper, std::vector<unsigned char> bytes)
{
    mpegcore::CBaseMpegTable::Reader reader(bytes.data(), bytes.size());
    return wrapper.Parser(reader);
}

TEST(PacketWrapper, StartsInvalidWithTwoInstancesThatOwnTheirBuffers)
{
    const CPacketWrapper<ByteTable> wrapper;
    EXPECT_EQ(wrapper.valid, 0);
    EXPECT_NE(wrapper.work, wrapper.current);
    for (const auto* table : {wrapper.work, wrapper.current}) {
        EXPECT_EQ(table->owns_buffer, 1);
        EXPECT_EQ(table->capacity, 1024U);
    }
}

TEST(PacketWrapper, GivesBatAndEitFourTimesTheBuffer)
{
    EXPECT_EQ(section_buffer_size<mpegcore::CBAT>, 4096U);
    EXPECT_EQ(section_buffer_size<mpegcore::CEIT>, 4096U);
}

TEST(PacketWrapper, ExchangesTheInstancesAfterAGoodSectionAndClearsTheFormerOne)
{
    CPacketWrapper<ByteTable> wrapper;
    auto* const first = wrapper.work;
    auto* const second = wrapper.current;
    EXPECT_EQ(parse(wrapper, section_of(0x42, {1})), 1);
    EXPECT_EQ(wrapper.valid, 1);
    EXPECT_EQ(wrapper.current, first);
    EXPECT_EQ(wrapper.work, second);
    EXPECT_THAT(wrapper.current->body, ElementsAre(1));

    wrapper.current->used = 5;
    EXPECT_EQ(parse(wrapper, section_of(0x42, {2})), 1);
    EXPECT_EQ(wrapper.current, second);
    EXPECT_THAT(wrapper.current->body, ElementsAre(2));
    EXPECT_TRUE(wrapper.work->body.empty());
    EXPECT_EQ(wrapper.work->used, 0U);
}

TEST(PacketWrapper, KeepsCurrentAndValidAfterAFailingSection)
{
    CPacketWrapper<ByteTable> wrapper;
    auto bad = section_of(0x42, {1});
    bad.back() ^= 1;
    EXPECT_EQ(parse(wrapper, bad), 0);
    EXPECT_EQ(wrapper.valid, 0);

    EXPECT_EQ(parse(wrapper, section_of(0x42, {7})), 1);
    auto* const current = wrapper.current;
    EXPECT_EQ(parse(wrapper, bad), 0);
    EXPECT_EQ(wrapper.valid, 1);
    EXPECT_EQ(wrapper.current, current);
    EXPECT_THAT(wrapper.current->body, ElementsAre(7));
}

TEST(PacketWrapper, DoesNotLetAGoodSectionInheritEntriesOfABadOne)
{
    CPacketWrapper<ByteTable> wrapper;
    EXPECT_EQ(parse(wrapper, section_of(0x42, {1, 2, 0x80})), 0);
    EXPECT_EQ(parse(wrapper, section_of(0x42, {3})), 1);
    EXPECT_THAT(wrapper.current->body, ElementsAre(3));
}

TEST(PacketWrapper, DoesNotLetAGoodSectionInheritWhatOthersLeftInWork)
{
    CPacketWrapper<ByteTable> wrapper;
    auto bad = section_of(0x42, {1, 2, 0x80});
    mpegcore::CBaseMpegTable::Reader reader(bad.data(), bad.size());
    EXPECT_FALSE(wrapper.work->read(reader));
    EXPECT_THAT(wrapper.work->body, ElementsAre(1, 2));
    EXPECT_EQ(parse(wrapper, section_of(0x42, {3})), 1);
    EXPECT_THAT(wrapper.current->body, ElementsAre(3));
}

TEST(PacketWrapper, IsNotCopyable) { EXPECT_FALSE(std::is_copy_constructible_v<CPacketWrapper<ByteTable>>); }
} // namespace PacketWrapper_test
