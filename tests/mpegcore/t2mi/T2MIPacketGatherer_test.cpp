// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/t2mi/T2MIPacketGatherer.h"

#include "support/PackedT2MI.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <memory>
#include <random>

namespace T2MIPacketGatherer_test
{
using mpegcore::T2MIPacketGatherer;
using testing::ElementsAre;
using testing::IsEmpty;
using zqtest::Bytes;
using zqtest::Stream;
using zqtest::operator+;

constexpr unsigned PID = 0x40;

/// The T2-MI packets that come out, over transport packets in blocks of exactly their size.
class Gathering
{
public:
    void put(const Bytes& packet)
    {
        const auto block = std::make_unique<unsigned char[]>(packet.size());
        std::copy(packet.begin(), packet.end(), block.get());
        gatherer.put(
            block.get(),
            [this](unsigned char* data, std::size_t size) {
                packets.emplace_back(data, data + size);
                std::fill_n(data, size, static_cast<unsigned char>(0x47)); // which is allowed
            },
            [this] { ++losses; });
    }
    void put(const Stream& stream)
    {
        for (const auto& packet : zqtest::packets_of(stream.data))
            put(packet);
    }

    T2MIPacketGatherer gatherer;
    std::vector<Bytes> packets;
    unsigned losses = 0;
};

Bytes t2mi(unsigned count, std::size_t payload_size)
{
    Bytes payload = zqtest::pattern(payload_size, count);
    Bytes packet =
        Bytes{0x21, static_cast<unsigned char>(count), 0x10, 0x00} + zqtest::big_endian(8 * payload_size, 2) + payload;
    return zqtest::with_crc(packet);
}

Stream packed(const std::vector<Bytes>& packets, std::mt19937* flushes = nullptr)
{
    Stream stream;
    zqtest::pack(stream, PID, packets, flushes);
    return stream;
}

std::vector<Bytes> random_packets(std::mt19937& random, unsigned count)
{
    std::vector<Bytes> packets;
    for (unsigned number = 0; number < count; ++number)
        packets.push_back(t2mi(number, random() % 3 == 0 ? random() % 1200 : random() % 60));
    return packets;
}

TEST(T2MIPacketGatherer, TakesThreePacketsThatStartInOneTransportPacket)
{
    // As on a satellite feed: the end of a packet, then a timestamp, L1-current and individual addressing.
    const Bytes timestamp{0x20, 0x11, 0x00, 0x00, 0x00, 0x58, 0x02, 0x00, 0x00, 0x00, 0x00,
                          0x00, 0x12, 0x76, 0x6A, 0xA0, 0x00, 0xDD, 0x4E, 0xB5, 0x3F};
    const Bytes L1 = zqtest::t2mi_packet(0x10, zqtest::pattern(69)),
                addressing = zqtest::t2mi_packet(0x21, zqtest::pattern(23));
    const Bytes frame = t2mi(1, 200);
    Stream stream;
    stream.packet(PID, Stream::begins, Bytes{0} + zqtest::slice(frame, 0, 178));
    stream.packet(PID, Stream::begins, Bytes{32} + zqtest::slice(frame, 178, 32) + timestamp + L1 + addressing);
    Gathering gathering;
    gathering.put(stream);
    EXPECT_THAT(gathering.packets, ElementsAre(frame, timestamp, L1, addressing));
    EXPECT_EQ(gathering.losses, 0U);
}

TEST(T2MIPacketGatherer, CutsByLengthHoweverPacketsArePacked)
{
    std::mt19937 random(1);
    for (unsigned round = 0; round < 40; ++round) {
        const auto sent = random_packets(random, 60);
        Gathering gathering;
        gathering.put(packed(sent, round % 2 == 0 ? nullptr : &random));
        EXPECT_EQ(gathering.packets, sent);
        EXPECT_EQ(gathering.losses, 0U);
        EXPECT_EQ(gathering.gatherer.counters().packets, sent.size());
    }
}

TEST(T2MIPacketGatherer, TakesTheLongestPacket)
{
    const std::vector<Bytes> sent{t2mi(0, 8191), t2mi(1, 8191), t2mi(2, 8191), t2mi(3, 5)};
    Gathering gathering;
    gathering.put(packed(sent));
    EXPECT_EQ(gathering.packets, sent);
}

TEST(T2MIPacketGatherer, CountsPayloadBitsUpToWholeBytes)
{
    Bytes packet = Bytes{0x11, 0, 0, 0, 0, 9, 0xAB, 0x80};
    packet = zqtest::with_crc(packet);
    Gathering gathering;
    gathering.put(packed({packet, t2mi(1, 3)}));
    EXPECT_THAT(gathering.packets, ElementsAre(packet, t2mi(1, 3)));
}

TEST(T2MIPacketGatherer, LeavesOutPacketsThatAreSentTwice)
{
    std::mt19937 random(2);
    const auto sent = random_packets(random, 40);
    Gathering gathering;
    for (const auto& packet : zqtest::packets_of(packed(sent).data)) {
        gathering.put(packet);
        gathering.put(packet);
    }
    EXPECT_EQ(gathering.packets, sent);
    EXPECT_EQ(gathering.losses, 0U);
    EXPECT_EQ(gathering.gatherer.counters().repeated * 2, gathering.gatherer.counters().transport_packets);
}

TEST(T2MIPacketGatherer, GivesWholePacketsOnlyWhateverIsLost)
{
    std::mt19937 random(3);
    for (unsigned round = 0; round < 60; ++round) {
        const auto sent = random_packets(random, 80);
        const auto packets = zqtest::packets_of(packed(sent).data);
        Gathering gathering;
        std::size_t lost = 0;
        for (const auto& packet : packets) {
            if (random() % 12 == 0)
                ++lost;
            else
                gathering.put(packet);
        }
        auto next = sent.begin();
        for (const Bytes& out : gathering.packets) {
            next = std::find(next, sent.end(), out);
            ASSERT_NE(next, sent.end());
            ++next;
        }
        // The shortest packet takes 10 bytes, so that a lost transport packet touches 20 at most.
        EXPECT_GE(gathering.packets.size() + 20 * lost + 2 * lost, sent.size());
    }
}

TEST(T2MIPacketGatherer, TellsOfALossBetweenThePacketsBeforeAndBehindIt)
{
    const std::vector<Bytes> sent{t2mi(0, 300), t2mi(1, 300), t2mi(2, 300)};
    auto packets = zqtest::packets_of(packed(sent).data);
    packets.erase(packets.begin() + 2); // in the middle of the second
    Gathering gathering;
    for (std::size_t at = 0; at < 2; ++at)
        gathering.put(packets[at]);
    EXPECT_THAT(gathering.packets, ElementsAre(sent[0]));
    EXPECT_EQ(gathering.losses, 0U);
    gathering.put(packets[2]);
    EXPECT_EQ(gathering.losses, 1U);
    for (std::size_t at = 3; at < packets.size(); ++at)
        gathering.put(packets[at]);
    EXPECT_THAT(gathering.packets, ElementsAre(sent[0], sent[2]));
    EXPECT_EQ(gathering.gatherer.counters().continuity_errors, 1U);
}

TEST(T2MIPacketGatherer, GoesOnAtTheNextStartWhenTheLengthIsWrong)
{
    Bytes wrong = t2mi(1, 300);
    wrong[4] = 0x40; // 2 KB
    const std::vector<Bytes> sent{t2mi(0, 20), wrong, t2mi(2, 300), t2mi(3, 300)};
    Gathering gathering;
    gathering.put(packed(sent));
    EXPECT_THAT(gathering.packets, ElementsAre(sent[0], sent[2], sent[3]));
    EXPECT_EQ(gathering.gatherer.counters().pointer_errors, 1U);
    EXPECT_EQ(gathering.losses, 1U);
}

TEST(T2MIPacketGatherer, KeepsGoodPacketsWhateverThePointerBetweenThemSays)
{
    const std::vector<Bytes> sent{t2mi(0, 20), t2mi(1, 300), t2mi(2, 300), t2mi(3, 300)};
    for (unsigned pointer_field = 0; pointer_field < 256; ++pointer_field) {
        auto transport = zqtest::packets_of(packed(sent).data);
        ASSERT_EQ(transport[1][1] & 0x40, 0x40);
        const bool is_right = transport[1][4] == pointer_field;
        transport[1][4] = static_cast<unsigned char>(pointer_field);
        Gathering gathering;
        for (const auto& packet : transport)
            gathering.put(packet);
        EXPECT_EQ(gathering.packets, sent) << pointer_field;
        EXPECT_EQ(gathering.gatherer.counters().pointer_errors, is_right ? 0U : 1U);
        EXPECT_EQ(gathering.losses, 0U);
    }
}

TEST(T2MIPacketGatherer, LeavesOutAPacketWithABadCrc)
{
    Bytes bad = t2mi(1, 300);
    bad[100] ^= 4;
    Gathering gathering;
    gathering.put(packed({t2mi(0, 20), bad, t2mi(2, 300)}));
    EXPECT_THAT(gathering.packets, ElementsAre(t2mi(0, 20), t2mi(2, 300)));
    EXPECT_EQ(gathering.gatherer.counters().CRC_32_errors, 1U);
    EXPECT_EQ(gathering.losses, 1U);
}

TEST(T2MIPacketGatherer, LeavesOutDamagedAndScrambledPackets)
{
    for (const auto& [byte, bits] : {std::pair{1, 0x80}, std::pair{3, 0x80}, std::pair{3, 0xC0}}) {
        auto packets = zqtest::packets_of(packed({t2mi(0, 300), t2mi(1, 10), t2mi(2, 300)}).data);
        packets[1][static_cast<std::size_t>(byte)] |= static_cast<unsigned char>(bits);
        Gathering gathering;
        for (const auto& packet : packets)
            gathering.put(packet);
        EXPECT_THAT(gathering.packets, IsEmpty());
        const auto& counters = gathering.gatherer.counters();
        EXPECT_EQ(byte == 1 ? counters.transport_errors : counters.scrambled, 1U);
        EXPECT_GE(gathering.losses, 1U);
    }
}

TEST(T2MIPacketGatherer, TakesADiscontinuityThatIsAnnouncedAsNone)
{
    const Bytes packet = t2mi(0, 300);
    Stream stream;
    stream.packet(PID, Stream::begins, Bytes{0} + zqtest::slice(packet, 0, 183));
    Stream behind;
    for (unsigned skipped = 0; skipped < 5; ++skipped)
        behind.packet(PID, Stream::goes_on, Bytes(184));
    behind.data.clear();
    behind.packet(PID, Stream::goes_on, zqtest::slice(packet, 183, packet.size() - 183), {}, 0x80);
    Gathering gathering;
    gathering.put(stream);
    gathering.put(behind);
    EXPECT_THAT(gathering.packets, ElementsAre(packet));
}

TEST(T2MIPacketGatherer, WaitsForTheNextPointerBehindBytesThatNoPacketAnnounced)
{
    const Bytes packet = t2mi(0, 200);
    Stream stream;
    stream.packet(PID, Stream::begins, Bytes{0} + zqtest::slice(packet, 0, 183));
    stream.packet(PID, Stream::goes_on, zqtest::slice(packet, 183, packet.size() - 183) + Bytes(100, 0xFF));
    stream.packet(PID, Stream::goes_on, Bytes(184, 0xFF));
    stream.packet(PID, Stream::begins, Bytes{0} + t2mi(1, 50));
    Gathering gathering;
    gathering.put(stream);
    EXPECT_THAT(gathering.packets, ElementsAre(packet, t2mi(1, 50)));
}

TEST(T2MIPacketGatherer, SurvivesRandomPackets)
{
    std::mt19937 random(4);
    Gathering gathering;
    unsigned counter = 0;
    for (unsigned round = 0; round < 20000; ++round) {
        Bytes packet(188);
        for (auto& byte : packet)
            byte = static_cast<unsigned char>(random() % 4 == 0 ? random() : 0);
        packet[1] = random() % 2 == 0 ? 0x40 : 0;
        packet[3] = static_cast<unsigned char>((random() % 4 == 0 ? 0x30 : 0x10) | (counter++ & 15));
        gathering.put(packet);
    }
    EXPECT_LE(gathering.gatherer.counters().packets, 20000U);
}
} // namespace T2MIPacketGatherer_test
