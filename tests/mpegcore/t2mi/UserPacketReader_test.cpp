// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/t2mi/UserPacketReader.h"

#include "support/BasebandFrames.h"
#include "support/rounds.h"

#include <gmock/gmock.h>

#include <random>
#include <string>
#include <tuple>

namespace UserPacketReader_test
{
using mpegcore::UserPacket;
using mpegcore::UserPacketReader;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;
using zqtest::BasebandFormat;
using zqtest::BasebandSender;

using Bytes = std::vector<unsigned char>;

/// A packet that differs from all others in every part.
Bytes packet(unsigned number)
{
    Bytes bytes(188);
    std::mt19937 random(number);
    for (auto& byte : bytes)
        byte = static_cast<unsigned char>(random());
    bytes[0] = 0x47;
    bytes[1] = 0x01;
    bytes[2] = static_cast<unsigned char>(number);
    return bytes;
}

Bytes null_packet()
{
    Bytes bytes(188, 0xFF);
    bytes[0] = 0x47;
    bytes[1] = 0x1F;
    bytes[3] = 0x10;
    return bytes;
}

/// The packets that come out, over frames in blocks of exactly their size.
class Reading
{
public:
    bool put(const Bytes& frame)
    {
        const auto block = std::make_unique<unsigned char[]>(frame.size());
        std::copy(frame.begin(), frame.end(), block.get());
        return reader.put(block.get(), frame.size(), [this](const UserPacket& one) {
            packets.emplace_back(one.data, one.data + 188);
            ISSY.push_back(one.ISSY == nullptr ? Bytes() : Bytes(one.ISSY, one.ISSY + one.ISSY_size));
            nulls += one.is_restored_null ? 1 : 0;
        });
    }

