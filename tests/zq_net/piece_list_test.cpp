// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/piece.h"

#include <gtest/gtest.h>

namespace piece_list_test
{
using zq_net::piece_list;

const unsigned char memory[100] = {};

TEST(PieceList, JoinsNeighboursInMemoryUnderTheTimeOfTheFirst)
{
    piece_list list{1000};
    list.add({memory, 10, 500});
    list.add({memory + 10, 20, 1499});
    ASSERT_EQ(list.size(), 1U);
    EXPECT_EQ(list[0].data, memory);
    EXPECT_EQ(list[0].size, 30U);
    EXPECT_EQ(list[0].arrival, 500U);
}

TEST(PieceList, KeepsApartWhatDoesNotAdjoin)
{
    piece_list list;
    list.add({memory, 10, 0});
    list.add({memory + 11, 10, 0});
    EXPECT_EQ(list.size(), 2U);
}

TEST(PieceList, KeepsApartWhatStandsBehindAGap)
{
    piece_list list;
    list.add({memory, 10, 0});
    list.add({memory + 10, 10, 0, true});
    ASSERT_EQ(list.size(), 2U);
    EXPECT_TRUE(list[1].gap);
}

TEST(PieceList, KeepsApartWhatCameMuchLater)
{
    piece_list list{1000};
    list.add({memory, 10, 500});
    list.add({memory + 10, 10, 1500});
    EXPECT_EQ(list.size(), 2U);
}

TEST(PieceList, LeavesOutWhatIsEmpty)
{
    piece_list list;
    list.add({memory, 0, 0});
    EXPECT_TRUE(list.empty());
}

TEST(PieceList, KeepsCopiesInPlaceHoweverManyFollow)
{
    piece_list list;
    for (unsigned char value = 0; value < 200; ++value)
        list.add_copy({&value, 1, 0, true});
    ASSERT_EQ(list.size(), 200U);
    for (unsigned value = 0; value < 200; ++value)
        EXPECT_EQ(*list[value].data, value);
}

TEST(PieceList, KeepsOfACopyWhatWasSaidOfTheBytes)
{
    piece_list list;
    list.add_copy({memory, 1, 5, true, true});
    ASSERT_EQ(list.size(), 1U);
    EXPECT_EQ(list[0].arrival, 5U);
    EXPECT_TRUE(list[0].gap);
    EXPECT_TRUE(list[0].anew);
}
} // namespace piece_list_test
