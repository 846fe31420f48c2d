// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/Stream.h"
#include "tools/t2mi/input_clock.h"

#include <gtest/gtest.h>

namespace input_clock_test
{
using namespace std::chrono_literals;
using zqtest::Stream;

std::vector<std::chrono::nanoseconds> stamps(Stream& stream, std::uint64_t bitrate = 1'504'000)
{
    t2mi::input_clock clock(bitrate);
    std::vector<std::chrono::nanoseconds> times;
    for (std::size_t at = 0; at < stream.data.size(); at += 188)
        times.push_back(clock.stamp(stream.data.data() + at));
    return times;
}

/// A PCR of so many milliseconds.
void PCR(Stream& stream, std::uint64_t milliseconds, unsigned PID = 0x101) { stream.PCR(PID, 90 * milliseconds, 0); }

TEST(InputClock, SpacesPacketsWithoutPCRByTheBitRate)
{
    Stream stream;
    for (int packet = 0; packet < 100; ++packet)
        stream.null();
    const auto times = stamps(stream);
    for (std::size_t at = 0; at < times.size(); ++at)
        EXPECT_NEAR(static_cast<double>(times[at].count()), 1e6 * static_cast<double>(at), 2.0);
}

TEST(InputClock, FollowsThePCR)
{
    Stream stream;
    PCR(stream, 5000);
    stream.null().null().null();
    PCR(stream, 5040);
    stream.null().null().null();
    PCR(stream, 5080);
    const auto times = stamps(stream);
    ASSERT_EQ(times.size(), 9U);
    EXPECT_EQ(times[0], 0ns);
    EXPECT_EQ(times[4], 40ms);
    EXPECT_NEAR(static_cast<double>(times[5].count()), 50e6, 2.0); // spaced as between the two PCRs before
    EXPECT_EQ(times[8], 80ms);
}

TEST(InputClock, KeepsToTheFirstPIDWithAPCR)
{
    Stream stream;
    PCR(stream, 1000);
    PCR(stream, 77000, 0x102);
    PCR(stream, 1020);
    EXPECT_EQ(stamps(stream)[2], 20ms);
}

TEST(InputClock, NeverGoesBack)
{
    Stream stream;
    for (int packet = 0; packet < 50; ++packet)
        stream.null();
    PCR(stream, 1000);
    for (int packet = 0; packet < 50; ++packet)
        stream.null();
    PCR(stream, 1010); // the 50 packets took 10 ms only
    stream.null();
    const auto times = stamps(stream);
    for (std::size_t at = 1; at < times.size(); ++at)
        ASSERT_GE(times[at], times[at - 1]);
}

TEST(InputClock, GoesOnOverAWrapOfThePCR)
{
    Stream stream;
    stream.PCR(0x101, (std::uint64_t{1} << 33) - 900, 0);
    stream.PCR(0x101, 900, 0);
    EXPECT_EQ(stamps(stream)[1], 20ms);
}

TEST(InputClock, BeginsAnewAtAJump)
{
    for (const std::uint64_t jump : {100U, 90000U}) {
        Stream stream;
        PCR(stream, 5000);
        PCR(stream, 5010);
        PCR(stream, jump);
        PCR(stream, jump + 10);
        const auto times = stamps(stream);
        EXPECT_NEAR(static_cast<double>(times[2].count()), 20e6, 2.0);
        EXPECT_NEAR(static_cast<double>(times[3].count()), 30e6, 2.0);
    }
}

TEST(InputClock, HeedsTheDiscontinuityIndicator)
{
    Stream stream;
    PCR(stream, 5000);
    PCR(stream, 5010);
    stream.packet(0x101, Stream::goes_on, zqtest::Bytes(176), Stream::PCR_bytes(90 * 5500, 0), 0x90);
    EXPECT_NEAR(static_cast<double>(stamps(stream)[2].count()), 20e6, 2.0);
}
} // namespace input_clock_test
