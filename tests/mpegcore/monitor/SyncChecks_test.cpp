// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/MonitoredStream.h"

#include <gmock/gmock.h>

namespace SyncChecks_test
{
using mpegcore::Check;
using mpegcore::CheckState;
using mpegcore::MonitorLimits;
using zqtest::Bytes;
using zqtest::MonitoredStream;

/// Packets of which those with a 0 have a wrong sync byte.
void put(MonitoredStream& watched, const std::string& good)
{
    for (const char byte : good) {
        watched.stream.null();
        if (byte == '0')
            watched.stream.data[watched.stream.data.size() - 188] = 0x46;
    }
    watched.flush();
}

TEST(MonitoredStream, WithoutFaultHasNoErrorAndEveryCheckThatAppliesIsOk)
{
    MonitoredStream watched;
    watched.run(40'000);
    EXPECT_EQ(watched.errors(), "");
    for (const auto& name : mpegcore::TR101290_checks) {
        const bool is_absent = name.check == Check::CAT_error || name.check == Check::NIT_other_error ||
                               name.check == Check::SDT_other_error || name.check == Check::EIT_other_error ||
                               name.check == Check::RST_error || name.priority == 0;
        EXPECT_EQ(watched.state(name.check), is_absent ? CheckState::not_applicable : CheckState::ok) << name.name;
    }
}

TEST(MonitoredStream, NamesTheErrorItsTimeItsPIDAndItsSeconds)
{
    MonitoredStream watched;
    watched.run(500);
    put(watched, "0");
    const auto& record = watched.monitor.checks()[Check::Sync_byte_error];
    EXPECT_EQ(record.count, 1U);
    EXPECT_EQ(record.error_seconds, 1U);
    EXPECT_EQ(record.first, watched.now());
    EXPECT_EQ(record.last, watched.now());
    EXPECT_EQ(record.PID, mpegcore::CheckRecord::no_PID);
    EXPECT_EQ(record.detail(), "0x46 in place of the sync byte");
    EXPECT_EQ(record.state, CheckState::failing);
}

TEST(MonitoredStream, FailsUpToASecondBehindAnErrorThatDoesNotLast)
{
    MonitoredStream watched;
    watched.run(500);
    put(watched, "0");
    watched.run(1000);
    EXPECT_EQ(watched.state(Check::Sync_byte_error), CheckState::failing);
    watched.run(100);
    EXPECT_EQ(watched.state(Check::Sync_byte_error), CheckState::ok);
}

TEST(MonitoredStream, CountsEachSecondWithErrorsOnce)
{
    MonitoredStream watched;
    watched.run(100);
    put(watched, "0101");
    watched.run(899);
    put(watched, "01");
    watched.run(1);
    put(watched, "01");
    EXPECT_EQ(watched.count(Check::Sync_byte_error), 4U);
    EXPECT_EQ(watched.monitor.checks()[Check::Sync_byte_error].error_seconds, 2U);
}

TEST(SyncLoss, IsTwoWrongSyncBytesInARow)
{
    MonitoredStream watched;
    put(watched, "110101");
    EXPECT_EQ(watched.errors(), "1.2: 2");
    put(watched, "00");
    EXPECT_EQ(watched.errors(), "1.1: 1, 1.2: 4");
    EXPECT_FALSE(watched.monitor.is_synchronised());
    EXPECT_EQ(watched.monitor.checks()[Check::TS_sync_loss].detail(), "2 wrong sync bytes in a row");
}

TEST(SyncLoss, EndsWithFiveGoodSyncBytesInARow)
{
    MonitoredStream watched;
    put(watched, "100");
    put(watched, "11110");
    EXPECT_FALSE(watched.monitor.is_synchronised());
    put(watched, "1111");
    EXPECT_FALSE(watched.monitor.is_synchronised());
    EXPECT_EQ(watched.monitor.contents().packets, 1U);
    put(watched, "1");
    EXPECT_TRUE(watched.monitor.is_synchronised());
    EXPECT_EQ(watched.errors(), "1.1: 1, 1.2: 3");
    EXPECT_EQ(watched.monitor.contents().packets, 2U);
}

TEST(SyncLoss, HasItsLengthsByTheLimits)
{
    MonitorLimits limits;
    limits.sync_bytes_lost = 3;
    limits.sync_bytes_regained = 2;
    MonitoredStream watched(limits);
    put(watched, "100");
    EXPECT_TRUE(watched.monitor.is_synchronised());
    put(watched, "0");
    EXPECT_FALSE(watched.monitor.is_synchronised());
    put(watched, "11");
    EXPECT_TRUE(watched.monitor.is_synchronised());
}

TEST(SyncLoss, IsASecondWithoutInputToo)
{
    MonitoredStream watched;
    watched.run(2000).pause(900);
    EXPECT_EQ(watched.errors(), "");
    watched.pause(100);
    EXPECT_EQ(watched.errors(), "1.1: 1");
    EXPECT_EQ(watched.state(Check::TS_sync_loss), CheckState::failing);
    EXPECT_EQ(watched.state(Check::PAT_error_2), CheckState::not_applicable);
    watched.pause(3'600'000);
    EXPECT_EQ(watched.errors(), "1.1: 1");
    EXPECT_GE(watched.monitor.checks()[Check::TS_sync_loss].error_seconds, 3600U);
}

TEST(SyncLoss, IsFoundWithoutATickToo)
{
    MonitoredStream watched;
    watched.run(1000);
    watched.monitor.put(nullptr, 0, watched.now() + 1001 * MonitoredStream::ms);
    EXPECT_EQ(watched.errors(), "1.1: 1");
}

TEST(SyncLoss, IsAStreamThatNeverBegins)
{
    MonitoredStream watched;
    watched.pause(1000);
    EXPECT_EQ(watched.errors(), "");
    watched.pause(1000);
    EXPECT_EQ(watched.errors(), "1.1: 1");
}

TEST(SyncLoss, IsToldByWhoeverCutsThePackets)
{
    MonitoredStream watched;
    watched.run(1000);
    watched.monitor.note_sync_loss(watched.now());
    watched.monitor.note_sync_loss(watched.now());
    EXPECT_EQ(watched.errors(), "1.1: 1");
    EXPECT_EQ(watched.monitor.checks()[Check::TS_sync_loss].detail(), "bytes between packets");
    put(watched, "11111");
    EXPECT_TRUE(watched.monitor.is_synchronised());
}

TEST(SyncLoss, GivesEveryLimitAFullPeriodOfGrace)
{
    MonitoredStream watched;
    watched.run(3000).pause(20'000);
    EXPECT_EQ(watched.errors(), "1.1: 1");
    for (const char* const part : {"PAT", "PMT", "SDT", "EIT 0", "EIT 1", "PCR", "video", "audio"})
        watched.stop(part);
    // The first five packets only bring the synchronisation back.
    watched.run(140);
    EXPECT_EQ(watched.errors(), "1.1: 1");
    watched.run(100);
    EXPECT_EQ(watched.errors(), "1.1: 1, 2.3.a: 1");
    watched.run(200);
    EXPECT_EQ(watched.errors(), "1.1: 1, 2.3.a: 1");
    watched.run(200);
    EXPECT_EQ(watched.errors(), "1.1: 1, 1.3.a: 1, 1.5.a: 1, 2.3.a: 1");
}

TEST(SyncLoss, LeavesCountersAndClocksAlone)
{
    MonitoredStream watched;
    watched.run(1000);
    watched.monitor.note_sync_loss(watched.now());
    watched.stream.packet(zqtest::video_PID, zqtest::Stream::goes_on, Bytes(184)); // one of those left out
    watched.run(3000);
    EXPECT_EQ(watched.errors(), "1.1: 1");
}

TEST(Clock, ThatGoesBackStandsStill)
{
    MonitoredStream watched;
    watched.run(1000);
    watched.monitor.put(nullptr, 0, 5);
    watched.monitor.tick(5);
    watched.run(1000);
    EXPECT_EQ(watched.errors(), "");
}
} // namespace SyncChecks_test
