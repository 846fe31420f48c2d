// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zqsdk/ZQBSWriter.h"

#include "support/BitModel.h"
#include "support/rounds.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <memory>
#include <random>
#include <type_traits>
#include <utility>

namespace ZQBSWriter_test
{
using Writer = ZQSDK::ZQBSWriterT<unsigned char*>;
using testing::Each;
using testing::ElementsAre;

std::uint64_t low_bits(std::uint64_t value, unsigned n) { return n == 0 ? 0 : value >> (64 - n); }

/// `size` bytes that start `offset` bytes past an 8-byte boundary, and end with their heap block.
struct placed_bytes
{
    placed_bytes(std::size_t offset, std::size_t size)
        : block(new unsigned char[offset + size]), data(&block[0] + offset)
    {
        std::fill_n(block.get(), offset + size, static_cast<unsigned char>(0xEE));
    }
    std::unique_ptr<unsigned char[]> block;
    unsigned char* data;
};

template <class Check>
void at_all_alignments_and_sizes(Check check)
{
    for (std::size_t offset = 0; offset < 8; ++offset)
        for (std::size_t size = 0; size <= 40; size += zqtest::stride(3))
            ASSERT_NO_FATAL_FAILURE(check(offset, size)) << "offset " << offset << ", size " << size;
}

void expect_stored(const unsigned char* data, std::size_t size, const zqtest::BitWriterModel& model)
{
    auto expected = model.bytes();
    std::fill(expected.begin() + static_cast<std::ptrdiff_t>(model.written()), expected.end(), 0xEE);
    ASSERT_EQ(std::vector<unsigned char>(data, data + size), expected);
}

/// Fills the range with N-bit fields, beside the model.
template <unsigned N>
void compare_width(std::size_t offset, std::size_t size, unsigned first_bits)
{
    std::mt19937_64 random(N);
    const placed_bytes bytes(offset, size);
    zqtest::BitWriterModel model(size);
    {
        Writer writer(bytes.data, size);
        ASSERT_EQ(writer.putBits(0x55U >> (8 - first_bits), static_cast<unsigned char>(first_bits)),
                  model.put(0x55U >> (8 - first_bits), first_bits));
        for (bool good = true; good;) {
            const std::uint64_t value = low_bits(random(), N);
            good = writer.putBits<N>(value);
            ASSERT_EQ(good, model.put(value, N)) << N;
        }
        ASSERT_EQ(writer.bytesLeft(), 0U);
        ASSERT_EQ(writer.bytesWritten(), size);
        ASSERT_FALSE(writer.putBits<1>(1U));
    }
    expect_stored(bytes.data, size, model);
}

template <std::size_t... Widths>
void compare_widths(std::size_t offset, std::size_t size, std::index_sequence<Widths...>)
{
    for (unsigned first = 0; first < 8; ++first)
        (compare_width<Widths + 1>(offset, size, first), ...);
}

TEST(BitWriter, DestroyedWith20BitsStoresThreeBytesTheLastFourBitsZero)
{
    std::array<unsigned char, 3> bytes{0xFF, 0xFF, 0xFF};
    {
        Writer writer(bytes.data(), bytes.size());
        EXPECT_TRUE(writer.putBits(0xABCDEU, 20));
        EXPECT_THAT(bytes, Each(0xFF)) << "bits stay in the cache until they are flushed";
    }
    EXPECT_THAT(bytes, ElementsAre(0xAB, 0xCD, 0xE0));
}

TEST(BitWriter, FlushesAtOnceWhenTheHeldBitsFillTheRangeAndThenRefuses)
{
    std::array<unsigned char, 3> bytes{};
    Writer writer(bytes.data(), bytes.size());
    EXPECT_TRUE(writer.putBits(0xABCDEU, 20));
    EXPECT_TRUE(writer.putBits<4>(0xFU));
    EXPECT_THAT(bytes, ElementsAre(0xAB, 0xCD, 0xEF));
    EXPECT_EQ(writer.bytesLeft(), 0U);
    EXPECT_EQ(writer.bytesWritten(), 3U);
    EXPECT_FALSE(writer.putBits<1>(1U));
    EXPECT_THAT(bytes, ElementsAre(0xAB, 0xCD, 0xEF));
}

TEST(BitWriter, StoresWholeWordsAndGoesOnBehindThem)
{
    std::array<unsigned char, 10> bytes{};
    Writer writer(bytes.data(), bytes.size());
    EXPECT_TRUE(writer.putBits(std::uint64_t{0x0123456789ABCDEF}, 64));
    EXPECT_EQ(writer.bytesWritten(), 8U);
    EXPECT_TRUE(writer.putBits(std::uint16_t{0xFEDC}, 16));
    EXPECT_THAT(bytes, ElementsAre(0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF, 0xFE, 0xDC));
}

TEST(BitWriter, NeverStoresPastItsRange)
{
    std::array<unsigned char, 16> bytes{};
    Writer writer(bytes.data(), 3);
    EXPECT_TRUE(writer.putBits(0xABU, 8));
    EXPECT_FALSE(writer.putBits(std::uint64_t{0x0123456789ABCDEF}, 64));
    EXPECT_FALSE(writer.putBits(1U, 1));
    writer.flush();
    EXPECT_EQ(writer.bytesWritten(), 3U);
    EXPECT_THAT(bytes, ElementsAre(0xAB, 0x01, 0x23, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0));
}

TEST(BitWriter, OverNothingRefusesEverything)
{
    Writer writer(nullptr, 0);
    unsigned long pending = 8;
    EXPECT_FALSE(writer.putBits(1U, 1));
    EXPECT_FALSE(writer.putBits(1U, 0));
    EXPECT_FALSE(writer.putBitsToCach(pending, 1U));
    EXPECT_EQ(pending, 8U);
    writer.flush();
    EXPECT_EQ(writer.bytesWritten(), 0U);
}

TEST(BitWriter, PlacesNothingForAWidthOfZero)
{
    std::array<unsigned char, 2> bytes{};
    Writer writer(bytes.data(), bytes.size());
    EXPECT_TRUE(writer.putBits(0xFFU, 0));
    EXPECT_TRUE(writer.putBits<0>(0xFFU));
    EXPECT_EQ(writer.bitsHeld(), 0U);
    EXPECT_TRUE(writer.putBits(0x1U, 4));
    EXPECT_TRUE(writer.putBits(0xFFU, 0));
    EXPECT_EQ(writer.bitsHeld(), 4U);
    writer.flush();
    EXPECT_THAT(bytes, ElementsAre(0x10, 0));
}

TEST(BitWriter, TakesAWidthAbove64As64)
{
    std::array<unsigned char, 16> bytes{};
    Writer writer(bytes.data(), bytes.size());
    EXPECT_TRUE(writer.putBits(std::uint64_t{0x0123456789ABCDEF}, 255));
    EXPECT_EQ(writer.bytesWritten(), 8U);
    EXPECT_TRUE(writer.putBits<100>(std::uint64_t{1}));
    EXPECT_EQ(writer.bytesWritten(), 16U);
}

TEST(BitWriter, PlacesSignedValuesThroughTheirUnsignedType)
{
    std::array<unsigned char, 4> bytes{};
    Writer writer(bytes.data(), bytes.size());
    EXPECT_TRUE(writer.putBits<8>(char{0}));
    EXPECT_TRUE(writer.putBits<8>(static_cast<char>(-1)));
    EXPECT_TRUE(writer.putBits(std::int16_t{-2}, 16));
    EXPECT_THAT(bytes, ElementsAre(0x00, 0xFF, 0xFF, 0xFE));
}

TEST(BitWriter, LetsAValueThatIsTooWideSpillIntoTheBitsBefore)
{
    std::array<unsigned char, 2> bytes{};
    {
        Writer writer(bytes.data(), bytes.size());
        writer.putBits(0x0U, 4);
        writer.putBits(0x12U, 4);
    }
    EXPECT_THAT(bytes, ElementsAre(0x12, 0));
}

TEST(BitWriter, FlushPadsTheByteAndTheNextBitOpensANewOne)
{
    std::array<unsigned char, 3> bytes{};
    Writer writer(bytes.data(), bytes.size());
    writer.putBits(0x7U, 3);
    writer.flush();
    EXPECT_EQ(writer.bytesWritten(), 1U);
    EXPECT_EQ(writer.bytesLeft(), 2U);
    writer.flush();
    EXPECT_EQ(writer.bytesWritten(), 1U);
    writer.putBits(0x1U, 1);
    writer.flush();
    EXPECT_THAT(bytes, ElementsAre(0xE0, 0x80, 0));
}

TEST(BitWriter, StepPlacesWhatTheCacheTakesAndStoresIt)
{
    std::array<unsigned char, 9> bytes{};
    Writer writer(bytes.data(), bytes.size());
    writer.putBits(std::uint64_t{0}, 60);
    unsigned long pending = 12;
    EXPECT_TRUE(writer.putBitsToCach(pending, 0xABCU));
    EXPECT_EQ(pending, 8U);
    EXPECT_EQ(writer.bytesWritten(), 8U);
    EXPECT_EQ(writer.bitsHeld(), 0U);
    EXPECT_TRUE(writer.putBitsToCach(pending, 0xABCU));
    EXPECT_EQ(pending, 0U);
    EXPECT_FALSE(writer.putBitsToCach(pending, 0U));
    EXPECT_THAT(bytes, ElementsAre(0, 0, 0, 0, 0, 0, 0, 0x0A, 0xBC));
}

TEST(BitWriter, StepPlacesNoMoreThanTheRangeTakes)
{
    std::array<unsigned char, 3> bytes{};
    Writer writer(bytes.data(), 1);
    unsigned long pending = 12;
    EXPECT_TRUE(writer.putBitsToCach(pending, 0xABCU));
    EXPECT_EQ(pending, 4U);
    EXPECT_FALSE(writer.putBitsToCach(pending, 0xABCU));
    EXPECT_EQ(pending, 4U);
    EXPECT_THAT(bytes, ElementsAre(0xAB, 0, 0));
}

TEST(BitWriter, StepOfNoBitsChangesNothing)
{
    std::array<unsigned char, 3> bytes{};
    Writer writer(bytes.data(), 1);
    unsigned long pending = 0;
    EXPECT_TRUE(writer.putBitsToCach(pending, 0xABCU));
    EXPECT_EQ(writer.bitsHeld(), 0U);
}

TEST(BitWriter, IsNotCopyableAndHasAVirtualDestructor)
{
    EXPECT_FALSE(std::is_copy_constructible_v<Writer>);
    EXPECT_TRUE(std::has_virtual_destructor_v<Writer>);
}

TEST(BitWriter, EqualsTheModelForEveryWidthAlignmentAndSize)
{
    at_all_alignments_and_sizes(
        [](std::size_t offset, std::size_t size) { compare_widths(offset, size, std::make_index_sequence<64>()); });
}

TEST(BitWriter, EqualsTheModelForMixedWidthsAndFlushes)
{
    at_all_alignments_and_sizes([](std::size_t offset, std::size_t size) {
        std::mt19937_64 random(size);
        for (int round = 0; round < 20; ++round) {
            const placed_bytes bytes(offset, size);
            zqtest::BitWriterModel model(size);
            {
                Writer writer(bytes.data, size);
                for (int step = 0; step < 30; ++step) {
                    const auto width = static_cast<unsigned>(random() % 65);
                    const std::uint64_t value = low_bits(random(), width);
                    ASSERT_EQ(writer.putBits(value, static_cast<unsigned char>(width)), model.put(value, width));
                    if (random() % 8 == 0) {
                        writer.flush();
                        model.flush();
                        ASSERT_EQ(writer.bytesWritten(), model.written());
                    }
                }
            }
            expect_stored(bytes.data, size, model);
        }
    });
}
} // namespace ZQBSWriter_test
