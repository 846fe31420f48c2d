// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zqsdk/ZQAlignMemory.h"

#include <gtest/gtest.h>

namespace ZQAlignMemory_test
{
using Memory = ZQSDK::ZQAlignMemory<unsigned char>;

std::uintptr_t past_boundary(const Memory& memory, std::uintptr_t alignment)
{
    return reinterpret_cast<std::uintptr_t>(memory.data()) % alignment;
}

TEST(AlignedMemory, KeepsItsBufferForASmallerRequestOfTheSameAlignment)
{
    Memory memory;
    memory.alloc(100, 16);
    EXPECT_EQ(past_boundary(memory, 16), 0U);
    unsigned char* const before = memory.data();
    before[49] = 7;
    memory.alloc(50, 16);
    EXPECT_EQ(memory.data(), before);
    EXPECT_EQ(memory.size(), 50U);
    EXPECT_EQ(memory.capacity(), 100U);
    EXPECT_EQ(memory.data()[49], 7);
}

TEST(AlignedMemory, GrowsBackWithinItsCapacity)
{
    Memory memory;
    memory.alloc(100, 16);
    memory.data()[99] = 7;
    unsigned char* const before = memory.data();
    memory.alloc(50, 16);
    memory.alloc(100, 16);
    EXPECT_EQ(memory.data(), before);
    EXPECT_EQ(memory.size(), 100U);
    EXPECT_EQ(memory.data()[99], 7);
}

TEST(AlignedMemory, ReallocatesForAnotherAlignment)
{
    Memory memory;
    memory.alloc(100, 16);
    memory.alloc(50, 32);
    EXPECT_EQ(past_boundary(memory, 32), 0U);
    EXPECT_EQ(memory.size(), 50U);
    EXPECT_EQ(memory.capacity(), 50U);
    EXPECT_EQ(memory.alignment(), 32U);
    memory.alloc(50, 16);
    EXPECT_EQ(memory.alignment(), 16U) << "also where the old one would do";
}

TEST(AlignedMemory, StartsEmpty)
{
    const Memory memory;
    EXPECT_EQ(memory.data(), nullptr);
    EXPECT_EQ(memory.size(), 0U);
    EXPECT_EQ(memory.capacity(), 0U);
    EXPECT_EQ(memory.alignment(), 0U);
}

TEST(AlignedMemory, ReallocatesForMoreThanItsCapacityAndZeroFills)
{
    Memory memory;
    memory.alloc(4, 8);
    memory.data()[0] = 7;
    memory.alloc(5, 8);
    EXPECT_EQ(memory.capacity(), 5U);
    for (std::size_t at = 0; at < memory.size(); ++at)
        EXPECT_EQ(memory.data()[at], 0);
}

TEST(AlignedMemory, LetsAllBytesOfEveryAlignmentBeUsed)
{
    for (const unsigned long alignment : {0, 1, 2, 4, 8, 16, 64, 4096})
        for (const unsigned long size : {0, 1, 7, 100}) {
            Memory memory;
            memory.alloc(size, alignment);
            EXPECT_EQ(past_boundary(memory, alignment == 0 ? 1 : alignment), 0U);
            std::fill_n(memory.data(), size, static_cast<unsigned char>(1));
            EXPECT_EQ(memory.alignment(), alignment);
        }
}

TEST(AlignedMemory, StaysAsItWasWhenMemoryRunsOut)
{
    Memory memory;
    memory.alloc(4, 8);
    unsigned char* const before = memory.data();
    EXPECT_THROW(memory.alloc(~0UL, 8), std::bad_alloc);
    EXPECT_EQ(memory.data(), before);
    EXPECT_EQ(memory.size(), 4U);
    EXPECT_EQ(memory.capacity(), 4U);
}

TEST(AlignedMemory, CopyHasItsOwnBytes)
{
    Memory memory;
    memory.alloc(4, 8);
    memory.data()[3] = 7;
    Memory copy(memory);
    copy.data()[3] = 8;
    EXPECT_EQ(memory.data()[3], 7);
    EXPECT_EQ(copy.size(), 4U);
    EXPECT_EQ(copy.alignment(), 8U);
}

TEST(AlignedMemory, AssignmentKeepsALargeEnoughBufferOfTheSameAlignment)
{
    Memory memory, target;
    memory.alloc(4, 8);
    memory.data()[3] = 7;
    target.alloc(10, 8);
    unsigned char* const before = target.data();
    target = memory;
    EXPECT_EQ(target.data(), before);
    EXPECT_EQ(target.size(), 4U);
    EXPECT_EQ(target.data()[3], 7);
    const Memory& itself = target;
    target = itself;
    EXPECT_EQ(target.data()[3], 7);
    target = Memory();
    EXPECT_EQ(target.data(), nullptr);
    EXPECT_EQ(target.capacity(), 0U);
}
} // namespace ZQAlignMemory_test
