// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/crowd.h"

#include <gtest/gtest.h>

#include <array>

namespace crowd_test
{
using zq_net::crowd;

TEST(Crowd, IsThereFromSixteenOnAndForAsLongAsThereAreSoMany)
{
    std::array<crowd::member, crowd::least> members;
    ASSERT_EQ(crowd::least, 16U);
    for (std::size_t i = 0; i < members.size(); ++i) {
        EXPECT_FALSE(crowd::is_there()) << i;
        members[i].join();
    }
    EXPECT_TRUE(crowd::is_there());
    members[3].leave();
    EXPECT_FALSE(crowd::is_there());
}

TEST(Crowd, CountsAMemberOnceHoweverOftenItJoinsAndLeaves)
{
    std::array<crowd::member, crowd::least - 1> members;
    for (crowd::member& member : members)
        member.join();
    crowd::member last;
    members[0].join();
    EXPECT_FALSE(crowd::is_there());
    last.leave();
    last.join();
    last.join();
    EXPECT_TRUE(crowd::is_there());
    last.leave();
    last.leave();
    last.join();
    EXPECT_TRUE(crowd::is_there());
}

TEST(Crowd, IsLeftByAMemberThatEnds)
{
    std::array<crowd::member, crowd::least - 1> members;
    for (crowd::member& member : members)
        member.join();
    {
        crowd::member last;
        last.join();
        EXPECT_TRUE(crowd::is_there());
    }
    EXPECT_FALSE(crowd::is_there());
}
} // namespace crowd_test
