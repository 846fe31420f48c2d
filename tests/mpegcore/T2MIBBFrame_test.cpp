// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/T2MI.h"

#include <gmock/gmock.h>

namespace T2MIBBFrame_test
{
using namespace zqtest;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

Recording decapsulated(const std::vector<Frame>& frames, unsigned char plp_id = 0)
{
    std::vector<Bytes> packets;
    for (const auto& frame : frames)
        packets.push_back(frame.packet());
    return decapsulated_stream(stream_of(packets).data, plp_id);
}

const Bytes data_1 = pattern(187 * 3 + 100, 1); // leaves 100 bytes
const Bytes data_2 = pattern(87 + 187 * 2, 2);  // begins with 87 bytes of that packet
const Bytes joined = slice(data_1, 187 * 3, 100) + slice(data_2, 0, 87);

TEST(BBFrame, HasAllItsFields)
{
    Frame frame;
    frame.plp_id = 5;
    frame.data = pattern(187 + 100);
    frame.SYNCD = 100 * 8;
    Bytes payload = frame.payload();
    payload[2] = 0x85;                                                        // intl_frame_start and rfu
    const Bytes header{0xA6, 0x17, 0x12, 0x34, 0x08, 0xF8, 0x47, 0x03, 0x20}; // MATYPE, UPL, DFL, SYNC, SYNCD
    std::copy(header.begin(), header.end(), payload.begin() + 3);
    payload[12] = crc_8(header);
    RecordingDecapsulator decapsulator(5);
    decapsulator.feed(stream_of({t2mi_packet(0x00, payload)}).data);
    ASSERT_THAT(decapsulator.frames, SizeIs(1));
    const auto& fields = decapsulator.frames[0];
    EXPECT_EQ(fields.frame_idx, 3);
    EXPECT_EQ(fields.plp_id, 5);
    EXPECT_EQ(fields.intl_frame_start, 1);
    EXPECT_EQ(fields.rfu, 5);
    EXPECT_EQ(fields.TS_GS, 2);
    EXPECT_EQ(fields.SIS_MIS, 1);
    EXPECT_EQ(fields.CCM_ACM, 0);
    EXPECT_EQ(fields.ISSYI, 0);
    EXPECT_EQ(fields.NPD, 1);
    EXPECT_EQ(fields.EXT, 2);
    EXPECT_EQ(fields.ISI, 0x17);
    EXPECT_EQ(fields.UPL, 0x1234);
    EXPECT_EQ(fields.DFL, 287 * 8);
    EXPECT_EQ(fields.SYNC, 0x47);
    EXPECT_EQ(fields.SYNCD, 800);
    EXPECT_EQ(fields.CRC_8, crc_8(header));
    EXPECT_THAT(decapsulator.packets, ElementsAre(slice(frame.data, 100, 187)));
}

TEST(BBFrame, OfThreeWholePacketsGivesThemAndLeavesTheCarryEmpty)
{
    const auto decapsulator = decapsulated({{0, 0, pattern(187 * 3)}, {0, 187 * 8, pattern(187)}});
    ASSERT_THAT(decapsulator.packets, SizeIs(4));
    for (std::size_t at = 0; at < 3; ++at)
        EXPECT_EQ(decapsulator.packets[at], slice(pattern(187 * 3), at * 187, 187));
    // Without a carry, 187 bytes in front of the first start are a packet of their own.
    EXPECT_EQ(decapsulator.packets[3], pattern(187));
}

TEST(BBFrame, CompletesTheCarriedPacketFirst)
{
    const auto decapsulator = decapsulated({{0, 0, data_1}, {0, 87 * 8, data_2}});
    ASSERT_THAT(decapsulator.packets, SizeIs(6));
    EXPECT_EQ(decapsulator.packets[2], slice(data_1, 187 * 2, 187));
    EXPECT_EQ(decapsulator.packets[3], joined);
    EXPECT_EQ(decapsulator.packets[4], slice(data_2, 87, 187));
    EXPECT_EQ(decapsulator.packets[5], slice(data_2, 87 + 187, 187));
}

TEST(BBFrame, IsToldBehindItsPackets)
{
    EXPECT_THAT(decapsulated({{0, 0, data_1}, {0, 87 * 8, data_2}}).packets_at_frame, ElementsAre(3, 6));
}

TEST(BBFrame, OfAnotherPLPIsNotParsedAndLeavesTheCarry)
{
    const auto decapsulator = decapsulated({{4, 0, data_1}, {5, 0, data_1}, {4, 87 * 8, data_2}}, 4);
    EXPECT_THAT(decapsulator.packets, SizeIs(6));
    EXPECT_EQ(decapsulator.packets[3], joined);
    EXPECT_THAT(decapsulator.frames, SizeIs(2));
    EXPECT_THAT(decapsulator.plp_ids, testing::Each(4));
}

TEST(BBFrame, KeepsACarryForEachPLP)
{
    RecordingDecapsulator decapsulator(1);
    decapsulator.feed(stream_of({Frame{1, 0, data_1}.packet()}).data);
    decapsulator.SetPLPID(254);
    decapsulator.feed(stream_of({Frame{254, 0, pattern(187 + 50)}.packet()}).data);
    decapsulator.SetPLPID(1);
    decapsulator.feed(stream_of({Frame{1, 87 * 8, data_2}.packet()}).data);
    ASSERT_THAT(decapsulator.packets, SizeIs(3 + 1 + 3));
    EXPECT_EQ(decapsulator.packets[4], joined);
}

TEST(BBFrame, OverwritesTheCarryWithItsRest)
{
    const Bytes data = pattern(187 + 60, 9);
    const auto decapsulator = decapsulated({{0, 0, data_1}, {0, 0, data}, {0, 127 * 8, pattern(127, 5)}});
    ASSERT_THAT(decapsulator.packets, SizeIs(3 + 1 + 1));
    EXPECT_EQ(decapsulator.packets[4], slice(data, 187, 60) + pattern(127, 5));
}

TEST(BBFrame, SendsACarriedPacketOnlyOnce)
{
    const Bytes end_and_packet = pattern(87 + 187);
    const auto decapsulator = decapsulated({{0, 0, data_1}, {0, 87 * 8, end_and_packet}, {0, 87 * 8, end_and_packet}});
    EXPECT_THAT(decapsulator.packets, SizeIs(3 + 2 + 1));
}

TEST(BBFrame, WithoutARestDeliberatelyKeepsAnOldCarry)
{
    const auto decapsulator = decapsulated({{0, 0, data_1}, {0, 0, pattern(187)}, {0, 87 * 8, data_2}});
    ASSERT_THAT(decapsulator.packets, SizeIs(3 + 1 + 3));
    EXPECT_EQ(decapsulator.packets[4], joined);
}

TEST(BBFrame, DoesNotSendACarryThatDoesNotFit)
{
    for (const unsigned first : {86U, 88U}) {
        const auto decapsulator = decapsulated({{0, 0, data_1}, {0, first * 8, pattern(first + 187, 7)}});
        ASSERT_THAT(decapsulator.packets, SizeIs(4));
        EXPECT_EQ(decapsulator.packets[3], slice(pattern(first + 187, 7), first, 187));
    }
}

TEST(BBFrame, MayEndWithTheCarriedPacket)
{
    const auto decapsulator = decapsulated({{0, 0, data_1}, {0, 87 * 8, pattern(87, 7)}});
    ASSERT_THAT(decapsulator.packets, SizeIs(4));
    EXPECT_EQ(decapsulator.packets[3], slice(data_1, 187 * 3, 100) + pattern(87, 7));
}

TEST(BBFrame, CountsWholeBytesOfDFLAndSYNCD)
{
    Frame second{0, 87 * 8 + 7, data_2};
    second.DFL = static_cast<int>(data_2.size() * 8 + 7);
    EXPECT_THAT(decapsulated({{0, 0, data_1}, second}).packets, SizeIs(6));
}

class StartsBeyondTheFrame : public testing::TestWithParam<unsigned>
{};

TEST_P(StartsBeyondTheFrame, SendNothingAndEmptyTheCarryButAreTold)
{
    const auto decapsulator = decapsulated({{0, 0, data_1}, {0, GetParam(), pattern(80, 7)}, {0, 87 * 8, data_2}});
    EXPECT_THAT(decapsulator.packets, SizeIs(3 + 2));
    EXPECT_THAT(decapsulator.packets, testing::Not(testing::Contains(joined)));
    EXPECT_THAT(decapsulator.packets_at_frame, ElementsAre(3, 3, 5));
}
// 87 bytes would complete the packet, if they were there.
INSTANTIATE_TEST_SUITE_P(BySYNCD, StartsBeyondTheFrame, testing::Values(81U * 8, 87U * 8, 0xFFF8U, 0xFFFFU));

TEST(BBFrame, WithoutAStartIsLeftOutEvenWhenItsLengthIsTheLargest)
{
    const auto decapsulator = decapsulated({{0, 0, data_1}, {0, 0xFFFF, pattern(8191)}, {0, 87 * 8, data_2}});
    EXPECT_THAT(decapsulator.packets, SizeIs(3 + 2));
    EXPECT_THAT(decapsulator.frames, SizeIs(3));
}

TEST(BBFrame, NeedsAModeOfZeroOrOneInItsCRC8)
{
    for (unsigned mode = 0; mode < 256; ++mode) {
        const auto decapsulator = decapsulated({{0, 0, pattern(187), -1, mode}});
        EXPECT_THAT(decapsulator.packets, SizeIs(mode <= 1 ? 1 : 0)) << mode;
        EXPECT_THAT(decapsulator.frames, SizeIs(mode <= 1 ? 1 : 0)) << mode;
    }
}

TEST(BBFrame, MayReachIntoTheCRCButNotBeyondThePacket)
{
    Frame frame{0, 0, pattern(183)};
    frame.DFL = 187 * 8; // the data and the 4 CRC bytes
    const Bytes packet = frame.packet();
    RecordingDecapsulator decapsulator;
    decapsulator.feed(stream_of({packet}).data);
    EXPECT_THAT(decapsulator.packets, ElementsAre(slice(packet, 19, 187)));
    frame.DFL = 188 * 8;
    EXPECT_THAT(decapsulated({frame}).frames, IsEmpty());
}

TEST(BBFrame, IsDroppedWhenItsHeaderIsCutShort)
{
    Frame frame;
    frame.head = {9};
    const Bytes payload = frame.payload();
    for (std::size_t size = 1; size < payload.size(); ++size) {
        RecordingDecapsulator decapsulator;
        // From 9 bytes on the packet's CRC stands where the rest of the header should; its CRC-8 does not fit.
        decapsulator.feed(stream_of({t2mi_packet(0x00, slice(payload, 0, size))}).data);
        EXPECT_THAT(decapsulator.frames, IsEmpty()) << size;
        EXPECT_THAT(decapsulator.packets, IsEmpty()) << size;
    }
    EXPECT_THAT(decapsulated({frame}).frames, SizeIs(1));
}

TEST(BBFrame, IsCutTheSameWayWhateverMATYPESays)
{
    for (unsigned MATYPE = 0; MATYPE < 256; ++MATYPE) {
        Bytes payload = Frame{0, 0, pattern(187 * 2)}.payload();
        payload[3] = static_cast<unsigned char>(MATYPE);
        payload[12] = crc_8(slice(payload, 3, 9));
        RecordingDecapsulator decapsulator;
        decapsulator.feed(stream_of({t2mi_packet(0x00, payload)}).data);
        EXPECT_THAT(decapsulator.packets, SizeIs(2)) << MATYPE;
    }
}

TEST(BBFrame, OfPLP255GivesWholePacketsOnly)
{
    const auto decapsulator = decapsulated({{255, 0, data_1}, {255, 87 * 8, data_2}, {255, 0xFFFF, data_2}}, 255);
    EXPECT_THAT(decapsulator.packets, SizeIs(3 + 2));
    EXPECT_THAT(decapsulator.packets, testing::Not(testing::Contains(joined)));
    EXPECT_THAT(decapsulator.frames, SizeIs(3));
}

TEST(BBFrame, LosesItsCarryByClear)
{
    RecordingDecapsulator decapsulator;
    decapsulator.feed(stream_of({Frame{0, 0, data_1}.packet()}).data);
    decapsulator.Clear();
    decapsulator.feed(stream_of({Frame{0, 87 * 8, data_2}.packet()}).data);
    EXPECT_THAT(decapsulator.packets, SizeIs(3 + 2));
}
} // namespace T2MIBBFrame_test
