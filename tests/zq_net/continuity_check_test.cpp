// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/continuity_check.h"

#include <gtest/gtest.h>

#include <vector>

namespace continuity_check_test
{
constexpr unsigned payload = 0x10, adaptation = 0x20;

/// A packet of PID 0x100 with this continuity_counter.
std::vector<unsigned char> packet(unsigned counter, unsigned control = payload, unsigned PID = 0x100)
{
    std::vector<unsigned char> bytes(188, 0xFF);
    bytes[0] = 0x47;
    bytes[1] = static_cast<unsigned char>(PID >> 8);
    bytes[2] = static_cast<unsigned char>(PID);
    bytes[3] = static_cast<unsigned char>(control | counter);
    bytes[4] = 0;
    return bytes;
}

struct stand
{
    std::uint64_t errors_after(const std::vector<std::vector<unsigned char>>& packets)
    {
        for (const auto& each : packets)
            check.look_at(each.data(), each.size());
        return check.continuity_errors();
    }
    zq_net::continuity_check check;
};

TEST(ContinuityCheck, FindsNoErrorInCountersThatFollowOverTheWrap)
{
    EXPECT_EQ(stand{}.errors_after({packet(14), packet(15), packet(0), packet(1)}), 0U);
}

TEST(ContinuityCheck, CountsAGapOnce) { EXPECT_EQ(stand{}.errors_after({packet(0), packet(3), packet(4)}), 1U); }

TEST(ContinuityCheck, AllowsOneRepetition)
{
    EXPECT_EQ(stand{}.errors_after({packet(0), packet(1), packet(1), packet(2)}), 0U);
    EXPECT_EQ(stand{}.errors_after({packet(0), packet(1), packet(1), packet(1), packet(2)}), 1U);
}

TEST(ContinuityCheck, ExpectsTheCounterToStandStillWithoutPayload)
{
    EXPECT_EQ(stand{}.errors_after({packet(5), packet(5, adaptation), packet(5, adaptation), packet(6)}), 0U);
    EXPECT_EQ(stand{}.errors_after({packet(5), packet(6, adaptation), packet(7)}), 1U);
}

TEST(ContinuityCheck, AllowsADiscontinuityThatIsAnnounced)
{
    auto announced = packet(9, payload | adaptation);
    announced[4] = 1;
    announced[5] = 0x80;
    EXPECT_EQ(stand{}.errors_after({packet(0), announced, packet(10)}), 0U);
}

TEST(ContinuityCheck, DoesNotLookAtNullPackets)
{
    EXPECT_EQ(stand{}.errors_after({packet(0, payload, 0x1FFF), packet(9, payload, 0x1FFF)}), 0U);
}

TEST(ContinuityCheck, FollowsEachPidByItself)
{
    EXPECT_EQ(stand{}.errors_after({packet(0), packet(8, payload, 0x101), packet(1), packet(9, payload, 0x101)}), 0U);
}

TEST(ContinuityCheck, CountsTransportErrorsAndLooksAtNothingElseOfSuchPackets)
{
    stand to;
    auto broken = packet(9);
    broken[1] |= 0x80;
    EXPECT_EQ(to.errors_after({packet(0), broken, packet(1)}), 0U);
    EXPECT_EQ(to.check.transport_errors(), 1U);
}

TEST(ContinuityCheck, ForgetsWhatWasWhenTold)
{
    stand to;
    to.errors_after({packet(0)});
    to.check.forget();
    EXPECT_EQ(to.errors_after({packet(7)}), 0U);
}

TEST(ContinuityCheck, LooksAtAllPacketsOfABlock)
{
    auto block = packet(0);
    const auto second = packet(2);
    block.insert(block.end(), second.begin(), second.end());
    EXPECT_EQ(stand{}.errors_after({block}), 1U);
}
} // namespace continuity_check_test
