// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zqsdk/ZQAlignMemory.h"

#include <gtest/gtest.h>

using Memory = ZQSDK::ZQAlignMemory<unsigned char>;

namespace
{
std::uintptr_t past_boundary(const Memory& memory, std::uintptr_t alignment)
{
    return reinterpret_cast<std::uintptr_t>(memory.data()) % alignment;
}
} // namespace

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

TEST(AlignedMemory, ReallocatesForAnotherAlignment)
{
    Memory memory;
    memory.alloc(100, 16);
    memory.alloc(50, 32);
    EXPECT_EQ(past_boundary(memory, 32), 0U);
    EXPECT_EQ(memory.size(), 50U);
    EXPECT_EQ(memory.capacity(), 50U);
    EXPECT_EQ(memory.alignment(), 32U);
}
