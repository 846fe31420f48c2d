// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/parser/BlockPool.h"

#include <gmock/gmock.h>

#include <cstring>
#include <memory>
#include <random>
#include <set>
#include <thread>
#include <vector>

using mpegcore::BlockAllocator;
using mpegcore::give_block;
using mpegcore::take_block;

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
    EXPECT_THROW(static_cast<void>(BlockAllocator<int>().allocate(std::size_t{1} << 63)), std::bad_alloc);
}
