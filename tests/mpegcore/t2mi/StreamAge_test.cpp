// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/t2mi/StreamAge.h"

#include "support/T2MIFeed.h"

#include <gmock/gmock.h>

namespace StreamAge_test
{
using namespace std::chrono_literals;
using mpegcore::StreamAge;
using mpegcore::T2MIDemultiplexer;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using zqtest::Bytes;

/// With an adaptation field and this PCR base.
Bytes PCR_packet(unsigned PID, std::uint64_t base)
{
    Bytes packet(188, 0xFF);
    packet[0] = 0x47;
    packet[1] = static_cast<unsigned char>(PID >> 8);
    packet[2] = static_cast<unsigned char>(PID);
    packet[3] = 0x20;
    packet[4] = 183;
    packet[5] = 0x10;
    packet[6] = static_cast<unsigned char>(base >> 25);
    packet[7] = static_cast<unsigned char>(base >> 17);
    packet[8] = static_cast<unsigned char>(base >> 9);
    packet[9] = static_cast<unsigned char>(base >> 1);
    packet[10] = static_cast<unsigned char>(base << 7 | 0x7E);
    packet[11] = 0;
    return packet;
}

Bytes plain_packet()
{
    Bytes packet(188, 0);
    packet[0] = 0x47;
    packet[1] = 0x03;
    packet[3] = 0x10;
    return packet;
}

TEST(StreamAge, IsWhatThePcrsOfOnePidSay)
{
    StreamAge age;
    for (const std::uint64_t base : {1000U, 10'000U, 55'000U}) {
        age.put(PCR_packet(0x100, base).data());
        age.put(PCR_packet(0x200, 40 * base).data());
    }
    EXPECT_EQ(age.passed(), 600ms);
}

TEST(StreamAge, GoesOnAcrossTheWrapAndAcrossAnotherTimeBase)
{
    StreamAge age;
    for (const std::uint64_t base : {0x1FFFFFF00U, 0x1FFFFFF00U + 9000U, 5U + 0x1FFFFFF00U, 4505U + 0x1FFFFFF00U})
        age.put(PCR_packet(0x100, base & 0x1FFFFFFFFU).data());
    EXPECT_EQ(age.passed(), 150ms);
}

TEST(StreamAge, WithoutPcrsCountsPacketsAt72MegabitsASecond)
{
    StreamAge age;
    const Bytes packet = plain_packet();
    for (unsigned count = 0; count < 47'871; ++count)
        age.put(packet.data());
    EXPECT_EQ(age.passed(), 0ms);
    age.put(packet.data());
    EXPECT_EQ(age.passed(), 1000ms);
}

TEST(T2MIDemultiplexer, SaysOnceThatFiveSecondsByThePcrHadNoT2mi)
{
    zqtest::Demultiplexed out;
    for (unsigned frame = 0; frame < 125; ++frame)
        out.demultiplexer->put_packet(PCR_packet(0x100, 3600 * frame).data());
    EXPECT_THAT(out.warnings, IsEmpty());
    for (unsigned frame = 125; frame < 300; ++frame)
        out.demultiplexer->put_packet(PCR_packet(0x100, 3600 * frame).data());
    EXPECT_THAT(out.warnings, ElementsAre(Pair(T2MIDemultiplexer::Warning::no_T2MI, 0U)));
}

TEST(T2MIDemultiplexer, MissesNothingOnceThereWasT2mi)
{
    zqtest::Demultiplexed out;
    out.feed(zqtest::packed(zqtest::usual_feed().packets));
    out.demultiplexer->finish();
    for (unsigned frame = 0; frame < 300; ++frame)
        out.demultiplexer->put_packet(PCR_packet(0x100, 3600 * frame).data());
    EXPECT_THAT(out.warnings, IsEmpty());
}
} // namespace StreamAge_test
