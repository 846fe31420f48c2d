// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/demo/demo.h"

#include "mpegcore/monitor/StreamMonitor.h"
#include "tools/monitor/demo/demo_multiplex.h"
#include "tools/monitor/demo/demo_t2mi.h"
#include "tools/monitor/demo/file_source.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

namespace demo_streams_test
{
using monitor::packet_source;
using mpegcore::Check;
using mpegcore::StreamMonitor;
using std::chrono::nanoseconds;
using std::chrono::seconds;

/// Watches so much of the source.
void watch(StreamMonitor& monitor, packet_source& source, nanoseconds length)
{
    packet_source::timed_packet packet;
    constexpr std::uint64_t begin = 1'000'000'000, tick = 100'000'000;
    for (std::uint64_t now = begin, next_tick = begin; now < begin + static_cast<std::uint64_t>(length.count());) {
        ASSERT_TRUE(source.next(packet));
        now = begin + static_cast<std::uint64_t>(packet.due.count());
        for (; next_tick <= now; next_tick += tick)
            monitor.tick(next_tick);
        monitor.put(packet.bytes.data(), 1, now);
    }
}

std::string errors_of(const StreamMonitor& monitor)
{
    std::string text;
    for (const auto& check : mpegcore::TR101290_checks)
        if (monitor.checks()[check.check].count > 0)
            text += std::string(check.name) + ' ';
    return text;
}

TEST(Demo, ItsStreamsHaveNoErrorButThoseThatAreMeant)
{
    const std::pair<monitor::demo_fault, const char*> expected[] = {
        {monitor::demo_fault::none, ""},
        {monitor::demo_fault::no_PMT, "PMT_error_2 "},
        {monitor::demo_fault::damaged, "Sync_byte_error Continuity_count_error Transport_error "}};
    for (const auto& [fault, errors] : expected) {
        monitor::demo_multiplex source({1, "One <two>"}, 3'000'000, fault);
        StreamMonitor monitor;
        watch(monitor, source, seconds{41});
        EXPECT_EQ(errors_of(monitor), errors);
        ASSERT_EQ(monitor.contents().services.size(), 1U);
        EXPECT_EQ(monitor.contents().services[0].name, "One <two>");
    }
}

TEST(Demo, ItsStreamsHaveTheBitRateThatTheirPCRsTell)
{
    monitor::demo_multiplex source({}, 4'000'000);
    StreamMonitor monitor;
    watch(monitor, source, seconds{5});
    const auto* const video = monitor.contents().PIDs.find(monitor::demo_service::video_PID);
    ASSERT_NE(video, nullptr);
    ASSERT_NE(video->PCR, nullptr);
    EXPECT_NEAR(static_cast<double>(video->PCR->bit_rate), 4e6, 1e3);
    EXPECT_EQ(monitor.contents().packets, 5ULL * 4'000'000 / 8 / 188 + 2); // the first one, and that which ends it
}

TEST(Demo, ItsT2MIHasTwoPLPsAndTimestampsThatGoOnUnevenly)
{
    monitor::demo_t2mi source;
    mpegcore::MonitorLimits limits;
    limits.SI_is_expected = false;
    StreamMonitor monitor(limits);
    watch(monitor, source, seconds{10});
    EXPECT_EQ(errors_of(monitor), "T2MI_DVB-T2_Timestamp_discontinuity ");
    const auto contents = monitor.T2MI();
    ASSERT_TRUE(contents.has_value());
    ASSERT_EQ(contents->PLPs.size(), 2U);
    for (const auto& PLP : contents->PLPs) {
        EXPECT_GT(PLP.packets, 9ULL * monitor::demo_t2mi::PLP_bitrate / 8 / 188);
        EXPECT_NE(PLP.L1, nullptr);
    }
}

TEST(Demo, AFileIsSentByItsPCRs)
{
    const auto name = std::filesystem::path(testing::TempDir()) / "demo_test.ts";
    monitor::demo_multiplex source({}, 3'000'000);
    packet_source::timed_packet packet;
    {
        std::ofstream file(name, std::ios::binary);
        for (int count = 0; count < 2000; ++count) {
            ASSERT_TRUE(source.next(packet));
            file.write(reinterpret_cast<const char*>(packet.bytes.data()), static_cast<long>(packet.bytes.size()));
        }
    }
    const auto length = packet.due;
    monitor::file_source played;
    ASSERT_TRUE(played.open(name.string()));
    int count = 0;
    while (played.next(packet))
        ++count;
    std::filesystem::remove(name);
    EXPECT_EQ(count, 2000);
    // The first PCRs are waited for at another rate.
    EXPECT_LT(packet.due > length ? packet.due - length : length - packet.due, std::chrono::milliseconds{50});
    EXPECT_FALSE(played.next(packet));
}

TEST(Demo, AFileThatIsNotThereIsNamed)
{
    monitor::player player;
    std::vector<monitor::stream_settings> streams;
    std::string fault;
    EXPECT_FALSE(monitor::add_file("A=nowhere/a.ts", player, streams, fault));
    EXPECT_THAT(fault, testing::HasSubstr("nowhere/a.ts"));
}
} // namespace demo_streams_test
