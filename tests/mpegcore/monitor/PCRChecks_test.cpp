// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/MonitoredStream.h"

#include <gmock/gmock.h>

namespace PCRChecks_test
{
using mpegcore::Check;
using mpegcore::CheckState;
using mpegcore::MonitorLimits;
using zqtest::audio_PID;
using zqtest::Bytes;
using zqtest::MonitoredStream;
using zqtest::Stream;
using zqtest::video_PID;

constexpr std::uint64_t base_range = std::uint64_t{1} << 33;

/// A packet with a PCR of so many 90 kHz ticks.
void send_PCR(MonitoredStream& watched, std::uint64_t base, bool is_discontinuity = false)
{
    watched.stream.PCR(video_PID, base % base_range, 0);
    if (is_discontinuity)
        watched.stream.data[5] |= 0x80;
    watched.flush();
}

/// One that has run for a second, and whose PCRs the test sends.
struct Watched : MonitoredStream
{
    explicit Watched(const MonitorLimits& limits = {}) : MonitoredStream(limits)
    {
        run(1000);
        stop("PCR");
        base = 90 * (now() / ms);
        send_PCR(*this, base);
    }
    std::uint64_t base;
};

TEST(PCRRepetition, MayTake100MillisecondsByArrival)
{
    Watched watched;
    watched.run(100);
    send_PCR(watched, watched.base + 9000);
    EXPECT_EQ(watched.errors(), "");
    watched.run(101);
    send_PCR(watched, watched.base + 9000 + 9000);
    EXPECT_EQ(watched.errors(), "2.3.a: 1");
    EXPECT_EQ(watched.monitor.checks()[Check::PCR_repetition_error].PID, video_PID);
    EXPECT_EQ(watched.monitor.checks()[Check::PCR_repetition_error].detail(), "101 ms since the PCR before");
}

TEST(PCRRepetition, CanBeHeldAgainst40Milliseconds)
{
    MonitorLimits limits;
    limits.PCR_repetition = 40 * MonitoredStream::ms;
    Watched watched(limits);
    watched.run(40);
    send_PCR(watched, watched.base + 3600);
    EXPECT_EQ(watched.errors(), "");
    watched.run(41);
    send_PCR(watched, watched.base + 7290);
    EXPECT_EQ(watched.errors(), "2.3.a: 1");
}

TEST(PCRRepetition, FailsAsLongAsThereIsNone)
{
    Watched watched;
    watched.run(2000);
    EXPECT_EQ(watched.errors(), "2.3.a: 1");
    EXPECT_EQ(watched.state(Check::PCR_repetition_error), CheckState::failing);
}

TEST(PCRRepetition, IsWaitedForOnAPCRPIDThatNeverHadOne)
{
    MonitoredStream watched;
    watched.stop("PCR");
    watched.run(400);
    EXPECT_EQ(watched.errors(), "2.3.a: 1");
}

TEST(PCRRepetition, IsNotWaitedForInAProgramWithoutPCRs)
{
    MonitoredStream watched;
    watched.stop("PCR");
    watched.parts["PMT"].send = [](Stream& s) {
        s.section(zqtest::PMT_PID, zqtest::PMT_section_of(1, 0x1FFF, {{0x1B, video_PID}, {0x03, audio_PID}}));
    };
    watched.run(3000);
    EXPECT_EQ(watched.errors(), "");
    EXPECT_EQ(watched.state(Check::PCR_repetition_error), CheckState::not_applicable);
}

TEST(PCRDiscontinuity, IsAStepOfMoreThan100Milliseconds)
{
    Watched watched;
    watched.run(40);
    send_PCR(watched, watched.base + 9000);
    EXPECT_EQ(watched.errors(), "");
    watched.run(40);
    send_PCR(watched, watched.base + 9000 + 9001);
    EXPECT_EQ(watched.errors(), "2.3.b: 1");
    EXPECT_EQ(watched.monitor.checks()[Check::PCR_discontinuity_indicator_error].detail(), "PCR went on by 100 ms");
}

TEST(PCRDiscontinuity, MayBeNoStepButNoneBack)
{
    Watched watched;
    watched.run(40);
    send_PCR(watched, watched.base);
    EXPECT_EQ(watched.errors(), "");
    watched.run(40);
    send_PCR(watched, watched.base - 1);
    EXPECT_EQ(watched.errors(), "2.3.b: 1");
}

TEST(PCRDiscontinuity, IsCountedOnceForAStepToAnotherTimeBase)
{
    Watched watched;
    for (unsigned at = 1; at <= 10; ++at) {
        watched.run(40);
        send_PCR(watched, 5'000'000 + 3600 * at);
    }
    EXPECT_EQ(watched.errors(), "2.3.b: 1");
}

TEST(PCRDiscontinuity, IsNoneWhereItIsAnnounced)
{
    Watched watched;
    watched.run(40);
    send_PCR(watched, 5'000'000, true);
    watched.run(40);
    send_PCR(watched, 5'003'600);
    EXPECT_EQ(watched.errors(), "");
}

TEST(PCRDiscontinuity, MayBeAnnouncedInAPacketInFrontOfThePCR)
{
    Watched watched;
    watched.run(20);
    watched.stream.packet(video_PID, Stream::goes_on, Bytes(170), {}, 0x80);
    watched.flush();
    watched.run(20);
    send_PCR(watched, 5'000'000);
    watched.run(40);
    send_PCR(watched, 5'003'600);
    EXPECT_EQ(watched.errors(), "");
    watched.run(40);
    send_PCR(watched, 100);
    EXPECT_EQ(watched.errors(), "2.3.b: 1");
}

TEST(PCRDiscontinuity, IsNoneAtTheWrap)
{
    Watched watched;
    send_PCR(watched, base_range - 1800, true);
    watched.run(40);
    send_PCR(watched, base_range + 1800);
    watched.run(40);
    send_PCR(watched, base_range + 5400);
    EXPECT_EQ(watched.errors(), "");
    watched.run(40);
    send_PCR(watched, base_range + 5399); // one step back
    EXPECT_EQ(watched.errors(), "2.3.b: 1");
}

TEST(PCRFigures, AreTheRateTheLongestIntervalAndTheJitterOfTheLastSecond)
{
    MonitoredStream watched;
    watched.stop("null");
    watched.parts["null"] = {[](Stream& s) { s.null().null().null().null().null().null().null(); }, 10, 0};
    watched.run(3000);
    const mpegcore::PCRFigures* const PCR = watched.monitor.contents().PIDs.find(video_PID)->PCR;
    ASSERT_NE(PCR, nullptr);
    EXPECT_EQ(PCR->PCRs, 75U);
    EXPECT_EQ(PCR->longest_interval, 40 * MonitoredStream::ms);
    EXPECT_EQ(PCR->arrival_jitter, 0U);
    EXPECT_EQ(PCR->last_arrival, (1'000'000 + 2962) * MonitoredStream::ms);
    // 700 null packets a second, and 62 others, some of them between the last PCR and the end.
    EXPECT_GT(PCR->bit_rate, 755U * 1504);
    EXPECT_LT(PCR->bit_rate, 770U * 1504);
    watched.parts["PCR"].send = [&watched, late = false](Stream& s) mutable {
        late = !late;
        s.PCR(video_PID, 90 * (watched.now() / MonitoredStream::ms) - (late ? 450 : 0), 0); // 5 ms
    };
    watched.run(2000);
    EXPECT_EQ(PCR->arrival_jitter, 5 * MonitoredStream::ms);
}

TEST(PTSError, IsMoreThan700MillisecondsBetweenTwo)
{
    MonitoredStream watched;
    watched.parts["video"].interval = 700;
    watched.run(10'000);
    EXPECT_EQ(watched.errors(), "");
    watched.run(1000);
    watched.stop("video");
    watched.run(1400);
    EXPECT_EQ(watched.errors(), "2.5: 1");
    EXPECT_EQ(watched.monitor.checks()[Check::PTS_error].PID, video_PID);
    EXPECT_EQ(watched.state(Check::PTS_error), CheckState::failing);
}

TEST(PTSError, IsFoundBetweenTwoTicks)
{
    MonitoredStream watched;
    watched.parts["video"].interval = 701;
    watched.run(702 * 3);
    EXPECT_EQ(watched.count(Check::PTS_error), 2U);
}

TEST(PTSError, IsNotSoughtInOtherStreams)
{
    MonitoredStream watched;
    watched.parts["PMT"].send = [](Stream& s) {
        const Bytes subtitles{0x59, 8, 'd', 'e', 'u', 0x10, 0, 1, 0, 1};
        s.section(zqtest::PMT_PID,
                  zqtest::PMT_section_of(1, video_PID, {{0x1B, video_PID}, {0x06, audio_PID, subtitles}}));
    };
    watched.parts["audio"].interval = 3000;
    watched.run(10'000);
    EXPECT_EQ(watched.errors(), "");
}

TEST(PTSError, IsNoneOfStillPictures)
{
    const std::vector<Bytes> descriptors{{0x02, 1, 0x05}, {0x28, 4, 77, 0, 40, 0x80}};
    for (const Bytes& descriptor : descriptors) {
        MonitoredStream watched;
        watched.parts["PMT"].send = [&](Stream& s) {
            s.section(zqtest::PMT_PID,
                      zqtest::PMT_section_of(1, video_PID, {{0x1B, video_PID, descriptor}, {0x03, audio_PID}}));
        };
        watched.parts["video"].interval = 5000;
        watched.run(20'000);
        EXPECT_EQ(watched.errors(), "");
    }
}

TEST(PTSError, IsNotSoughtWhileAStreamIsScrambled)
{
    MonitoredStream watched;
    watched.parts["CAT"] = {[](Stream& s) { s.section(1, zqtest::good_section(0x01, 0, 0xFFFF)); }, 1000, 0};
    watched.run(1000);
    watched.parts["audio"].send = [](Stream& s) {
        s.packet(audio_PID, Stream::begins, zqtest::PES_start(0xC0));
        s.data[s.data.size() - 185] |= 0x80;
    };
    watched.run(5000);
    EXPECT_EQ(watched.errors(), "");
    watched.parts["audio"].send = [](Stream& s) { s.packet(audio_PID, Stream::begins, zqtest::PES_start(0xC0)); };
    watched.run(5000);
    EXPECT_EQ(watched.errors(), "");
    watched.stop("audio");
    watched.run(1100);
    EXPECT_EQ(watched.errors(), "2.5: 1");
}
} // namespace PCRChecks_test
