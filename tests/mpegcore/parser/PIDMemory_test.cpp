// SPDX-License-Identifier: LGPL-2.1-or-later
// What the PIDs of a parser hold over streams longer than it takes for a PID to count as silent.
#include "mpegcore/parser/PIDMemory.h"
#include "support/Noise.h"
#include "support/ParserJournal.h"
#include "support/sanitizers.h"

#include <gmock/gmock.h>

namespace PIDMemory_test
{
using mpegcore::CBaseMpegParser;
using mpegcore::PIDMemory;
using testing::Contains;
using zqtest::Bytes;

/// Between packets of which come null packets.
class SilentPids : public zqtest::ParserTest
{
protected:
    static std::size_t held(const CBaseMpegParser& parser)
    {
        std::size_t bytes = 0;
        for (unsigned PID = 0; PID < mpegcore::pid_count; ++PID)
            for (const auto* unit : {parser.m_PIDs[PID].collecting, parser.m_PIDs[PID].completed})
                bytes += unit == nullptr ? 0 : unit->capacity;
        return bytes;
    }

    static constexpr std::size_t chunk = 2048;

    SilentPids()
    {
        while (nulls.packets() < chunk)
            nulls.null();
    }

    /// At least so many null packets, and fewer than a chunk more.
    void pass(Journal& parser, std::size_t packets)
    {
        for (std::size_t passed = 0; passed < packets; passed += chunk) {
            parser.Process(nulls.data.data(), nulls.data.size());
            parser.lines.clear();
        }
    }

    zqtest::Stream nulls;
};

TEST_F(SilentPids, OfANoisyStreamDoNotAddUp)
{
    if (ZQ_EMULATED || zqtest::address_sanitizer)
        GTEST_SKIP() << "takes long in an emulator and under AddressSanitizer";
    mpegcore::CBaseMpegParser parser(true);
    stream.section(0, PAT({{1, 0x100}})).section(0x100, PMT(1, 0x101, {0x101, 0x102}));
    parser.Process(stream.data.data(), stream.data.size());
    zqtest::Noise noise(5);
    std::size_t most = 0, sum = 0;
    for (std::size_t passed = 0; passed < 4 * PIDMemory::packets_until_silent; passed += chunk) {
        unsigned char* const header = nulls.data.data() + noise.below(chunk) * mpegcore::ts_packet_size;
        const Bytes before(header, header + 4);
        const std::size_t PID = 0x20 + noise.below(mpegcore::null_packet_PID - 0x20);
        header[1] = static_cast<unsigned char>((noise.below(2) == 0 ? 0x40U : 0) | PID >> 8);
        header[2] = static_cast<unsigned char>(PID);
        const std::size_t held_before = held(parser);
        parser.Process(nulls.data.data(), nulls.data.size());
        std::copy(before.begin(), before.end(), header);
        most = std::max(most, held(parser));
        sum += held(parser) > held_before ? held(parser) - held_before : 0;
    }
    EXPECT_GT(sum, 14U << 20) << "that is what they would add up to";
    EXPECT_LT(most, 10U << 20);
}

TEST_F(SilentPids, LoseTheirBuffersWhenNoTableNamesThem)
{
    program(0x1FFE, {0x101});
    for (const unsigned PID : {0x101U, 0x104U, 0x0011U})
        stream.packet(PID, begins, payload);
    feed();
    pass(journal, 2 * PIDMemory::packets_until_silent);
    EXPECT_EQ(journal.m_PIDs[0x104].collecting, nullptr);
    ASSERT_NE(journal.m_PIDs[0x101].collecting, nullptr) << "a stream of a program";
    EXPECT_EQ(journal.m_PIDs[0x101].collecting->size, 184U);
    ASSERT_NE(journal.m_PIDs[0x0011].collecting, nullptr) << "a PID of tables";
    EXPECT_EQ(journal.m_PIDs[0x0011].collecting->size, 184U);
    ASSERT_NE(journal.m_PIDs[0x0100].collecting, nullptr) << "a PID of a PMT";
    stream.packet(0x101, begins, payload);
    EXPECT_THAT(feed(), Contains("PES 256 unit 184"));
}

TEST_F(SilentPids, CollectAgainFromTheirNextUnitOn)
{
    stream.section(0, PAT({{1, 0x100}})).packet(0x104, begins, payload).packet(0x104, goes_on, payload);
    feed();
    pass(journal, 2 * PIDMemory::packets_until_silent);
    stream.packet(0x104, goes_on, payload).packet(0x104, goes_on, payload);
    feed();
    EXPECT_EQ(journal.m_PIDs[0x104].collecting, nullptr);
    EXPECT_EQ(journal.m_PIDs[0x104].bytes, 4 * 184U);
    stream.packet(0x104, begins, payload).packet(0x104, goes_on, payload);
    feed();
    ASSERT_NE(journal.m_PIDs[0x104].collecting, nullptr);
    EXPECT_EQ(journal.m_PIDs[0x104].collecting->size, 2 * 184U);
}

TEST_F(SilentPids, AreThoseWithoutAPacketInManyNotThoseWithFew)
{
    stream.section(0, PAT({{1, 0x100}})).packet(0x104, begins, payload);
    feed();
    for (int count = 0; count < 4; ++count) {
        pass(journal, PIDMemory::packets_until_silent - 2 * chunk);
        stream.packet(0x104, goes_on, payload);
        feed();
    }
    ASSERT_NE(journal.m_PIDs[0x104].collecting, nullptr);
    EXPECT_EQ(journal.m_PIDs[0x104].collecting->size, 5 * 184U);
}
} // namespace PIDMemory_test
