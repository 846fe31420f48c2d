// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/monitor/StreamMonitor.h"

#include "support/T2MIFeed.h"

#include <gmock/gmock.h>

namespace T2MIWatch_test
{
using mpegcore::Check;
using mpegcore::CheckState;
using mpegcore::StreamMonitor;
using testing::IsEmpty;
using testing::SizeIs;
using zqtest::Bytes;
using zqtest::Feed;
using zqtest::L1_on_air;
using zqtest::packed;
using zqtest::T2MI_descriptor;
using zqtest::T2MI_PID;
using zqtest::T2MISender;
using zqtest::tables;
using zqtest::operator+;

void put(StreamMonitor& monitor, const Bytes& stream)
{
    static std::uint64_t now = 0;
    now += 1'000'000;
    monitor.put(stream.data(), stream.size() / 188, now);
}

/// "11.2.2.3: 1": what has errors of T2-MI.
std::string errors(const StreamMonitor& monitor)
{
    std::string text;
    for (const mpegcore::CheckName& name : mpegcore::TR101290_checks)
        if (name.priority == 0 && monitor.checks()[name.check].count != 0)
            text += (text.empty() ? "" : ", ") + std::string(name.number) + ": " +
                    std::to_string(monitor.checks()[name.check].count);
    return text;
}

Bytes known_tables() { return tables({{0x06, T2MI_PID, T2MI_descriptor()}}); }

std::string errors_of(const std::vector<Bytes>& T2MI_packets)
{
    StreamMonitor monitor;
    put(monitor, known_tables() + packed(T2MI_packets));
    return errors(monitor);
}

/// What is sent on air with super-frames of 10 866 688 units of 1/48 us; `seconds` 0: relative.
Bytes timestamp(std::uint64_t seconds, std::uint64_t subseconds, unsigned utco = 0)
{
    return Bytes{0x02} + zqtest::big_endian(seconds, 5) + zqtest::big_endian(subseconds << 13 | utco, 5);
}
constexpr std::uint64_t superframe = 10'866'688, units_per_second = 48'000'000;

/// An L1 of T2 frames without baseband frames.
Bytes L1_of_no_blocks()
{
    mpegcore::L1Current L1;
    EXPECT_TRUE(L1.read(L1_on_air.data(), L1_on_air.size()));
    for (auto& PLP : L1.L1DYN_CURR.PLPs)
        PLP.PLP_NUM_BLOCKS = 0;
    return L1.payload();
}

/// Gives each packet a super-frame of its own choice.
struct Frames
{
    void add(unsigned superframe_idx, const Bytes& stamp)
    {
        for (const auto& [type, payload] : {std::pair(0x20U, stamp), std::pair(0x10U, L1_of_no_blocks())}) {
            Bytes packet = sender.packet(type, payload);
            packet.resize(packet.size() - 4);
            packet[2] = static_cast<unsigned char>(superframe_idx << 4);
            packets.push_back(zqtest::with_crc(packet));
        }
    }
    T2MISender sender;
    std::vector<Bytes> packets;
};

TEST(T2MIWatch, IsNotThereWithoutT2MI)
{
    StreamMonitor monitor;
    put(monitor, tables());
    monitor.tick(1'000'000'000);
    EXPECT_FALSE(monitor.T2MI().has_value());
    EXPECT_EQ(monitor.checks()[Check::T2MI_CRC_error].state, CheckState::not_applicable);
}

TEST(T2MIWatch, FindsThePIDByItsDescriptorAndCountsPLPs)
{
    Feed feed({1, 2});
    feed.signal().add(3, 900).end();
    StreamMonitor monitor;
    put(monitor, known_tables() + packed(feed.packets));
    const auto contents = monitor.T2MI();
    ASSERT_TRUE(contents.has_value());
    EXPECT_EQ(contents->PID, T2MI_PID);
    EXPECT_EQ(contents->t2mi_stream_id, 0);
    EXPECT_EQ(contents->packets, feed.packets.size());
    ASSERT_NE(contents->L1, nullptr);
    ASSERT_THAT(contents->PLPs, SizeIs(3)); // L1 lists 102
    EXPECT_EQ(contents->PLPs[0].plp_id, 1U);
    EXPECT_EQ(contents->PLPs[0].frames, 4U);
    EXPECT_EQ(contents->PLPs[0].packets, feed.sent[1].size());
    EXPECT_EQ(contents->PLPs[0].L1, nullptr);
    EXPECT_EQ(contents->PLPs[2].plp_id, 102U);
    ASSERT_NE(contents->PLPs[2].L1, nullptr);
    EXPECT_EQ(contents->PLPs[2].frames, 0U);
    EXPECT_EQ(errors(monitor), "");
}

TEST(T2MIWatch, TakesThePIDThatIsSet)
{
    mpegcore::MonitorLimits limits;
    limits.T2MI_PID = T2MI_PID;
    StreamMonitor monitor(limits);
    Feed feed({1});
    feed.add(3, 900).end();
    put(monitor, packed(feed.packets));
    ASSERT_TRUE(monitor.T2MI().has_value());
    EXPECT_THAT(monitor.T2MI()->PLPs, SizeIs(1));
}

TEST(T2MIWatch, EndsWithTheDescriptor)
{
    StreamMonitor monitor;
    put(monitor, known_tables());
    EXPECT_TRUE(monitor.T2MI().has_value());
    zqtest::Stream stream;
    stream.section(zqtest::PMT_PID, zqtest::PMT_section(1, {{0x06, T2MI_PID, {}}}, 1));
    put(monitor, stream.data);
    monitor.tick(3'000'000'000);
    EXPECT_FALSE(monitor.T2MI().has_value());
    EXPECT_EQ(monitor.checks()[Check::T2MI_CRC_error].state, CheckState::not_applicable);
}

TEST(T2MIErrors, AreReservedPacketTypes)
{
    T2MISender sender;
    EXPECT_EQ(errors_of({sender.packet(0x34, Bytes(20)), sender.packet(0x21, Bytes(20))}), "11.2.2.2: 1");
}

TEST(T2MIErrors, ArePacketCountsThatDoNotFollow)
{
    T2MISender sender;
    std::vector<Bytes> packets{sender.packet(0x21, Bytes(20))};
    sender.skip();
    packets.push_back(sender.packet(0x21, Bytes(20)));
    packets.push_back(sender.packet(0x21, Bytes(20)));
    EXPECT_EQ(errors_of(packets), "11.2.2.3: 1");
}

TEST(T2MIErrors, AreCRC32sThatAreWrong)
{
    T2MISender sender;
    std::vector<Bytes> packets;
    for (int at = 0; at < 3; ++at)
        packets.push_back(sender.packet(0x21, Bytes(20)));
    packets[1][10] ^= 1;
    EXPECT_EQ(errors_of(packets), "11.2.2.3: 1, 11.2.2.4: 1");
}

TEST(T2MIErrors, ArePayloadsThatAreNoneOfTheirType)
{
    T2MISender sender;
    Bytes L1 = L1_on_air;
    L1.resize(30);
    EXPECT_EQ(errors_of({sender.packet(0x10, L1), sender.packet(0x21, Bytes(20))}), "11.2.2.5: 1");
}

TEST(T2MIErrors, AreTimestampsThatDifferInASuperFrame)
{
    Frames frames;
    frames.add(3, timestamp(0, 1000));
    frames.add(3, timestamp(0, 1000));
    EXPECT_EQ(errors_of(frames.packets), "");
    frames.add(3, timestamp(0, 1001));
    frames.add(3, timestamp(0, 1000, 1));
    EXPECT_EQ(errors_of(frames.packets), "11.2.2.8: 2");
}

TEST(T2MIErrors, AreTimestampsThatDoNotGoOnByASuperFrame)
{
    for (const std::uint64_t seconds : {std::uint64_t{0}, std::uint64_t{700'000'000}}) {
        Frames frames;
        std::uint64_t units = units_per_second - 2 * superframe - 5;
        const auto add = [&](unsigned superframe_idx) {
            const std::uint64_t passed = seconds == 0 ? 0 : seconds + units / units_per_second;
            frames.add(superframe_idx & 15, timestamp(passed, units % units_per_second));
        };
        for (unsigned at = 13; at < 20; ++at, units += superframe) // over the second and over the range of the index
            add(at);
        EXPECT_EQ(errors_of(frames.packets), "");
        ++units;
        add(20);
        EXPECT_EQ(errors_of(frames.packets), "11.2.2.9: 1");
    }
}

TEST(T2MIErrors, AreNoTimestampsBehindAGap)
{
    for (const bool is_gap : {false, true}) {
        Frames frames;
        frames.add(1, timestamp(0, 1000)); // its L1 comes behind it
        frames.add(2, timestamp(0, 1000 + superframe));
        if (is_gap)
            frames.sender.skip();
        frames.add(3, timestamp(0, 77));
        EXPECT_EQ(errors_of(frames.packets), is_gap ? "11.2.2.3: 1" : "11.2.2.9: 1");
    }
    Frames others;
    others.add(1, timestamp(0, 1000));
    others.add(2, timestamp(0, 1000 + superframe));
    others.add(4, timestamp(0, 77)); // not the next super-frame
    EXPECT_EQ(errors_of(others.packets), "");
}

TEST(T2MIErrors, AreNoneWithoutASingleFrequencyNetwork)
{
    Frames frames;
    for (unsigned at = 0; at < 3; ++at)
        frames.add(at, Bytes{0x02} + Bytes(10, 0xFF));
    EXPECT_EQ(errors_of(frames.packets), "");
}
TEST(T2MIErrors, OfBasebandFramesAreToldWithTheirType)
{
    T2MISender sender;
    StreamMonitor monitor;
    put(monitor, known_tables() + packed({sender.packet(0x21, Bytes(20)), sender.packet(0x00, Bytes{0, 1}),
                                          sender.packet(0x21, Bytes(20))}));
    EXPECT_EQ(errors(monitor), "11.2.2.5: 1");
    EXPECT_EQ(monitor.checks()[Check::T2MI_payload_error].detail(), "contents of a packet of packet_type 0x00");
}
} // namespace T2MIWatch_test
