// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/Stream.h"
#include "tools/tables/rate_meter.h"

#include <gtest/gtest.h>

namespace rate_meter_test
{
/// A meter that has seen `stream`.
tables::rate_meter meter_of(const zqtest::Stream& stream)
{
    tables::rate_meter meter;
    for (std::size_t at = 0; at < stream.data.size(); at += 188)
        meter.put(stream.data.data() + at);
    return meter;
}

// 1000 packets in a tenth of a second, 9000 ticks of 90 kHz.
constexpr double rate = 1000 * 188 * 8 * 10;

void add_PCRs(zqtest::Stream& stream, std::uint64_t first_base, unsigned count)
{
    constexpr std::uint64_t cycle = std::uint64_t{1} << 33;
    for (unsigned at = 0; at < count; ++at) {
        stream.PCR(0x101, (first_base + std::uint64_t{at} * 9000) % cycle, 0);
        for (int packet = 0; packet < 999; ++packet)
            packet % 4 == 0 ? stream.packet(0x102, zqtest::Stream::goes_on, zqtest::Bytes(184)) : stream.null();
    }
}

TEST(RateMeter, TellsTheRateOfTheStreamAndOfAPID)
{
    zqtest::Stream stream;
    add_PCRs(stream, 1'000'000, 5);
    const auto meter = meter_of(stream);
    ASSERT_TRUE(meter.bitrate());
    EXPECT_DOUBLE_EQ(*meter.bitrate(), rate);
    EXPECT_DOUBLE_EQ(*meter.bitrate(0x102), rate / 4);
    EXPECT_DOUBLE_EQ(*meter.bitrate(0x101), rate / 1000);
    EXPECT_DOUBLE_EQ(*meter.bitrate(0x103), 0);
}

TEST(RateMeter, KnowsNoRateBeforeTwoPCRs)
{
    zqtest::Stream stream;
    stream.null().PCR(0x101, 5, 0).null();
    EXPECT_FALSE(meter_of(stream).bitrate());
    EXPECT_FALSE(meter_of(stream).bitrate(0x101));
    EXPECT_FALSE(meter_of({}).bitrate());
}

TEST(RateMeter, CountsOnWhenThePCRBeginsAnewAndPassesOverJumps)
{
    zqtest::Stream stream;
    add_PCRs(stream, (std::uint64_t{1} << 33) - 9000, 3);
    add_PCRs(stream, 77'777'777, 3);
    add_PCRs(stream, 5, 3);
    EXPECT_DOUBLE_EQ(*meter_of(stream).bitrate(), rate);
}

TEST(RateMeter, GoesByThePCRsOfOnePID)
{
    zqtest::Stream stream;
    stream.PCR(0x101, 0, 0).PCR(0x201, 5, 0).PCR(0x101, 9000, 0).PCR(0x201, 10, 0);
    EXPECT_DOUBLE_EQ(*meter_of(stream).bitrate(), 2 * 188 * 8 * 10);
}
} // namespace rate_meter_test
