// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/Encapsulated.h"

#include <gmock/gmock.h>

namespace t2mi_timing_test
{
using namespace zqtest;
using namespace std::chrono_literals;
using t2mi::t2mi_options;
using testing::SizeIs;

TEST(Encapsulator, MakesRelativeTimestamps)
{
    auto options = frames_of(187);
    options.baseband_frames_per_t2_frame = options.t2_frames_per_superframe = 1;
    Encapsulated mix(options);
    for (const auto time : {0ms, 250ms, 1500ms}) {
        mix.encapsulator.advance(time);
        push_random(mix, 1);
    }
    mix.encapsulator.flush();
    const auto recording = decapsulated_stream(mix.data, 0);
    ASSERT_THAT(recording.timestamps, SizeIs(3));
    const std::uint32_t subseconds[] = {0, 16'000'000, 32'000'000};
    for (std::size_t at = 0; at < 3; ++at) {
        EXPECT_EQ(recording.timestamps[at].bw, 4);
        EXPECT_EQ(recording.timestamps[at].seconds_since_2000, 0U);
        EXPECT_EQ(recording.timestamps[at].subseconds, subseconds[at]);
        EXPECT_EQ(recording.timestamps[at].utco, 0);
    }
}

TEST(Encapsulator, MakesAbsoluteTimestamps)
{
    auto options = frames_of(187);
    options.start_seconds = 800'000'000;
    Encapsulated mix(options);
    mix.encapsulator.advance(2500ms);
    push_random(mix, 2);
    const auto recording = decapsulated_stream(mix.data, 0);
    ASSERT_THAT(recording.timestamps, SizeIs(1));
    EXPECT_EQ(recording.timestamps[0].seconds_since_2000, 800'000'002U);
    EXPECT_EQ(recording.timestamps[0].subseconds, 32'000'000U);
    EXPECT_EQ(recording.timestamps[0].utco, 5);
}

TEST(Encapsulator, ReachesAConstantRateWithNullPackets)
{
    t2mi_options options;
    options.bitrate = 10'000'000;
    Encapsulated mix(options);
    std::mt19937 random(1);
    for (auto time = 0ms; time < 3000ms; time += 1ms) {
        mix.encapsulator.advance(time);
        // Within a packet of the rate, but for the frame that has just gone out.
        const auto bits = static_cast<double>(mix.data.size() * 8);
        const double expected = 10'000.0 * static_cast<double>(time.count());
        ASSERT_GE(bits, expected);
        ASSERT_LE(bits, expected + 1504.0 * 50);
        mix.push(0, random_packet(random));
    }
    EXPECT_EQ(mix.encapsulator.packets_sent(), mix.data.size() / 188);
    std::uint64_t null_packets = 0;
    std::uint64_t PATs = 0;
    for (std::size_t at = 0; at < mix.data.size(); at += 188) {
        null_packets += mix.data[at + 1] == 0x1F && mix.data[at + 2] == 0xFF ? 1 : 0;
        PATs += mix.data[at + 1] == 0x40 && mix.data[at + 2] == 0x00 ? 1 : 0;
    }
    EXPECT_EQ(mix.encapsulator.null_packets_sent(), null_packets);
    EXPECT_GE(PATs, 30U);
    const Bytes out = decapsulated_stream(mix.data, 0).transport_stream();
    EXPECT_EQ(out, slice(mix.pushed[0], 0, out.size()));
    EXPECT_GT(out.size(), 188U * 2900);
}

TEST(Encapsulator, TellsHowFarItRunsAhead)
{
    t2mi_options options;
    options.bitrate = 1'504'000; // 1000 packets a second
    Encapsulated mix(options);
    push_random(mix, 300);
    const auto lead = mix.encapsulator.lead();
    EXPECT_EQ(lead, std::chrono::milliseconds(mix.encapsulator.packets_sent()));
    mix.encapsulator.advance(50ms);
    EXPECT_EQ(mix.encapsulator.lead(), lead - 50ms);
    EXPECT_EQ(mix.encapsulator.null_packets_sent(), 0U);
    mix.encapsulator.advance(1s);
    EXPECT_EQ(mix.encapsulator.packets_sent(), 1000U);
}
} // namespace t2mi_timing_test
