// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/CRC.h"

#include "mpegcore/crc/CRC32Kernel.h"
#include "support/rounds.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace CRC_test
{
using namespace mpegcore;

constexpr std::array<unsigned char, 9> digits{'1', '2', '3', '4', '5', '6', '7', '8', '9'};

std::vector<unsigned char> noise(std::size_t size)
{
    std::mt19937 random(1);
    std::vector<unsigned char> bytes(size);
    for (auto& byte : bytes)
        byte = static_cast<unsigned char>(random());
    return bytes;
}

/// Every way this processor can run, the one that is shipped first.
class EveryKernel : public testing::TestWithParam<detail::CRC32Kernel>
{
protected:
    void SetUp() override
    {
        if (!GetParam().runs_here())
            GTEST_SKIP() << "this processor lacks " << GetParam().name;
    }
};

std::vector<detail::CRC32Kernel> kernels()
{
    std::vector<detail::CRC32Kernel> all{{"shipped", crc32_mpeg2, [] { return true; }}};
    all.insert(all.end(), detail::crc32_kernels.begin(), detail::crc32_kernels.end());
    return all;
}

/// The register after one bit at a time, straight from the polynomial.
std::uint32_t divided(const std::vector<unsigned char>& bytes, std::uint32_t crc)
{
    for (const unsigned char byte : bytes)
        for (int bit = 7; bit >= 0; --bit) {
            const bool out = ((crc >> 31) ^ (byte >> bit & 1U)) != 0;
            crc = (crc << 1) ^ (out ? 0x04C11DB7U : 0U);
        }
    return crc;
}

TEST(Crc32, OfTheNineDigitsIs0376E6E7) { EXPECT_EQ(crc32_mpeg2(digits.data(), digits.size()), 0x0376E6E7U); }

TEST(Crc32, ReferenceOfTheNineDigitsIs0376E6E7)
{
    EXPECT_EQ(crc32_mpeg2_bytewise(digits.data(), digits.size()), 0x0376E6E7U);
}

TEST(Crc32, TableHoldsTheRegistersOfThePolynomial)
{
    EXPECT_EQ(g_MPEG2_PSI_CRC_32_Lookup[0], 0U);
    EXPECT_EQ(g_MPEG2_PSI_CRC_32_Lookup[1], 0x04C11DB7U);
    EXPECT_EQ(g_MPEG2_PSI_CRC_32_Lookup[255], 0xB1F740B4U);
}

TEST(Crc32, ReferenceDividesByThePolynomial)
{
    const auto bytes = noise(100);
    EXPECT_EQ(crc32_mpeg2_bytewise(bytes.data(), bytes.size(), 0x12345678), divided(bytes, 0x12345678));
}

TEST(Crc32, OverASectionWithItsCrcFieldIsZero)
{
    auto bytes = noise(180);
    const std::uint32_t crc = crc32_mpeg2(bytes.data(), bytes.size());
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes.push_back(static_cast<unsigned char>(crc >> shift));
    EXPECT_EQ(crc32_mpeg2(bytes.data(), bytes.size()), 0U);
}

TEST(Crc32, OfNothingIsTheRegisterItStartedWith)
{
    EXPECT_EQ(crc32_mpeg2(nullptr, 0), 0xFFFFFFFFU);
    EXPECT_EQ(crc32_mpeg2(nullptr, 0, 7), 7U);
}

TEST(Crc32, IsTheSameFromManyThreadsAtOnce)
{
    const auto bytes = noise(1000);
    const std::uint32_t expected = crc32_mpeg2_bytewise(bytes.data(), bytes.size());
    std::array<std::uint32_t, 8> results{};
    std::vector<std::thread> threads;
    for (auto& result : results)
        threads.emplace_back([&] { result = crc32_mpeg2(bytes.data(), bytes.size()); });
    for (auto& thread : threads)
        thread.join();
    for (const auto result : results)
        EXPECT_EQ(result, expected);
}

TEST_P(EveryKernel, EqualsTheReferenceForEveryLengthTo4096)
{
    const auto bytes = noise(4096);
    for (std::size_t size = 0; size <= bytes.size(); ++size)
        for (const std::uint32_t crc : {0xFFFFFFFFU, 0U, 0x80000001U})
            ASSERT_EQ(GetParam().run(bytes.data(), size, crc), crc32_mpeg2_bytewise(bytes.data(), size, crc)) << size;
}

TEST_P(EveryKernel, EqualsTheReferenceAtEveryAlignment)
{
    const auto bytes = noise(64 + 1100);
    for (std::size_t start = 0; start < 64; ++start)
        for (const std::size_t size : {1, 15, 16, 17, 31, 63, 127, 184, 188, 255, 511, 512, 513, 1024, 1099})
            ASSERT_EQ(GetParam().run(bytes.data() + start, size, 0xFFFFFFFF),
                      crc32_mpeg2_bytewise(bytes.data() + start, size))
                << start << ' ' << size;
}

TEST_P(EveryKernel, EqualsTheReferenceForEveryLengthTo4096AtEveryAlignment)
{
    constexpr std::size_t longest = 4096;
    const std::unique_ptr<unsigned char[]> block(new unsigned char[longest + 2 * 64]);
    const std::size_t past_boundary = reinterpret_cast<std::uintptr_t>(block.get()) % 64;
    const auto bytes = noise(longest);
    std::mt19937 random(3);
    for (std::size_t alignment = 0; alignment < 64; alignment += zqtest::stride(9)) {
        unsigned char* const data = block.get() + (64 - past_boundary) + alignment;
        std::copy(bytes.begin(), bytes.end(), data);
        const auto start = static_cast<std::uint32_t>(random());
        // The reference goes on by the byte that a length has more than the one before.
        std::uint32_t expected = start;
        for (std::size_t size = 0; size <= longest; ++size) {
            ASSERT_EQ(GetParam().run(data, size, start), expected) << alignment << ' ' << size;
            if (size < longest)
                expected = crc32_mpeg2_bytewise(data + size, 1, expected);
        }
    }
}

TEST_P(EveryKernel, EqualsTheReferenceFromEveryBitOfTheRegisterForEveryLengthTo4096)
{
    // The result is linear in the register too, so its 32 bits stand for every one, whatever the message.
    const std::vector<unsigned char> zeros(4096);
    for (unsigned bit = 0; bit < 32; bit += zqtest::stride(5)) {
        const std::uint32_t start = std::uint32_t{1} << bit;
        std::uint32_t expected = start;
        for (std::size_t size = 0; size <= zeros.size(); ++size) {
            ASSERT_EQ(GetParam().run(zeros.data(), size, start), expected) << bit << ' ' << size;
            if (size < zeros.size())
                expected = crc32_mpeg2_bytewise(zeros.data() + size, 1, expected);
        }
    }
}

TEST_P(EveryKernel, EqualsTheReferenceFromEveryStartingRegister)
{
    const auto bytes = noise(600);
    std::mt19937 random(2);
    std::vector<std::uint32_t> registers{0, 0xFFFFFFFF};
    for (int bit = 0; bit < 32; ++bit)
        registers.push_back(1U << bit);
    for (int extra = 0; extra < 1000; ++extra)
        registers.push_back(static_cast<std::uint32_t>(random()));
    for (const std::uint32_t crc : registers)
        for (const std::size_t size : {1, 2, 3, 4, 5, 16, 17, 18, 19, 20, 33, 184, 512, 513, 514, 515, 600})
            ASSERT_EQ(GetParam().run(bytes.data(), size, crc), crc32_mpeg2_bytewise(bytes.data(), size, crc)) << size;
}

TEST_P(EveryKernel, SeesEveryBitOfABlock)
{
    // The register is linear in the message, so single bits that come out right are all messages of this length.
    for (const std::size_t size : {40, 300, 900}) {
        std::vector<unsigned char> bytes(size);
        for (std::size_t bit = 0; bit < 8 * size; ++bit) {
            bytes[bit / 8] = static_cast<unsigned char>(1U << bit % 8);
            ASSERT_EQ(GetParam().run(bytes.data(), size, 0), crc32_mpeg2_bytewise(bytes.data(), size, 0)) << bit;
            bytes[bit / 8] = 0;
        }
    }
}

TEST_P(EveryKernel, ReadsNothingOutsideTheBlock)
{
    // An exact heap block each, so that AddressSanitizer sees one byte too many.
    const auto bytes = noise(1100);
    for (std::size_t size = 0; size <= bytes.size(); ++size) {
        const std::unique_ptr<unsigned char[]> block(new unsigned char[size]);
        std::copy_n(bytes.begin(), size, block.get());
        ASSERT_EQ(GetParam().run(block.get(), size, 0xFFFFFFFF), crc32_mpeg2_bytewise(bytes.data(), size));
    }
}

TEST_P(EveryKernel, CanBeCutAnywhere)
{
    const auto bytes = noise(700);
    const std::uint32_t whole = crc32_mpeg2_bytewise(bytes.data(), bytes.size());
    for (std::size_t cut = 0; cut <= bytes.size(); ++cut) {
        const std::uint32_t first = GetParam().run(bytes.data(), cut, 0xFFFFFFFF);
        ASSERT_EQ(GetParam().run(bytes.data() + cut, bytes.size() - cut, first), whole) << cut;
    }
}

INSTANTIATE_TEST_SUITE_P(Crc32, EveryKernel, testing::ValuesIn(kernels()), [](const auto& kernel) {
    std::string name = kernel.param.name;
    name.erase(std::remove_if(name.begin(), name.end(), [](char c) { return c == ' ' || c == '-'; }), name.end());
    return name;
});

TEST(Crc8, IsThatOfOneBitAfterTheOtherForEveryLengthAndStart)
{
    std::vector<unsigned char> bytes(300);
    std::mt19937 random(8);
    for (auto& byte : bytes)
        byte = static_cast<unsigned char>(random());
    for (std::size_t size = 0; size < 280; ++size) {
        unsigned expected = size & 0xFF;
        for (std::size_t at = 0; at < size; ++at) {
            expected ^= bytes[at + size % 16];
            for (int bit = 0; bit < 8; ++bit)
                expected = (expected & 0x80) != 0 ? (expected << 1 ^ 0xD5) & 0xFF : expected << 1;
        }
        ASSERT_EQ(crc8_dvb(bytes.data() + size % 16, size, static_cast<std::uint8_t>(size)), expected) << size;
    }
}

TEST(Crc8, OfTheNineDigitsIsBC) { EXPECT_EQ(crc8_dvb(digits.data(), digits.size()), 0xBC); }

TEST(Crc8, OverAHeaderWithItsCrcByteIsZero)
{
    auto bytes = noise(9);
    bytes.push_back(crc8_dvb(bytes.data(), bytes.size()));
    EXPECT_EQ(crc8_dvb(bytes.data(), bytes.size()), 0);
}

TEST(Crc8, GoesOnFromTheRegisterItIsGiven)
{
    const auto bytes = noise(9);
    EXPECT_EQ(crc8_dvb(bytes.data() + 4, 5, crc8_dvb(bytes.data(), 4)), crc8_dvb(bytes.data(), 9));
}
} // namespace CRC_test
