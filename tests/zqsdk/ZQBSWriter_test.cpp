// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zqsdk/ZQBSWriter.h"

#include <gmock/gmock.h>

#include <array>

using Writer = ZQSDK::ZQBSWriterT<unsigned char*>;
using testing::ElementsAre;

TEST(BitWriter, DestroyedWith20BitsStoresThreeBytesTheLastFourBitsZero)
{
    std::array<unsigned char, 3> bytes{0xFF, 0xFF, 0xFF};
    {
        Writer writer(bytes.data(), bytes.size());
        EXPECT_TRUE(writer.putBits(0xABCDEU, 20));
    }
    EXPECT_THAT(bytes, ElementsAre(0xAB, 0xCD, 0xE0));
}
