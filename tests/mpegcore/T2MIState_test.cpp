// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/T2MI.h"

#include <gmock/gmock.h>

namespace T2MIState_test
{
using namespace zqtest;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

Recording fed(const Stream& stream) { return decapsulated_stream(stream.data); }

TEST(T2MIPID, IsKeptByAPMTWithSeveralStreams)
{
    for (const auto& pmt : {PMT_of({{0x06, 0x1001}, {0x06, 0x1002}}), PMT_of({})}) {
        Stream stream = known_stream();
        // The PID stays known to the parser by the other PMT.
        stream.section(PAT_PID, PAT_of({PMT_PID, 0x0200})).section(0x0200, pmt);
        put(stream, one_packet_frame().packet());
        end(stream);
        EXPECT_THAT(fed(stream).packets, SizeIs(1));
    }
}

TEST(T2MIPID, IsForgottenForASingleStreamOfAnotherTypeUntilASuitablePMTComes)
{
    Stream stream = known_stream();
    put(stream, one_packet_frame(1).packet());
    end(stream);
    stream.section(PAT_PID, PAT_of({PMT_PID, 0x0200})).section(0x0200, PMT_of({{0x1B, 0x1001}}));
    put(stream, one_packet_frame(2).packet());
    end(stream);
    stream.section(PMT_PID, PMT_of({{0x06, T2MI_PID}}));
    put(stream, one_packet_frame(3).packet());
    end(stream);
    EXPECT_THAT(fed(stream).packets, ElementsAre(pattern(187, 1), pattern(187, 3)));
}

TEST(T2MIPID, IsThatOfTheLastSingleStreamSeen)
{
    Stream stream = known_stream();
    stream.section(PAT_PID, PAT_of({PMT_PID, 0x0200})).section(0x0200, PMT_of({{0x06, 0x1001}}));
    put(stream, one_packet_frame(1).packet());
    end(stream);
    stream.unit(0x1001, Bytes{0} + one_packet_frame(2).packet()).unit(0x1001, {0, 0});
    EXPECT_THAT(fed(stream).packets, ElementsAre(pattern(187, 2)));
}

TEST(T2MIPID, IsUnknownBeforeAPMT)
{
    Stream stream;
    stream.section(PAT_PID, PAT_of({PMT_PID}));
    put(stream, one_packet_frame(1).packet());
    end(stream);
    EXPECT_THAT(fed(stream).packets, IsEmpty());
}

TEST(T2MIClear, ForgetsThePacketThatWasBegun)
{
    const Bytes packet = one_packet_frame().packet();
    Stream first = known_stream();
    put(first, slice(packet, 0, 100));
    Stream second;
    second.packet(T2MI_PID, Stream::goes_on, slice(packet, 100, packet.size() - 100));
    end(second);
    RecordingDecapsulator decapsulator;
    decapsulator.feed(first.data);
    decapsulator.Clear();
    decapsulator.feed(second.data);
    EXPECT_THAT(decapsulator.packets, IsEmpty());
}

TEST(T2MIClear, KeepsThePIDThePLPAndTheTables)
{
    RecordingDecapsulator decapsulator(9);
    decapsulator.feed(known_stream().data);
    decapsulator.Clear();
    Stream stream;
    put(stream, Frame{9, 0, pattern(187)}.packet());
    end(stream);
    decapsulator.feed(stream.data);
    EXPECT_THAT(decapsulator.packets, SizeIs(1));
}

TEST(T2MIProcess, ReturnsTheBytesConsumedAndCarriesTheRest)
{
    Stream stream = known_stream();
    RecordingDecapsulator decapsulator;
    EXPECT_EQ(decapsulator.Process(stream.data.data(), 200), 188U);
    EXPECT_EQ(decapsulator.Process(stream.data.data() + 200, 175), 0U);
    EXPECT_EQ(decapsulator.Process(stream.data.data() + 375, 1), 188U);
}

TEST(T2MIProcess, GivesTheSameForEveryPlaceOfACut)
{
    const Stream stream =
        stream_of({Frame{0, 0, pattern(300, 1)}.packet(), Frame{0, 74 * 8, pattern(300, 2)}.packet()});
    const auto whole = fed(stream).transport_stream();
    ASSERT_EQ(whole.size(), 188U * 3);
    for (std::size_t cut = 0; cut <= stream.data.size(); ++cut) {
        RecordingDecapsulator decapsulator;
        decapsulator.feed(slice(stream.data, 0, cut));
        decapsulator.feed(slice(stream.data, cut, stream.data.size() - cut));
        ASSERT_EQ(decapsulator.transport_stream(), whole) << cut;
    }
}

TEST(T2MIState, EndsTheGatheringWhenTheStreamGetsAnotherType)
{
    Stream stream = known_stream();
    stream.section(PMT_PID, PMT_of({{0x1B, T2MI_PID}}));
    put(stream, one_packet_frame(1).packet());
    end(stream);
    EXPECT_TRUE(decapsulated_stream(stream.data).packets.empty());
}

TEST(T2MIClear, ForgetsTheUserPacketThatWasBegunInAnyPLP)
{
    for (const unsigned plp : {0U, 1U, 254U}) {
        RecordingDecapsulator decapsulator;
        decapsulator.SetPLPID(static_cast<unsigned char>(plp));
        Stream begun = known_stream(), rest;
        put(begun, Frame{plp, 0, pattern(100)}.packet());
        end(begun);
        put(rest, Frame{plp, 8 * 87, pattern(87)}.packet());
        end(rest);
        decapsulator.feed(begun.data);
        decapsulator.Clear();
        decapsulator.feed(rest.data);
        EXPECT_TRUE(decapsulator.packets.empty()) << plp;
    }
}
} // namespace T2MIState_test
