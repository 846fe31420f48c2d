// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/parser/BlockPool.h"

#include "support/sanitizers.h"

#include <gmock/gmock.h>

#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <set>
#include <thread>
#include <vector>

namespace BlockPool_test
{
using mpegcore::BlockAllocator;
using mpegcore::give_block;
using mpegcore::take_block;

class PoisonedBlocks : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!zqtest::address_sanitizer)
            GTEST_SKIP() << "only AddressSanitizer sees it";
    }
};

unsigned char* taken(std::size_t size) { return static_cast<unsigned char*>(take_block(size)); }

int value_at(const volatile unsigned char* place) { return *place; }

TEST(BlockPool, HandsOutBlocksThatDoNotOverlap)
{
    std::mt19937 random(1);
    std::vector<std::pair<unsigned char*, std::size_t>> blocks;
    for (int round = 0; round < 20000; ++round) {
        if (random() % 2 == 0 || blocks.empty()) {
            const std::size_t size = 1 + random() % 1500;
            auto* block = static_cast<unsigned char*>(take_block(size));
            std::memset(block, static_cast<int>(size & 0xFF), size);
            blocks.emplace_back(block, size);
            continue;
        }
        std::swap(blocks[random() % blocks.size()], blocks.back());
        const auto [block, size] = blocks.back();
        for (std::size_t at = 0; at < size; ++at)
            ASSERT_EQ(block[at], size & 0xFF);
        give_block(block, size);
        blocks.pop_back();
    }
    for (const auto& [block, size] : blocks)
        give_block(block, size);
}

TEST(BlockPool, TakesBlocksBackFromAnotherThread)
{
    std::vector<void*> blocks;
    for (int count = 0; count < 200; ++count)
        blocks.push_back(take_block(100));
    std::thread([&blocks] {
        for (void* block : blocks)
            give_block(block, 100);
        give_block(take_block(100), 100);
    }).join();
    give_block(take_block(100), 100);
}

TEST(BlockPool, TakesABlockOfNothing)
{
    void* block = take_block(0);
    EXPECT_NE(block, nullptr);
    give_block(block, 0);
}

TEST(BlockPool, ServesContainersAndSharedPointers)
{
    std::vector<int, BlockAllocator<int>> numbers;
    for (int count = 0; count < 1000; ++count)
        numbers.push_back(count);
    EXPECT_EQ(numbers[999], 999);
    const auto shared = std::allocate_shared<std::set<int>>(BlockAllocator<int>(), std::set<int>{1, 2});
    EXPECT_EQ(shared->size(), 2U);
    EXPECT_THROW(static_cast<void>(BlockAllocator<int>().allocate(std::numeric_limits<std::size_t>::max() / 2)),
                 std::bad_alloc);
}

TEST(BlockPool, KeepsAFreedBlockForTheNextOneOfItsSizeUnderASanitizerToo)
{
    for (const std::size_t size : {1, 64, 65, 1000, 1024}) {
        void* const first = take_block(size);
        void* const second = take_block(size);
        give_block(second, size);
        give_block(first, size);
        EXPECT_EQ(take_block(size), first) << size;
        EXPECT_EQ(take_block(size), second) << size;
        give_block(first, size);
        give_block(second, size);
    }
}

TEST(BlockPool, KeepsOneBlockForAllSizesOfTheSameSixtyFour)
{
    void* const block = take_block(128);
    give_block(block, 128);
    auto* const again = taken(65);
    EXPECT_EQ(again, block);
    std::memset(again, 0xFF, 65);
    give_block(again, 65);
}

TEST(BlockPool, CountsTheBytesThatWereAskedFor)
{
    const std::size_t before = mpegcore::block_bytes();
    void* const small = take_block(10);
    void* const large = take_block(5000);
    EXPECT_EQ(mpegcore::block_bytes() - before, 5010U);
    give_block(small, 10);
    give_block(large, 5000);
    EXPECT_EQ(mpegcore::block_bytes(), before);
}

TEST_F(PoisonedBlocks, EachByteOfAFreedOneIsReportedWhenItIsUsed)
{
    for (const std::size_t size : {1, 64, 100, 1024}) {
        auto* const block = taken(size);
        give_block(block, size);
        EXPECT_DEATH(value_at(block), "use-after-poison") << size;
        EXPECT_DEATH(value_at(block + size - 1), "use-after-poison") << size;
    }
}

TEST_F(PoisonedBlocks, TheByteBehindOneInUseIsReported)
{
    auto* const block = taken(100);
    block[99] = 1;
    EXPECT_DEATH(value_at(block + 100), "use-after-poison");
    give_block(block, 100);
}

TEST_F(PoisonedBlocks, OneThatIsTakenAgainIsUsable)
{
    give_block(take_block(128), 128);
    auto* const block = taken(128);
    std::memset(block, 1, 128);
    EXPECT_EQ(value_at(block + 127), 1);
    give_block(block, 128);
}
} // namespace BlockPool_test
