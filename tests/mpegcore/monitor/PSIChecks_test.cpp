// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/MonitoredStream.h"

#include <gmock/gmock.h>

namespace PSIChecks_test
{
using mpegcore::Check;
using mpegcore::CheckState;
using mpegcore::MonitorLimits;
using zqtest::audio_PID;
using zqtest::Bytes;
using zqtest::good_section;
using zqtest::MonitoredStream;
using zqtest::PMT_PID;
using zqtest::Stream;
using zqtest::video_PID;

TEST(PATError, IsNoSectionForMoreThanHalfASecond)
{
    MonitoredStream watched;
    watched.parts["PAT"].interval = 500;
    watched.run(5000);
    EXPECT_EQ(watched.errors(), "");
    watched.parts["PAT"].interval = 501;
    watched.run(501 * 10);
    EXPECT_EQ(watched.errors(), "1.3.a: 10");
    EXPECT_EQ(watched.monitor.checks()[Check::PAT_error_2].PID, 0U);
}

TEST(PATError, ThatLastsCountsOnceAndHasItsSeconds)
{
    MonitoredStream watched;
    watched.run(1000);
    watched.stop("PAT");
    watched.run(400);
    EXPECT_EQ(watched.errors(), "");
    watched.run(3600);
    EXPECT_EQ(watched.errors(), "1.3.a: 1");
    const auto& record = watched.monitor.checks()[Check::PAT_error_2];
    EXPECT_EQ(record.state, CheckState::failing);
    EXPECT_EQ(record.error_seconds, 4U);
    EXPECT_EQ(record.detail(), "absent for 590 ms");
    watched.parts["PAT"].interval = 100;
    watched.run(1100);
    EXPECT_EQ(record.state, CheckState::ok);
    EXPECT_EQ(watched.errors(), "1.3.a: 1");
}

TEST(PATError, IsAPATThatNeverCame)
{
    MonitoredStream watched;
    watched.stop("PAT");
    watched.run(500);
    EXPECT_EQ(watched.count(Check::PAT_error_2), 0U);
    watched.run(100);
    EXPECT_EQ(watched.count(Check::PAT_error_2), 1U);
}

TEST(PATError, IsPacketsWithoutSectionsToo)
{
    MonitoredStream watched;
    watched.run(1000);
    watched.parts["PAT"].send = [](Stream& s) { s.packet(0, Stream::goes_on, Bytes(184, 0xFF)); };
    watched.run(600);
    EXPECT_EQ(watched.errors(), "1.3.a: 1");
}

TEST(PATError, IsSectionsWithABrokenCRCToo)
{
    MonitoredStream watched;
    watched.run(1000);
    watched.parts["PAT"].send = [](Stream& s) {
        Bytes section = zqtest::PAT_of({PMT_PID});
        section.back() ^= 1;
        s.section(0, section);
    };
    watched.run(600);
    EXPECT_EQ(watched.errors(), "1.3.a: 1, 2.2: 6");
}

TEST(PATError, IsAnyOtherTableOnItsPID)
{
    MonitoredStream watched;
    watched.run(1000);
    watched.stream.section(0, good_section(0x02, 4));
    watched.flush();
    EXPECT_EQ(watched.errors(), "1.3.a: 1");
    EXPECT_EQ(watched.monitor.checks()[Check::PAT_error_2].detail(), "section with table_id 0x02");
}

TEST(PATError, IsEachScrambledPacketOfItsPID)
{
    MonitoredStream watched;
    watched.run(1000);
    for (int at = 0; at < 2; ++at) {
        watched.stream.section(0, zqtest::PAT_of({PMT_PID}));
        watched.stream.data[watched.stream.data.size() - 185] |= 0x80;
    }
    watched.flush();
    EXPECT_EQ(watched.errors(), "1.3.a: 2");
    EXPECT_EQ(watched.monitor.checks()[Check::PAT_error_2].detail(), "transport_scrambling_control 2");
}

TEST(PMTError, IsNoSectionForMoreThanHalfASecond)
{
    MonitoredStream watched;
    watched.parts["PMT"].interval = 500;
    watched.run(5002);
    EXPECT_EQ(watched.errors(), "");
    watched.stop("PMT");
    watched.run(499);
    EXPECT_EQ(watched.errors(), "");
    watched.run(101);
    EXPECT_EQ(watched.errors(), "1.5.a: 1");
    EXPECT_EQ(watched.monitor.checks()[Check::PMT_error_2].PID, PMT_PID);
}

TEST(PMTError, IsOneForEachPMTThatNeverCame)
{
    MonitoredStream watched;
    watched.parts["PAT"].send = [](Stream& s) { s.section(0, zqtest::PAT_of({PMT_PID, 0x200, 0x300})); };
    watched.run(500);
    EXPECT_EQ(watched.errors(), "");
    watched.run(100);
    EXPECT_EQ(watched.errors(), "1.5.a: 2");
}

TEST(PMTError, IsNotWaitedForOnTheNetworkPID)
{
    MonitoredStream watched;
    watched.parts["PAT"].send = [](Stream& s) {
        s.section(0, zqtest::section_of(0x00, {0, 1, 0xC1, 0, 0, 0, 0, 0xE0, 0x10, 0, 1, 0xE1, 0x00}));
    };
    watched.run(3000);
    EXPECT_EQ(watched.errors(), "");
}

TEST(PMTError, EndsWithTheProgram)
{
    MonitoredStream watched;
    watched.run(1000);
    watched.parts["PAT"].send = [](Stream& s) {
        Bytes section = zqtest::section_of(0x00, {0, 1, 0xC3, 0, 0});
        s.section(0, section);
    };
    for (const char* const part : {"PMT", "PCR", "video", "audio"})
        watched.stop(part);
    watched.run(10'000);
    EXPECT_EQ(watched.errors(), "");
    EXPECT_TRUE(watched.monitor.contents().services.empty());
}

TEST(PMTError, IsEachScrambledPacketOfItsPID)
{
    MonitoredStream watched;
    watched.run(1000);
    watched.stream.packet(PMT_PID, Stream::goes_on, Bytes(184, 0xFF));
    watched.stream.data[3] |= 0xC0;
    watched.flush();
    EXPECT_EQ(watched.errors(), "1.5.a: 1");
}

TEST(PIDError, IsAVideoOrAudioPIDThatDoesNotComeForFiveSeconds)
{
    MonitoredStream watched;
    watched.run(1000);
    watched.stop("audio");
    watched.run(5804 - 1000);
    EXPECT_EQ(watched.count(Check::PID_error), 0U);
    watched.run(200);
    EXPECT_EQ(watched.count(Check::PID_error), 1U);
    EXPECT_EQ(watched.monitor.checks()[Check::PID_error].PID, audio_PID);
}

TEST(PIDError, IsOneThatNeverCame)
{
    MonitorLimits limits;
    limits.PID = 300 * MonitoredStream::ms;
    MonitoredStream watched(limits);
    watched.stop("audio");
    watched.run(301);
    EXPECT_EQ(watched.errors(), "");
    watched.run(100);
    EXPECT_EQ(watched.errors(), "1.6: 1");
}

TEST(PIDError, LeavesStreamsThatMayBeSilentAloneUnlessTheyHaveALimit)
{
    for (const bool has_limit : {false, true}) {
        MonitorLimits limits;
        limits.sparse_PID = has_limit ? 10'000 * MonitoredStream::ms : 0;
        MonitoredStream watched(limits);
        watched.parts["PMT"].send = [](Stream& s) {
            s.section(PMT_PID,
                      zqtest::PMT_section_of(1, video_PID, {{0x1B, video_PID}, {0x03, audio_PID}, {0x86, 0x103}}));
        };
        watched.run(20'000);
        EXPECT_EQ(watched.errors(), has_limit ? "1.6: 1" : "");
    }
}

TEST(CRCError, IsCountedForEachOfItsTables)
{
    const std::vector<std::pair<unsigned, unsigned>> tables{{0x00, 0x00}, {0x01, 0x01}, {0x02, PMT_PID}, {0x40, 0x10},
                                                            {0x41, 0x10}, {0x42, 0x11}, {0x46, 0x11},    {0x4A, 0x11},
                                                            {0x4E, 0x12}, {0x6F, 0x12}, {0x73, 0x14}};
    std::uint64_t sent = 0;
    MonitoredStream watched;
    watched.run(1000);
    for (const auto& [table_id, PID] : tables) {
        Bytes section = good_section(table_id, 8);
        section[9] ^= 0x10;
        watched.stream.section(PID, section);
        watched.flush();
        EXPECT_EQ(watched.count(Check::CRC_error), ++sent) << table_id;
        EXPECT_EQ(watched.monitor.checks()[Check::CRC_error].PID, PID);
        EXPECT_EQ(watched.monitor.checks()[Check::CRC_error].value, table_id);
    }
    EXPECT_EQ(watched.errors(), "2.2: 11");
}

TEST(CRCError, IsNotSoughtInOtherTables)
{
    MonitoredStream watched;
    watched.run(1000);
    Bytes section = good_section(0x80, 8);
    section[9] ^= 0x10;
    watched.stream.section(PMT_PID, section);
    watched.flush();
    EXPECT_EQ(watched.errors(), "");
}

TEST(CATError, IsScrambledPacketsWithoutACAT)
{
    MonitoredStream watched;
    watched.run(1000);
    watched.parts["scrambled"] = {[](Stream& s) {
                                      s.packet(audio_PID, Stream::goes_on, Bytes(184));
                                      s.data[s.data.size() - 185] |= 0x80;
                                  },
                                  100, 0};
    watched.run(9'999);
    EXPECT_EQ(watched.count(Check::CAT_error), 0U);
    watched.run(200);
    EXPECT_EQ(watched.count(Check::CAT_error), 1U);
    EXPECT_EQ(watched.monitor.checks()[Check::CAT_error].PID, 1U);
    watched.parts["CAT"] = {[](Stream& s) { s.section(1, good_section(0x01, 0, 0xFFFF)); }, 9'900, 0};
    watched.run(40'000);
    EXPECT_EQ(watched.count(Check::CAT_error), 1U);
    EXPECT_EQ(watched.state(Check::CAT_error), CheckState::ok);
}

TEST(CATError, IsAnotherTableOnItsPID)
{
    MonitoredStream watched;
    watched.run(1000);
    watched.stream.section(1, good_section(0x00, 4));
    watched.flush();
    EXPECT_EQ(watched.errors(), "2.6: 1");
}

TEST(UnreferencedPID, IsOneThatComesForMoreThanHalfASecondWithoutATableThatNamesIt)
{
    MonitoredStream watched;
    watched.run(1000);
    watched.parts["stray"] = {[](Stream& s) { s.packet(0x500, Stream::goes_on, Bytes(184)); }, 100, 1000};
    watched.run(500);
    EXPECT_EQ(watched.errors(), "");
    watched.run(200);
    EXPECT_EQ(watched.errors(), "3.4.a: 1");
    EXPECT_EQ(watched.monitor.checks()[Check::Unreferenced_PID].PID, 0x500U);
    watched.run(10'000);
    EXPECT_EQ(watched.errors(), "3.4.a: 1");
    EXPECT_EQ(watched.state(Check::Unreferenced_PID), CheckState::failing);
    watched.stop("stray");
    watched.run(7'000);
    EXPECT_EQ(watched.state(Check::Unreferenced_PID), CheckState::ok);
    watched.run(60'000);
    EXPECT_EQ(watched.monitor.contents().PIDs.find(0x500), nullptr);
}

TEST(UnreferencedPID, IsNoneThatStandardsOrTablesName)
{
    MonitoredStream watched;
    watched.parts["PMT"].send = [](Stream& s) {
        const Bytes ECM{0x09, 0x04, 0x06, 0x04, 0xE3, 0x00};
        s.section(PMT_PID, zqtest::PMT_section_of(1, 0x200, {{0x1B, video_PID}, {0x03, audio_PID}}, 0, ECM));
    };
    watched.parts["CAT"] = {
        [](Stream& s) {
            s.section(1, zqtest::section_of(0x01, {0xFF, 0xFF, 0xC1, 0, 0, 0x09, 0x04, 0x06, 0x04, 0xE4, 0x00}));
        },
        1000, 0};
    watched.parts["PCR"].send = [&](Stream& s) { s.PCR(0x200, 90 * (watched.now() / MonitoredStream::ms), 0); };
    watched.parts["others"] = {[](Stream& s) {
                                   for (const unsigned PID : {0x03U, 0x1FU, 0x300U, 0x400U})
                                       s.packet(PID, Stream::goes_on, Bytes(184));
                               },
                               100, 0};
    watched.run(3000);
    EXPECT_EQ(watched.errors(), "");
    EXPECT_EQ(watched.monitor.contents().PIDs.find(0x200)->kind, mpegcore::PIDKind::PCR);
    EXPECT_EQ(watched.monitor.contents().PIDs.find(0x300)->kind, mpegcore::PIDKind::ECM);
    EXPECT_EQ(watched.monitor.contents().PIDs.find(0x400)->kind, mpegcore::PIDKind::EMM);
}

TEST(UnreferencedPID, HasItsGraceFromTheTableOnThatNoLongerNamesIt)
{
    MonitoredStream watched;
    watched.run(1000);
    watched.parts["PMT"].send = [](Stream& s) {
        s.section(PMT_PID, zqtest::PMT_section_of(1, video_PID, {{0x1B, video_PID}}, 1));
    };
    watched.run(500);
    EXPECT_EQ(watched.errors(), "");
    watched.run(500);
    EXPECT_EQ(watched.errors(), "3.4.a: 1");
}
TEST(UnreferencedPID, IsNoneWhilePATAndPMTMayBeOnTheirWay)
{
    MonitoredStream watched;
    watched.parts["PAT"].first = 400;
    watched.parts["PMT"].first = 801;
    watched.parts["PCR"].first = 0;
    watched.run(3000);
    EXPECT_EQ(watched.errors(), "");
}

TEST(UnreferencedPID, IsEachWhereNoPATComes)
{
    MonitoredStream watched;
    watched.stop("PAT");
    watched.run(1500);
    EXPECT_EQ(watched.count(Check::Unreferenced_PID), 0U);
    watched.run(200);
    EXPECT_EQ(watched.count(Check::Unreferenced_PID), 3U); // PMT, video, audio
}

TEST(UnreferencedPID, IsNotTheNetworkPIDOfThePAT)
{
    MonitoredStream watched;
    watched.parts["PAT"].send = [](Stream& s) {
        s.section(0, zqtest::section_of(0x00, {0, 1, 0xC1, 0, 0, 0, 0, 0xE3, 0x00, 0, 1, 0xE1, 0x00}));
    };
    watched.parts["NIT"].send = [](Stream& s) { s.section(0x300, good_section(0x40, 4)); };
    watched.run(15'000);
    EXPECT_EQ(watched.errors(), "");
    EXPECT_EQ(watched.monitor.contents().PIDs.find(0x300)->kind, mpegcore::PIDKind::NIT);
    watched.stream.section(0x300, good_section(0x42, 4));
    watched.flush();
    EXPECT_EQ(watched.errors(), "3.1.a: 1");
    EXPECT_EQ(watched.monitor.checks()[Check::NIT_actual_error].PID, 0x300U);
}

TEST(ANewUse, OfAPIDHasAllItsTime)
{
    MonitoredStream watched;
    watched.parts["PMT"].send = [](Stream& s) {
        s.section(PMT_PID, zqtest::PMT_section_of(1, 0x200, {{0x1B, video_PID}, {0x03, audio_PID}, {0x06, 0x201}}));
    };
    watched.parts["PCR"].send = [&](Stream& s) { s.PCR(0x200, 90 * (watched.now() / MonitoredStream::ms), 0); };
    watched.run(10'000);
    ASSERT_EQ(watched.errors(), "");
    // The PCRs move to the video PID, and audio to one that was silent so far.
    watched.parts["PMT"].send = [](Stream& s) {
        s.section(PMT_PID, zqtest::PMT_section_of(1, video_PID, {{0x1B, video_PID}, {0x03, 0x201}}, 1));
    };
    watched.parts["PCR"].send = [&](Stream& s) { s.PCR(video_PID, 90 * (watched.now() / MonitoredStream::ms), 0); };
    watched.parts["audio"].send = [](Stream& s) { s.packet(0x201, Stream::begins, zqtest::PES_start(0xC0)); };
    watched.parts["audio"].first = 10'250;
    watched.run(10'000);
    EXPECT_EQ(watched.errors(), "");
}

TEST(ANewUse, AsPIDOfAPMTHasAllItsTime)
{
    MonitoredStream watched;
    watched.run(10'000);
    watched.parts["PAT"].send = [](Stream& s) { s.section(0, zqtest::PAT_of({audio_PID})); };
    watched.parts["PMT"] = {[](Stream& s) {
                                s.section(audio_PID, zqtest::PMT_section_of(1, video_PID, {{0x1B, video_PID}}));
                            },
                            400, 10'100};
    watched.stop("audio");
    watched.run(3000);
    EXPECT_EQ(watched.errors(), "");
}
} // namespace PSIChecks_test
