// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zqsdk/ZQBSReader.h"

#include "support/BitModel.h"
#include "support/rounds.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <random>
#include <type_traits>
#include <utility>

namespace ZQBSReader_test
{
using Reader = ZQSDK::ZQBSReaderT<unsigned char*>;

struct alignas(8) aligned_bytes
{
    std::array<unsigned char, 64> bytes{};
    aligned_bytes()
    {
        for (std::size_t at = 0; at < bytes.size(); ++at)
            bytes[at] = static_cast<unsigned char>(0x11 * at + 1);
    }
    unsigned char* from(std::size_t offset) { return bytes.data() + offset; }
};

bool exhausted(const Reader& reader)
{
    return reader.bitsLeft() == 0 && reader.bytesLeft() == 0 && reader.availableBytes() == 0;
}

/// `size` random bytes that start `offset` bytes past an 8-byte boundary and end with their heap block.
class placed_bytes
{
public:
    placed_bytes(std::size_t offset, std::size_t size, unsigned seed) : m_offset(offset)
    {
        m_block.reset(new unsigned char[offset + size]);
        std::mt19937 random(seed);
        std::generate_n(data(), size, [&] { return static_cast<unsigned char>(random()); });
    }
    unsigned char* data() { return m_block.get() + m_offset; }

private:
    std::size_t m_offset;
    std::unique_ptr<unsigned char[]> m_block;
};

template <class Check>
void at_all_alignments_and_sizes(Check check)
{
    for (std::size_t offset = 0; offset < 8; ++offset)
        for (std::size_t size = 0; size <= 40; size += zqtest::stride(3)) {
            placed_bytes bytes(offset, size, static_cast<unsigned>(41 * offset + size));
            ASSERT_NO_FATAL_FAILURE(check(bytes.data(), size)) << "offset " << offset << ", size " << size;
        }
}

/// Reads N-bit fields until one fails, beside the model.
template <unsigned N>
void compare_width(unsigned char* data, std::size_t size, unsigned skipped_bits)
{
    Reader reader(data, size);
    zqtest::BitReaderModel model(data, size);
    std::uint64_t first = 0;
    bool model_whole = false;
    reader.getBits(skipped_bits, first);
    model.get(skipped_bits, model_whole);
    for (bool whole = true; whole;) {
        std::uint64_t looked = 0xABCD, value = 0xABCD;
        const bool looked_whole = reader.lookBits<N>(looked);
        whole = reader.getBits<N>(value);
        const auto expected = model.get(N, model_whole);
        ASSERT_EQ(whole, model_whole) << N;
        ASSERT_EQ(value, expected.value_or(0xABCD)) << N;
        ASSERT_EQ(looked_whole, whole) << N;
        ASSERT_EQ(looked, value) << N;
        ASSERT_EQ(reader.availableBytes(), model.available()) << N;
        ASSERT_EQ(reader.position(), data + model.position()) << N;
    }
    ASSERT_TRUE(exhausted(reader));
}

template <std::size_t... Widths>
void compare_widths(unsigned char* data, std::size_t size, std::index_sequence<Widths...>)
{
    for (unsigned skipped = 0; skipped < 8; ++skipped)
        (compare_width<Widths + 1>(data, size, skipped), ...);
}

TEST(BitReader, OverOneByteDeliversItAndThenFails)
{
    unsigned char byte = 0xA5;
    Reader reader(&byte, 1);
    unsigned char value = 0;
    EXPECT_TRUE(reader.getBits<8>(value));
    EXPECT_EQ(value, 0xA5);
    EXPECT_FALSE(reader.getBits<1>(value));
    EXPECT_EQ(value, 0xA5);
}

TEST(BitReader, LoadsUpToTheFourByteBoundaryFirst)
{
    aligned_bytes memory;
    Reader reader(memory.from(1), 10);
    EXPECT_EQ(reader.bitsLeft(), 24U);
    EXPECT_EQ(reader.bytesLeft(), 7U);
    reader.getBits(24);
    EXPECT_EQ(reader.bitsLeft(), 56U);
    EXPECT_EQ(reader.bytesLeft(), 0U);
}

TEST(BitReader, LoadsTwoOrOneBytesNearerToTheBoundaryAndEightOnIt)
{
    aligned_bytes memory;
    EXPECT_EQ(Reader(memory.from(2), 10).bitsLeft(), 16U);
    EXPECT_EQ(Reader(memory.from(3), 10).bitsLeft(), 8U);
    EXPECT_EQ(Reader(memory.from(4), 10).bitsLeft(), 64U);
}

TEST(BitReader, LoadsNoMoreThanTheRangeHolds)
{
    aligned_bytes memory;
    EXPECT_EQ(Reader(memory.from(1), 2).bitsLeft(), 16U);
    EXPECT_EQ(Reader(memory.from(0), 5).bitsLeft(), 40U);
}

TEST(BitReader, Of12BitsFromOneByteFailsAndIsExhausted)
{
    unsigned char byte = 0xA5;
    Reader reader(&byte, 1);
    std::uint16_t value = 0xFFFF;
    EXPECT_FALSE(reader.getBits<12>(value));
    EXPECT_EQ(value, 0xA50) << "the bits obtained, in the high part of 12";
    EXPECT_TRUE(exhausted(reader));
    EXPECT_FALSE(reader.getBits<1>(value));
}

TEST(BitReader, DeliversAFieldThatCrossesTheCache)
{
    aligned_bytes memory;
    Reader reader(memory.from(1), 12);
    std::uint64_t value = 0;
    EXPECT_TRUE(reader.getBits<40>(value));
    EXPECT_EQ(value, 0x1223344556U);
    EXPECT_TRUE(reader.getBits<56>(value));
    EXPECT_EQ(value, 0x6778899AABBCCDU);
    EXPECT_TRUE(exhausted(reader));
}

TEST(BitReader, DeliversWhole64BitWordsAcrossTheCache)
{
    aligned_bytes memory;
    Reader reader(memory.from(3), 17);
    EXPECT_EQ(reader.getBits(64), 0x3445566778899AABU);
    EXPECT_EQ(reader.getBits(64), 0xBCCDDEEF00112233U);
    EXPECT_EQ(reader.getBits(8), 0x44U);
}

TEST(BitReader, DeliversZeroForAWidthOfZero)
{
    aligned_bytes memory;
    Reader reader(memory.from(0), 8);
    EXPECT_EQ(reader.getBits(0), 0U);
    std::uint64_t value = 7, looked = 7;
    EXPECT_TRUE(reader.getBits<0>(value));
    EXPECT_TRUE(reader.lookBits<0>(looked));
    EXPECT_EQ(value, 0U);
    EXPECT_EQ(looked, 0U);
    EXPECT_EQ(reader.bitsLeft(), 64U);
}

TEST(BitReader, TakesAWidthAbove64As64)
{
    aligned_bytes memory;
    Reader reader(memory.from(0), 24);
    EXPECT_EQ(reader.getBits(65), 0x0112233445566778U);
    std::uint64_t value = 0;
    EXPECT_TRUE(reader.lookBits<100>(value));
    EXPECT_EQ(value, 0x899AABBCCDDEEF00U);
    EXPECT_TRUE(reader.getBits<100>(value));
    EXPECT_EQ(value, 0x899AABBCCDDEEF00U);
    EXPECT_EQ(reader.getBits(~0UL), 0x1122334455667788U);
}

TEST(BitReader, UntemplatedReadThatRunsDryDeliversZeroAndExhausts)
{
    unsigned char byte = 0xA5;
    Reader reader(&byte, 1);
    EXPECT_EQ(reader.getBits(9), 0U);
    EXPECT_TRUE(exhausted(reader));
    EXPECT_EQ(reader.getBits(1), 0U);
}

TEST(BitReader, StoresIntoSignedAndNarrowTypes)
{
    std::array<unsigned char, 3> bytes{0xFF, 0xAB, 0xCD};
    Reader reader(bytes.data(), bytes.size());
    char letter = 0;
    std::uint8_t low = 0;
    EXPECT_TRUE(reader.getBits<8>(letter));
    EXPECT_EQ(letter, static_cast<char>(0xFF));
    EXPECT_TRUE(reader.getBits<16>(low));
    EXPECT_EQ(low, 0xCD);
}

TEST(BitReader, LookingConsumesNothingAndLeavesTheVariableAloneWhenExhausted)
{
    unsigned char byte = 0xA5;
    Reader reader(&byte, 1);
    const Reader& constant = reader;
    std::uint16_t value = 7;
    EXPECT_TRUE(constant.lookBits<3>(value));
    EXPECT_EQ(value, 5);
    EXPECT_FALSE(constant.lookBits<12>(value));
    EXPECT_EQ(value, 0xA50);
    EXPECT_EQ(reader.bitsLeft(), 8U);
    reader.getBits(8);
    value = 7;
    EXPECT_FALSE(constant.lookBits<3>(value));
    EXPECT_EQ(value, 7);
}

TEST(BitReader, SkippingCountsAPartlyReadByteAsTheFirst)
{
    aligned_bytes memory;
    Reader reader(memory.from(0), 20);
    reader.getBits(3);
    EXPECT_TRUE(reader.skipBytes(1));
    EXPECT_EQ(reader.position(), memory.from(1));
    EXPECT_EQ(reader.getBits(8), 0x12U);
    reader.getBits(1);
    EXPECT_TRUE(reader.skipBytes(9));
    EXPECT_EQ(reader.position(), memory.from(11));
    EXPECT_EQ(reader.getBits(8), 0xBCU);
}

TEST(BitReader, SkippingOneMoreThanAvailableChangesNothing)
{
    aligned_bytes memory;
    Reader reader(memory.from(0), 12);
    reader.getBits(3);
    EXPECT_FALSE(reader.skipBytes(13));
    EXPECT_FALSE(reader.skipBytes(~0UL));
    EXPECT_EQ(reader.position(), memory.from(0));
    EXPECT_EQ(reader.bitsLeft(), 61U);
    EXPECT_EQ(reader.bytesLeft(), 4U);
    EXPECT_EQ(reader.getBits(5), 1U);
}

TEST(BitReader, SkippingNothingStaysInsideAPartlyReadByte)
{
    aligned_bytes memory;
    Reader reader(memory.from(0), 12);
    reader.getBits(3);
    EXPECT_TRUE(reader.skipBytes(0));
    EXPECT_EQ(reader.bitsLeft(), 61U);
}

TEST(BitReader, SkippingAllExhausts)
{
    aligned_bytes memory;
    Reader reader(memory.from(0), 12);
    reader.getBits(3);
    EXPECT_TRUE(reader.skipBytes(12));
    EXPECT_TRUE(exhausted(reader));
    EXPECT_EQ(reader.position(), memory.from(12));
}

TEST(BitReader, OverNothingIsExhausted)
{
    Reader reader(nullptr, 0);
    std::uint8_t value = 7;
    EXPECT_TRUE(exhausted(reader));
    EXPECT_FALSE(reader.getBits<1>(value));
    EXPECT_FALSE(reader.getBits<0>(value));
    EXPECT_FALSE(reader.lookBits<1>(value));
    EXPECT_EQ(value, 7);
    EXPECT_EQ(reader.getBits(8), 0U);
    EXPECT_TRUE(reader.skipBytes(0));
    EXPECT_FALSE(reader.skipBytes(1));
    reader.updateCache(8);
    EXPECT_EQ(reader.position(), nullptr);
}

TEST(BitReader, UpdatingTheCacheReplacesIt)
{
    aligned_bytes memory;
    Reader reader(memory.from(0), 20);
    reader.getBits(3);
    reader.updateCache(2);
    EXPECT_EQ(reader.bitsLeft(), 16U);
    EXPECT_EQ(reader.bytesLeft(), 10U);
    EXPECT_EQ(reader.getBits(16), 0x899AU);
}

TEST(BitReader, UpdatingTheCacheStaysWithinEightBytesAndTheRange)
{
    aligned_bytes memory;
    Reader reader(memory.from(0), 20);
    reader.updateCache(0);
    EXPECT_EQ(reader.bitsLeft(), 64U);
    EXPECT_EQ(reader.bytesLeft(), 12U);
    reader.updateCache(9);
    EXPECT_EQ(reader.bitsLeft(), 64U);
    reader.updateCache(8);
    EXPECT_EQ(reader.bitsLeft(), 32U);
    EXPECT_EQ(reader.bytesLeft(), 0U);
    reader.updateCache(1);
    EXPECT_EQ(reader.bitsLeft(), 32U);
}

TEST(BitReader, ReadsALimitedRangeAndMovesBehindIt)
{
    aligned_bytes memory;
    Reader reader(memory.from(0), 20);
    EXPECT_TRUE(reader.readLimited(5, [&](Reader& part) {
        EXPECT_EQ(part.availableBytes(), 5U);
        return part.getBits(8) == 0x01;
    }));
    EXPECT_EQ(reader.position(), memory.from(5));
}

TEST(BitReader, StaysWhereItIsWhenALimitedRangeIsTooLongOrRefused)
{
    aligned_bytes memory;
    Reader reader(memory.from(0), 20);
    EXPECT_FALSE(reader.readLimited(21, [](Reader&) -> bool { throw "must not be called"; }));
    EXPECT_FALSE(reader.readLimited(5, [](Reader&) { return false; }));
    EXPECT_EQ(reader.position(), memory.from(0));
    EXPECT_EQ(reader.availableBytes(), 20U);
}

TEST(BitReader, CopyGoesOnByItself)
{
    aligned_bytes memory;
    Reader reader(memory.from(0), 20);
    reader.getBits(8);
    Reader copy(reader);
    EXPECT_EQ(copy.getBits(8), 0x12U);
    EXPECT_EQ(reader.getBits(8), 0x12U);
}

TEST(BitReader, HasAVirtualDestructor) { EXPECT_TRUE(std::has_virtual_destructor_v<Reader>); }

TEST(BitReader, EqualsTheModelForEveryWidthAlignmentAndSize)
{
    at_all_alignments_and_sizes(
        [](unsigned char* data, std::size_t size) { compare_widths(data, size, std::make_index_sequence<64>()); });
}

TEST(BitReader, EqualsTheModelForMixedWidthsAndSkips)
{
    at_all_alignments_and_sizes([](unsigned char* data, std::size_t size) {
        std::mt19937 random(static_cast<unsigned>(size));
        for (int round = 0; round < 20; ++round) {
            Reader reader(data, size);
            zqtest::BitReaderModel model(data, size);
            for (int step = 0; step < 60; ++step) {
                if (random() % 4 == 0) {
                    const unsigned bytes = random() % 6;
                    ASSERT_EQ(reader.skipBytes(bytes), model.skip(bytes));
                } else {
                    const auto width = static_cast<unsigned>(random() % 65);
                    std::uint64_t value = 0xABCD;
                    bool model_whole = false;
                    const auto expected = model.get(width, model_whole);
                    ASSERT_EQ(reader.getBits(width, value), model_whole);
                    ASSERT_EQ(value, expected.value_or(0xABCD));
                }
                ASSERT_EQ(reader.availableBytes(), model.available());
                ASSERT_EQ(reader.position(), data + model.position());
            }
        }
    });
}
} // namespace ZQBSReader_test
