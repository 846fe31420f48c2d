// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/monitor/ContinuityCheck.h"

#include "support/MonitoredStream.h"

#include <gmock/gmock.h>

namespace ContinuityCheck_test
{
using mpegcore::Check;
using mpegcore::ContinuityCheck;
using testing::ElementsAre;
using Verdict = ContinuityCheck::Verdict;

/// A packet with the payload `fill`; `flags` of an adaptation field, below 0: there is none.
zqtest::Bytes packet(unsigned counter, unsigned fill = 0, int flags = -1, bool has_payload = true)
{
    zqtest::Bytes bytes(188, static_cast<unsigned char>(fill));
    bytes[0] = 0x47;
    bytes[1] = 1;
    bytes[2] = 0;
    bytes[3] = static_cast<unsigned char>((has_payload ? 0x10U : 0U) | (flags >= 0 ? 0x20U : 0U) | counter);
    if (flags >= 0) {
        bytes[4] = has_payload ? 7 : 183;
        bytes[5] = static_cast<unsigned char>(flags);
    }
    return bytes;
}

std::vector<Verdict> verdicts(const std::vector<zqtest::Bytes>& packets)
{
    ContinuityCheck check;
    std::vector<Verdict> all;
    for (const auto& bytes : packets)
        all.push_back(check.follow(bytes.data()));
    return all;
}

TEST(ContinuityCheck, TakesAnyFirstCounterAndGoesOnOverTheWrap)
{
    EXPECT_THAT(verdicts({packet(14), packet(15), packet(0), packet(1)}),
                ElementsAre(Verdict::good, Verdict::good, Verdict::good, Verdict::good));
}

TEST(ContinuityCheck, CountsOneErrorForAJumpHoweverLong)
{
    EXPECT_THAT(
        verdicts({packet(3), packet(5), packet(6), packet(4), packet(5)}),
        ElementsAre(Verdict::good, Verdict::packets_missing, Verdict::good, Verdict::packets_missing, Verdict::good));
    ContinuityCheck check;
    static_cast<void>(check.follow(packet(3).data()));
    EXPECT_EQ(check.follow(packet(5).data()), Verdict::packets_missing);
    EXPECT_EQ(check.missing(), 1U);
    EXPECT_EQ(check.follow(packet(4).data()), Verdict::packets_missing);
    EXPECT_EQ(check.missing(), 14U);
}

TEST(ContinuityCheck, AllowsOneRepetitionAndNotTwo)
{
    EXPECT_THAT(verdicts({packet(3), packet(3), packet(4), packet(4), packet(4), packet(4), packet(5)}),
                ElementsAre(Verdict::good, Verdict::repeated, Verdict::good, Verdict::repeated, Verdict::repeated_again,
                            Verdict::repeated_again, Verdict::good));
}

TEST(ContinuityCheck, TakesOtherBytesForNoRepetition)
{
    EXPECT_THAT(verdicts({packet(3, 1), packet(3, 2), packet(4)}),
                ElementsAre(Verdict::good, Verdict::repeated_otherwise, Verdict::good));
}

TEST(ContinuityCheck, LetsARepetitionHaveItsOwnPCRAndNothingElse)
{
    auto first = packet(3, 0, 0x10), again = first;
    for (std::size_t at = 6; at < 12; ++at)
        again[at] = 0xA5;
    EXPECT_THAT(verdicts({first, again}), ElementsAre(Verdict::good, Verdict::repeated));
    again[12] ^= 1;
    EXPECT_THAT(verdicts({first, again}), ElementsAre(Verdict::good, Verdict::repeated_otherwise));
}

TEST(ContinuityCheck, WantsTheCounterToStandStillWithoutPayload)
{
    EXPECT_THAT(verdicts({packet(3), packet(3, 0, 0, false), packet(3, 1, 0, false), packet(4)}),
                ElementsAre(Verdict::good, Verdict::good, Verdict::good, Verdict::good));
    EXPECT_THAT(verdicts({packet(3), packet(4, 0, 0, false), packet(5)}),
                ElementsAre(Verdict::good, Verdict::counted_without_payload, Verdict::good));
}

TEST(ContinuityCheck, BeginsAnewWhereADiscontinuityIsAnnounced)
{
    EXPECT_THAT(verdicts({packet(3), packet(9, 0, 0x80), packet(10)}),
                ElementsAre(Verdict::good, Verdict::good, Verdict::good));
    EXPECT_THAT(verdicts({packet(3), packet(9, 0, 0x80, false), packet(10)}),
                ElementsAre(Verdict::good, Verdict::good, Verdict::good));
}

TEST(ContinuityCheck, ForgetsTheCounterWhenToldTo)
{
    ContinuityCheck check;
    static_cast<void>(check.follow(packet(3).data()));
    check.forget();
    EXPECT_EQ(check.follow(packet(9).data()), Verdict::good);
}

TEST(ContinuityErrors, AreCountedForThePIDWithWhatIsMissing)
{
    zqtest::MonitoredStream watched;
    watched.run(1000);
    for (int lost = 0; lost < 3; ++lost)
        watched.stream.packet(zqtest::audio_PID, zqtest::Stream::goes_on, zqtest::Bytes(184));
    watched.stream.data.clear();
    watched.run(1000);
    EXPECT_EQ(watched.errors(), "1.4: 1");
    const auto& record = watched.monitor.checks()[Check::Continuity_count_error];
    EXPECT_EQ(record.PID, zqtest::audio_PID);
    EXPECT_EQ(record.detail(), "3 packets missing, or 16 more each");
    const auto* const audio = watched.monitor.contents().PIDs.find(zqtest::audio_PID);
    ASSERT_NE(audio, nullptr);
    EXPECT_EQ(audio->continuity_errors, 1U);
    EXPECT_EQ(audio->missing_packets, 3U);
}

TEST(ContinuityErrors, AreNotLookedForInNullPackets)
{
    zqtest::MonitoredStream watched;
    for (int at = 0; at < 10; ++at) {
        watched.stream.null().null();
        watched.stream.data.resize(watched.stream.data.size() - 188);
    }
    watched.run(100);
    EXPECT_EQ(watched.errors(), "");
}

TEST(ContinuityErrors, AreSoughtInScrambledPacketsToo)
{
    zqtest::MonitoredStream watched;
    watched.run(1000);
    watched.stream.packet(zqtest::audio_PID, zqtest::Stream::goes_on, zqtest::Bytes(184));
    watched.stream.data.clear();
    watched.stream.packet(zqtest::audio_PID, zqtest::Stream::goes_on, zqtest::Bytes(184));
    watched.stream.data[3] |= 0x80;
    watched.flush();
    EXPECT_EQ(watched.errors(), "1.4: 1");
}

TEST(ContinuityErrors, DoNotComeFromAPacketWithTransportErrorIndicator)
{
    zqtest::MonitoredStream watched;
    watched.run(1000);
    watched.stream.packet(zqtest::audio_PID, zqtest::Stream::goes_on, zqtest::Bytes(184));
    watched.stream.data[1] |= 0x80;
    watched.stream.data[3] ^= 0x07;
    watched.flush();
    EXPECT_EQ(watched.errors(), "2.1: 1");
    EXPECT_EQ(watched.monitor.checks()[Check::Transport_error].PID, zqtest::audio_PID);
    // Its place in the row is empty.
    watched.run(1000);
    EXPECT_EQ(watched.errors(), "1.4: 1, 2.1: 1");
}

TEST(ContinuityErrors, DoNotComeFromAChangeOfThePMT)
{
    zqtest::MonitoredStream watched;
    watched.run(1000);
    watched.parts["PMT"].send = [](zqtest::Stream& s) {
        s.section(zqtest::PMT_PID, zqtest::PMT_section_of(1, zqtest::video_PID,
                                                          {{0x1B, zqtest::video_PID}, {0x0F, zqtest::audio_PID}}, 1));
    };
    watched.run(2);
    for (int lost = 0; lost < 3; ++lost)
        watched.stream.packet(zqtest::audio_PID, zqtest::Stream::goes_on, zqtest::Bytes(184));
    watched.stream.data.clear();
    watched.run(1000);
    EXPECT_EQ(watched.errors(), "");
}
/// A damaged packet.
void send_damaged(zqtest::MonitoredStream& watched, unsigned PID)
{
    watched.stream.packet(PID, zqtest::Stream::goes_on, zqtest::Bytes(184));
    watched.stream.data[watched.stream.data.size() - 187] |= 0x80;
    watched.flush();
}

TEST(TransportError, IsEachPacketOfAnyPID)
{
    mpegcore::MonitorLimits limits;
    limits.most_PIDs = 20;
    zqtest::MonitoredStream watched(limits);
    watched.run(1000);
    for (unsigned PID = 0x300; PID < 0x320; ++PID)
        send_damaged(watched, PID);
    send_damaged(watched, 0x1FFF);
    EXPECT_EQ(watched.errors(), "2.1: 33");
    EXPECT_EQ(watched.monitor.checks()[Check::Transport_error].PID, 0x1FFFU);
}

TEST(TransportError, MakesNoPIDKnown)
{
    zqtest::MonitoredStream watched;
    watched.run(1000);
    send_damaged(watched, 0x300);
    watched.run(1000);
    send_damaged(watched, 0x300);
    watched.run(100);
    EXPECT_EQ(watched.errors(), "2.1: 2");
    EXPECT_EQ(watched.monitor.contents().PIDs.find(0x300), nullptr);
}

TEST(TransportError, MakesNoPIDPresent)
{
    zqtest::MonitoredStream watched;
    watched.run(1000);
    watched.parts["audio"].send = [](zqtest::Stream& s) {
        s.packet(zqtest::audio_PID, zqtest::Stream::goes_on, zqtest::Bytes(184));
        s.data[s.data.size() - 187] |= 0x80;
    };
    watched.run(6000);
    EXPECT_EQ(watched.count(Check::PID_error), 1U);
    EXPECT_EQ(watched.monitor.contents().PIDs.find(zqtest::audio_PID)->transport_errors, 30U);
    EXPECT_EQ(watched.monitor.contents().PIDs.find(zqtest::audio_PID)->packets, 5U);
}
} // namespace ContinuityCheck_test
