// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zqsdk/ZQBSReader.h"

#include <gtest/gtest.h>

using Reader = ZQSDK::ZQBSReaderT<unsigned char*>;

TEST(BitReader, OverOneByteDeliversItAndThenFails)
{
    unsigned char byte = 0xA5;
    Reader reader(&byte, 1);
    unsigned char value = 0;
    EXPECT_TRUE(reader.getBits<8>(value));
    EXPECT_EQ(value, 0xA5);
    EXPECT_FALSE(reader.getBits<1>(value));
}