    UserPacketReader reader;
    std::vector<Bytes> packets;
    std::vector<Bytes> ISSY;
    unsigned nulls = 0;
};

Bytes header(std::initializer_list<unsigned char> bytes, std::size_t data_bytes, unsigned char fill = 0)
{
    Bytes frame(bytes);
    frame.resize(frame.size() + data_bytes, fill);
    return frame;
}

TEST(UserPacketReader, TakesTheHeadersOfAFullFrameInEitherMode)
{
    // 64K LDPC, rate 3/5: 4826 bytes of data.
    Reading normal, efficient;
    EXPECT_TRUE(normal.put(header({0xF0, 0x00, 0x05, 0xE0, 0x96, 0xD0, 0x47, 0x00, 0x00, 0xC0}, 4826)));
    EXPECT_THAT(normal.packets, SizeIs(4826 / 188));
    EXPECT_TRUE(efficient.put(header({0xF0, 0x00, 0x00, 0x00, 0x96, 0xD0, 0x00, 0x00, 0x00, 0xAA}, 4826, 0x0B)));
    EXPECT_THAT(efficient.packets, SizeIs(4826 / 187));
    EXPECT_EQ(efficient.packets.back()[0], 0x47);
    EXPECT_EQ(efficient.packets.back()[187], 0x0B);
}

TEST(UserPacketReader, CutsTheFramesOfARecordingWhereTheirSyncdSays)
{
    // Two frames as they follow each other on air: SYNCD of the second is 1496 less the rest of the first.
    Reading reading;
    EXPECT_TRUE(reading.put(header({0xF0, 0x00, 0x00, 0x00, 0x96, 0xD0, 0x00, 0x00, 0x00, 0xAA}, 4826, 1)));
    EXPECT_TRUE(reading.put(header({0xF0, 0x00, 0x00, 0x00, 0x96, 0xD0, 0x00, 0x01, 0x20, 0x05}, 4826, 2)));
    EXPECT_EQ(reading.reader.counters().SYNCD_disagreements, 0U);
    // 4826 = 25 * 187 + 151, and 36 bytes complete the one begun.
    EXPECT_THAT(reading.packets, SizeIs(25 + 1 + 25));
    EXPECT_EQ(reading.packets[25][151], 1);
    EXPECT_EQ(reading.packets[25][152], 2);
}

TEST(UserPacketReader, PassesFramesWithoutData)
{
    Reading reading;
    EXPECT_TRUE(reading.put(header({0xF0, 0x00, 0x05, 0xE0, 0x00, 0x00, 0x47, 0xFF, 0xFF, 0xC2}, 4826)));
    EXPECT_TRUE(reading.put(header({0xF0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xFF, 0xFF, 0xA8}, 0)));
    EXPECT_THAT(reading.packets, IsEmpty());
    EXPECT_EQ(reading.reader.counters().header_errors, 0U);
}

TEST(UserPacketReader, RefusesAHeaderWithAnyBitFlippedButThatOfTheMode)
{
    const Bytes good = header({0xFC, 0x00, 0x06, 0x00, 0x96, 0xD0, 0x47, 0x00, 0x00, 0x8F}, 4826);
    for (unsigned bit = 0; bit < 79; ++bit) {
        Bytes bad = good;
        bad[bit / 8] ^= static_cast<unsigned char>(0x80 >> bit % 8);
        Reading reading;
        EXPECT_FALSE(reading.put(bad)) << bit;
        EXPECT_EQ(reading.reader.counters().header_errors, 1U) << bit;
    }
}

TEST(UserPacketReader, RefusesFramesShorterThanTheirDataField)
{
    BasebandSender sender({});
    for (unsigned number = 0; number < 3; ++number)
        sender.add(packet(number));
    const Bytes frame = sender.frame(3 * 187);
    for (std::size_t size = 0; size < frame.size(); ++size) {
        Reading reading;
        EXPECT_FALSE(reading.put(Bytes(frame.begin(), frame.begin() + static_cast<std::ptrdiff_t>(size)))) << size;
        EXPECT_THAT(reading.packets, IsEmpty());
    }
}

TEST(UserPacketReader, GivesNothingOfFormatsThatAreNoTransportStream)
{
    Reading reading;
    for (const unsigned char format : {0x00, 0x40, 0x80}) {
        Bytes frame = header({0xF0, 0x00, 0x00, 0x00, 0x96, 0xD0, 0x00, 0x00, 0x00, 0}, 4826);
        frame[0] = static_cast<unsigned char>(format | 0x30);
        frame[9] = mpegcore::crc8_dvb(frame.data(), 9) ^ 1;
        EXPECT_FALSE(reading.put(frame));
    }
    EXPECT_THAT(reading.packets, IsEmpty());
    EXPECT_EQ(reading.reader.counters().other_formats, 3U);
}

class EveryFormat : public testing::TestWithParam<zqtest::FormatCase>
{
protected:
    BasebandFormat format = zqtest::format_of(GetParam());
};

TEST_P(EveryFormat, ComesOutAsItWentInWhereverTheFramesCut)
{
    std::mt19937 random(7);
    for (unsigned round = 0; round < zqtest::rounds(10); ++round) {
        BasebandSender sender(format);
        std::vector<Bytes> sent;
        Reading reading;
        for (unsigned number = 0; number < 120; ++number) {
            sent.push_back(random() % 3 == 0 ? null_packet() : packet(number));
            sender.add(sent.back());
            const std::size_t most = random() % 4 == 0 ? 40 : 1200;
            while (sender.waiting() > most)
                EXPECT_TRUE(reading.put(sender.frame(random() % (most + 1), random() % 50)));
            if (random() % 9 == 0) {
                EXPECT_TRUE(reading.put(sender.frame(0)));
            }
        }
        EXPECT_TRUE(reading.put(sender.frame(sender.waiting())));
        // Null packets at the very end were not counted by any packet behind them.
        while (format.deletes_nulls && sent.back() == null_packet())
            sent.pop_back();
        EXPECT_EQ(reading.packets, sent);
        const auto& counters = reading.reader.counters();
        EXPECT_EQ(counters.SYNCD_disagreements + counters.CRC_8_errors + counters.dropped_parts, 0U);
        EXPECT_EQ(counters.packets, sent.size());
        EXPECT_EQ(counters.restored_nulls, reading.nulls);
    }
}

TEST_P(EveryFormat, NeverGivesAPacketThatWasNotWholeWhenFramesAreLost)
{
    std::mt19937 random(8);
    for (unsigned round = 0; round < zqtest::rounds(10); ++round) {
        BasebandSender sender(format);
        std::vector<Bytes> sent;
        Reading reading;
        unsigned lost = 0;
        for (unsigned number = 0; number < 120; ++number) {
            sent.push_back(packet(number));
            sender.add(sent.back());
            if (sender.waiting() < 700)
                continue;
            const Bytes frame = sender.frame(200 + random() % 500);
            if (random() % 4 == 0) {
                ++lost;
                reading.reader.drop_part();
            } else {
                EXPECT_TRUE(reading.put(frame));
            }
        }
        auto next = sent.begin();
        for (const Bytes& out : reading.packets) {
            next = std::find(next, sent.end(), out);
            ASSERT_NE(next, sent.end());
            ++next;
        }
        // A lost frame of at most 700 bytes takes no more than the 5 packets that it touches.
        EXPECT_GE(reading.packets.size() + 5 * lost + 4, sent.size());
    }
}

TEST_P(EveryFormat, SurvivesAnyBitsInTheHeaderAndTheData)
{
    std::mt19937 random(9);
    BasebandSender sender(format);
    for (unsigned number = 0; number < 60; ++number)
        sender.add(packet(number));
    const Bytes good = sender.frame(1000, 20);
    Reading reading;
    for (unsigned round = 0; round < zqtest::rounds(1000); ++round) {
        Bytes bad = good;
        for (unsigned flips = random() % 4; flips != 0; --flips)
            bad[random() % (random() % 2 == 0 ? 9 : bad.size())] = static_cast<unsigned char>(random());
        bad[9] = mpegcore::crc8_dvb(bad.data(), 9) ^ static_cast<unsigned char>(random() % 2);
        reading.packets.clear();
        reading.put(bad);
        EXPECT_LE(reading.packets.size(), 6U * 256);
    }
}

INSTANTIATE_TEST_SUITE_P(UserPackets, EveryFormat, zqtest::every_format(), zqtest::name_of_format);

TEST(UserPacketReader, GivesEachPacketOfNormalModeItsIssy)
{
    for (const unsigned size : {2U, 3U}) {
        BasebandSender sender({false, size, false});
        for (unsigned number = 0; number < 4; ++number)
            sender.add(packet(number));
        Reading reading;
        reading.put(sender.frame(sender.waiting()));
        const Bytes third = size == 2 ? Bytes{0, 2} : Bytes{0x80, 0, 2};
        EXPECT_THAT(reading.ISSY, SizeIs(4));
        EXPECT_EQ(reading.ISSY[2], third);
    }
}

TEST(UserPacketReader, GivesTheIssyOfAHeaderToTheFirstPacketThatStartsInTheFrame)
{
    BasebandSender sender({true, 3, false});
    for (unsigned number = 0; number < 6; ++number)
        sender.add(packet(number));
    Reading reading;
    reading.put(sender.frame(300));
    reading.put(sender.frame(200)); // only packet 2 starts here, and goes on in the next
    reading.put(sender.frame(sender.waiting()));
    EXPECT_THAT(reading.ISSY,
                ElementsAre(Bytes{0x80, 0, 0}, Bytes{}, Bytes{0x80, 0, 2}, Bytes{0x80, 0, 3}, Bytes{}, Bytes{}));
}

TEST(UserPacketReader, CountsTheCrc8OfThePacketBeforeAndHandsItOut)
{
    BasebandSender sender({false, 0, false});
    for (unsigned number = 0; number < 4; ++number)
        sender.add(packet(number));
    Bytes frame = sender.frame(sender.waiting());
    frame[10 + 188 + 100] ^= 1;
    Reading reading;
    EXPECT_TRUE(reading.put(frame));
    EXPECT_THAT(reading.packets, SizeIs(4));
    EXPECT_EQ(reading.reader.counters().CRC_8_errors, 1U);
}

TEST(UserPacketReader, LeavesDeletedNullPacketsOutWhenTold)
{
    BasebandSender sender({true, 0, true});
    sender.add(null_packet());
    sender.add(packet(1));
    sender.add(null_packet());
    sender.add(null_packet());
    sender.add(packet(2));
    Reading reading;
    reading.reader.set_restore_nulls(false);
    reading.put(sender.frame(sender.waiting()));
    EXPECT_THAT(reading.packets, ElementsAre(packet(1), packet(2)));
    EXPECT_EQ(reading.reader.counters().restored_nulls, 0U);
}

TEST(UserPacketReader, DropsOnlyThePartThatWasBegunWhenSyncdDisagrees)
{
    BasebandSender sender({true, 0, false});
    for (unsigned number = 0; number < 9; ++number)
        sender.add(packet(number));
    Reading reading;
    reading.put(sender.frame(500));
    static_cast<void>(sender.frame(300)); // lost, and nobody says so
    reading.put(sender.frame(sender.waiting()));
    EXPECT_THAT(reading.packets, ElementsAreArray({packet(0), packet(1), packet(5), packet(6), packet(7), packet(8)}));
    EXPECT_EQ(reading.reader.counters().SYNCD_disagreements, 1U);
    EXPECT_EQ(reading.reader.counters().dropped_parts, 1U);
}

TEST(UserPacketReader, GivesNoChimeraWhereAGapLeavesSyncdAsItWas)
{
    BasebandSender sender({true, 0, false});
    for (unsigned number = 0; number < 9; ++number)
        sender.add(packet(number));
    Reading reading;
    reading.put(sender.frame(280));
    static_cast<void>(sender.frame(2 * 187));
    reading.reader.drop_part();
    reading.put(sender.frame(sender.waiting()));
    EXPECT_THAT(reading.packets, ElementsAreArray({packet(0), packet(4), packet(5), packet(6), packet(7), packet(8)}));
    EXPECT_EQ(reading.reader.counters().dropped_parts, 1U);
}

TEST(UserPacketReader, BeginsAnewWhenTheFormatChanges)
{
    BasebandSender efficient({true, 0, false}), normal({false, 0, false});
    for (unsigned number = 0; number < 3; ++number) {
        efficient.add(packet(number));
        normal.add(packet(10 + number));
    }
    Reading reading;
    reading.put(efficient.frame(300));
    reading.put(normal.frame(normal.waiting()));
    EXPECT_THAT(reading.packets, ElementsAre(packet(0), packet(10), packet(11), packet(12)));
    EXPECT_EQ(reading.reader.counters().dropped_parts, 1U);
}
} // namespace UserPacketReader_test
