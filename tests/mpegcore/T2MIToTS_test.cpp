// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/T2MIToTS.h"
#include "support/T2MI.h"

#include <gmock/gmock.h>

namespace T2MIToTS_test
{
using namespace zqtest;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

const Bytes timestamp_payload{0x04, 0x12, 0x34, 0x56, 0x78, 0x9A, 0x80, 0x00, 0x00, 0x20, 0x05};

Recording fed(const Stream& stream) { return decapsulated_stream(stream.data); }

TEST(T2MIPackets, AreLookedAtOnlyWhenTheNextOneStarts)
{
    Stream stream = known_stream();
    put(stream, Frame{0, 0, pattern(187 * 5)}.packet());
    RecordingDecapsulator decapsulator;
    decapsulator.feed(stream.data);
    EXPECT_THAT(decapsulator.packets, IsEmpty());
    Stream rest;
    end(rest);
    decapsulator.feed(rest.data);
    EXPECT_THAT(decapsulator.packets, SizeIs(5));
}

TEST(T2MIPackets, AtTheEndOfTheStreamAreNeverLookedAt)
{
    Stream stream = known_stream();
    put(stream, one_packet_frame(1).packet());
    put(stream, one_packet_frame(2).packet());
    EXPECT_THAT(fed(stream).packets, ElementsAre(pattern(187, 1)));
}

TEST(T2MIPackets, AreGatheredFromTheStartAgainBehindMoreBytesThanOneCanHave)
{
    Stream stream = known_stream();
    const Bytes nothing(mpegcore::ts_payload_size);
    for (std::size_t at = 0; at <= 65535 / mpegcore::ts_payload_size; ++at)
        stream.packet(T2MI_PID, Stream::goes_on, nothing);
    const Bytes packet = one_packet_frame(1).packet();
    stream.packet(T2MI_PID, Stream::goes_on, slice(packet, 0, mpegcore::ts_payload_size));
    stream.packet(T2MI_PID, Stream::goes_on,
                  slice(packet, mpegcore::ts_payload_size, packet.size() - mpegcore::ts_payload_size));
    end(stream);
    EXPECT_THAT(fed(stream).packets, ElementsAre(pattern(187, 1)));
}

TEST(T2MIPackets, MayEndInFrontOfTheNextOneBehindAPointerField)
{
    const Bytes first = one_packet_frame(1).packet();
    const Bytes second = one_packet_frame(2).packet();
    const Bytes bytes = first + second;
    ASSERT_EQ(first.size(), 210U);
    Stream stream = known_stream();
    stream.packet(T2MI_PID, Stream::begins, Bytes{0} + slice(bytes, 0, 183));
    stream.packet(T2MI_PID, Stream::begins, Bytes{27} + slice(bytes, 183, 183));
    stream.packet(T2MI_PID, Stream::goes_on, slice(bytes, 366, bytes.size() - 366));
    end(stream);
    EXPECT_THAT(fed(stream).packets, ElementsAre(pattern(187, 1), pattern(187, 2)));
}

class PointerFields : public testing::TestWithParam<unsigned>
{};

// The packet ends with 183 bytes in the payload whose pointer_field is the parameter.
TEST_P(PointerFields, UpToTheLastPayloadByteAreFollowed)
{
    const Bytes packet = one_packet_frame().packet();
    Stream stream = known_stream();
    put(stream, slice(packet, 0, packet.size() - 183));
    stream.packet(T2MI_PID, Stream::begins,
                  Bytes{static_cast<unsigned char>(GetParam())} + slice(packet, packet.size() - 183, 183));
    end(stream);
    EXPECT_THAT(fed(stream).packets, SizeIs(GetParam() == 183 ? 1 : 0));
}
INSTANTIATE_TEST_SUITE_P(OfEveryValue, PointerFields, testing::Range(0U, 256U));

TEST(T2MIPackets, GoOnBehindAPacketWhosePointerFieldIsTooLarge)
{
    const Bytes packet = one_packet_frame().packet();
    Stream stream = known_stream();
    put(stream, slice(packet, 0, 100));
    stream.packet(T2MI_PID, Stream::begins, Bytes{184} + Bytes(183));
    stream.packet(T2MI_PID, Stream::goes_on, slice(packet, 100, packet.size() - 100));
    end(stream);
    EXPECT_THAT(fed(stream).packets, SizeIs(1));
}

TEST(T2MIPackets, FailWithStuffingBehindTheirCRC)
{
    EXPECT_THAT(fed(stream_of({one_packet_frame().packet() + Bytes{0xFF}})).packets, IsEmpty());
}

TEST(T2MIPackets, FailWhenASecondOneStartsInThePayload)
{
    const Bytes small = t2mi_packet(0x20, timestamp_payload);
    Stream stream = known_stream();
    stream.packet(T2MI_PID, Stream::begins, Bytes{0} + small + small);
    end(stream);
    EXPECT_THAT(fed(stream).timestamps, IsEmpty());
}

TEST(T2MIPackets, FailWithAnyBitFlipped)
{
    const Bytes good = t2mi_packet(0x20, timestamp_payload);
    for (std::size_t bit = 0; bit < 8 * good.size(); ++bit) {
        Bytes packet = good;
        packet[bit / 8] = static_cast<unsigned char>(packet[bit / 8] ^ 1U << bit % 8);
        EXPECT_THAT(fed(stream_of({packet})).timestamps, IsEmpty()) << bit;
    }
}

TEST(T2MIPackets, OfOtherTypesAreDropped)
{
    for (unsigned type = 0; type < 256; ++type) {
        if (type == 0x00 || type == 0x01 || type == 0x20)
            continue;
        const auto decapsulator = fed(stream_of({t2mi_packet(type, Frame{0, 0, pattern(187)}.payload())}));
        EXPECT_THAT(decapsulator.packets, IsEmpty()) << type;
        EXPECT_THAT(decapsulator.frames, IsEmpty()) << type;
        EXPECT_THAT(decapsulator.timestamps, IsEmpty()) << type;
        EXPECT_THAT(decapsulator.auxiliaries, IsEmpty()) << type;
    }
}

TEST(T2MIPackets, MayHoldMoreThanPayloadLenSays)
{
    EXPECT_THAT(fed(stream_of({t2mi_packet(0x20, timestamp_payload, 0)})).timestamps, SizeIs(1));
    EXPECT_THAT(fed(stream_of({t2mi_packet(0x20, timestamp_payload, 8 * 11 + 7)})).timestamps, SizeIs(1));
}

TEST(T2MIPackets, AreDroppedWhenTheyHoldLessThanPayloadLenSays)
{
    EXPECT_THAT(fed(stream_of({t2mi_packet(0x20, timestamp_payload, 8 * 12)})).timestamps, IsEmpty());
}

TEST(T2MIPackets, BelowElevenBytesAreDropped)
{
    EXPECT_THAT(fed(stream_of({t2mi_packet(0x01, {})})).auxiliaries, IsEmpty());
    EXPECT_THAT(fed(stream_of({t2mi_packet(0x01, {0x42})})).auxiliaries, SizeIs(1));
}

TEST(T2MIPackets, NeedNoOrderOfTheirPacketCounts)
{
    const Bytes packet = one_packet_frame().packet();
    EXPECT_THAT(fed(stream_of({packet, packet, packet})).packets, SizeIs(3));
}

TEST(T2MIPackets, BeforeAnyStartAreGatheredAndFail)
{
    Stream stream = known_stream();
    stream.packet(T2MI_PID, Stream::goes_on, pattern(184));
    put(stream, one_packet_frame().packet());
    end(stream);
    EXPECT_THAT(fed(stream).packets, SizeIs(1));
}

TEST(T2MIPackets, PassOverTransportPacketsWithoutPayload)
{
    const Bytes packet = one_packet_frame().packet();
    Stream stream = known_stream();
    put(stream, slice(packet, 0, 100));
    stream.raw(T2MI_PID, Stream::goes_on, 2, Bytes{183} + pattern(183));
    stream.raw(T2MI_PID, Stream::begins, 2, Bytes{183} + pattern(183));
    stream.raw(T2MI_PID, Stream::begins, 3, Bytes{183, 0x00}); // an adaptation field leaves nothing
    stream.packet(T2MI_PID, Stream::goes_on, slice(packet, 100, packet.size() - 100));
    end(stream);
    EXPECT_THAT(fed(stream).packets, SizeIs(1));
}

TEST(T2MIPackets, OnOtherPIDsOfTheProgramAreNotMixedIn)
{
    const Bytes packet = one_packet_frame().packet();
    Stream stream;
    stream.section(PAT_PID, PAT_of({PMT_PID, 0x0200}));
    stream.section(PMT_PID, PMT_of({{0x06, T2MI_PID}}));
    stream.section(0x0200, PMT_of({{0x06, 0x1001}, {0x06, T2MI_PID}}));
    put(stream, slice(packet, 0, 100));
    stream.packet(0x1001, Stream::goes_on, pattern(184));
    stream.packet(T2MI_PID, Stream::goes_on, slice(packet, 100, packet.size() - 100));
    end(stream);
    EXPECT_THAT(fed(stream).packets, SizeIs(1));
}

TEST(T2MIPackets, AreTakenOnceWhenTwoPMTsNameTheirPID)
{
    Stream stream;
    stream.section(PAT_PID, PAT_of({PMT_PID, 0x0200}));
    stream.section(PMT_PID, PMT_of({{0x06, T2MI_PID}})).section(0x0200, PMT_of({{0x06, T2MI_PID}}));
    put(stream, Frame{0, 0, pattern(187 * 3)}.packet());
    end(stream);
    EXPECT_THAT(fed(stream).packets, SizeIs(3));
    // One buffer for every packet: the same address, yet another packet each time.
    RecordingDecapsulator decapsulator;
    std::array<unsigned char, 188> buffer;
    for (std::size_t at = 0; at < stream.data.size(); at += 188) {
        std::copy_n(stream.data.begin() + static_cast<std::ptrdiff_t>(at), 188, buffer.begin());
        decapsulator.Process(buffer.data(), buffer.size());
    }
    EXPECT_THAT(decapsulator.packets, SizeIs(3));
}

TEST(T2MIPackets, StayKnownWhenTheirPMTMovesToAnotherPID)
{
    Stream stream = known_stream();
    put(stream, one_packet_frame(1).packet());
    stream.section(PAT_PID, PAT_of({0x0050})).section(0x0050, PMT_of({{0x06, T2MI_PID}}));
    put(stream, one_packet_frame(2).packet());
    end(stream);
    EXPECT_THAT(fed(stream).packets, ElementsAre(pattern(187, 1), pattern(187, 2)));
}

TEST(T2MIPackets, ComeFromTheDirectCallToo)
{
    RecordingDecapsulator decapsulator;
    mpegcore::CPMT pmt(nullptr, 1024);
    auto stream = std::make_shared<mpegcore::CBaseStreamTypeMap>();
    stream->stream_type = 0x06;
    pmt.streams[T2MI_PID] = stream;
    decapsulator.OnPMT(nullptr, &pmt);
    for (Bytes payload : {Bytes{0} + one_packet_frame().packet(), Bytes{0}}) {
        mpegcore::transport_packet packet{};
        packet.PID = T2MI_PID;
        packet.adaptation_field_control = 1;
        packet.payload_unit_start_indicator = 1;
        packet.payload = payload.data();
        packet.payload_size = payload.size();
        decapsulator.OnPES(PMT_PID, stream.get(), &packet);
    }
    EXPECT_THAT(decapsulator.packets, SizeIs(1));
}

// A caller may use one block of memory for each packet, whose address tells nothing then.
TEST(T2MIPackets, AreTakenEachTimeTheirBytesComeInTheSamePlace)
{
    Stream stream = known_stream();
    put(stream, one_packet_frame(1).packet());
    // Only a program with a higher PID lists the stream from here on.
    stream.section(PAT_PID, PAT_of({PMT_PID, PMT_PID + 1}));
    stream.section(PMT_PID + 1, PMT_of({{0x06, T2MI_PID}}));
    stream.section(PMT_PID, PMT_of({{0x02, 0x0200}, {0x03, 0x0201}}));
    put(stream, one_packet_frame(2).packet());
    end(stream);
    RecordingDecapsulator decapsulator;
    std::array<unsigned char, mpegcore::ts_packet_size> place;
    for (std::size_t at = 0; at < stream.data.size(); at += place.size()) {
        std::copy_n(stream.data.data() + at, place.size(), place.data());
        decapsulator.Process(place.data(), place.size());
    }
    EXPECT_THAT(decapsulator.packets, ElementsAre(pattern(187, 1), pattern(187, 2)));
}

TEST(T2MIPackets, AreTakenEachTimeADirectCallGivesThemInTheSamePlace)
{
    RecordingDecapsulator decapsulator;
    mpegcore::CPMT pmt(nullptr, 1024);
    const auto listed = std::make_shared<mpegcore::CBaseStreamTypeMap>();
    listed->stream_type = 0x06;
    pmt.streams[T2MI_PID] = listed;
    decapsulator.OnPMT(nullptr, &pmt);
    Stream stream;
    put(stream, one_packet_frame(1).packet());
    put(stream, one_packet_frame(2).packet());
    end(stream);
    std::array<unsigned char, mpegcore::ts_packet_size> place;
    for (std::size_t at = 0; at < stream.data.size(); at += place.size()) {
        std::copy_n(stream.data.data() + at, place.size(), place.data());
        mpegcore::transport_packet packet{};
        packet.PID = T2MI_PID;
        packet.adaptation_field_control = place[3] >> 4 & 3U;
        packet.payload_unit_start_indicator = place[1] >> 6 & 1U;
        const std::size_t header = packet.adaptation_field_control == 3 ? 5U + place[4] : 4U;
        packet.packet = place.data();
        packet.payload = place.data() + header;
        packet.payload_size = place.size() - header;
        decapsulator.OnPES(PMT_PID, listed.get(), &packet);
    }
    EXPECT_THAT(decapsulator.packets, ElementsAre(pattern(187, 1), pattern(187, 2)));
}

TEST(T2MIPackets, ReachASubclassAsPayloadUnitsToo)
{
    class UnitDecapsulator : public RecordingDecapsulator
    {
    public:
        using RecordingDecapsulator::OnPES;
        void OnPES(unsigned short, mpegcore::CBaseStreamTypeMap*, unsigned char* data, unsigned long size) override
        {
            units.emplace_back(data, data + size);
        }
        std::vector<Bytes> units;
    } decapsulator;
    Stream stream = known_stream();
    std::vector<Bytes> payload_units;
    for (unsigned seed = 0; seed < 3; ++seed) {
        const Bytes packet = Frame{0, 0, pattern(187 * 5, seed)}.packet();
        put(stream, packet);
        payload_units.push_back(Bytes{0} + packet);
    }
    end(stream);
    decapsulator.feed(stream.data);
    EXPECT_EQ(decapsulator.units, payload_units);
    EXPECT_EQ(decapsulator.packets, fed(stream).packets);
    EXPECT_THAT(decapsulator.packets, SizeIs(15));
}

// 65 535 bytes are one too many: 356 payloads of 184 bytes and one of 30, behind the 11 of the start.
TEST(T2MIPackets, OfUpTo65534BytesAreGathered)
{
    for (const std::size_t size : {65534U, 65535U}) {
        Bytes packet = with_crc(t2mi_packet(0x01, pattern(3)) + pattern(size - 17));
        ASSERT_EQ(packet.size(), size);
        const auto decapsulator = fed(stream_of({packet}));
        ASSERT_THAT(decapsulator.auxiliaries, SizeIs(size == 65534 ? 1 : 0));
        if (size == 65534) {
            EXPECT_EQ(decapsulator.auxiliaries[0].payload.size(), size - 6);
        }
    }
}

TEST(T2MIPackets, AreGatheredAnewAfterTooManyBytesWithoutAStart)
{
    Stream stream = known_stream();
    for (int packet = 0; packet < 1000; ++packet)
        stream.packet(T2MI_PID, Stream::goes_on, pattern(184));
    put(stream, one_packet_frame().packet());
    end(stream);
    EXPECT_THAT(fed(stream).packets, SizeIs(1));
}

TEST(T2MIPackets, TooLongByTheBytesInFrontOfAPointerFieldAreDropped)
{
    const Bytes packet = with_crc(t2mi_packet(0x01, pattern(3)) + pattern(65535 - 17));
    Stream stream = known_stream();
    stream.unit(T2MI_PID, Bytes{0} + slice(packet, 0, 65535 - 100));
    stream.packet(T2MI_PID, Stream::begins,
                  Bytes{100} + slice(packet, 65435, 100) + t2mi_packet(0x20, timestamp_payload));
    end(stream);
    const auto decapsulator = fed(stream);
    EXPECT_THAT(decapsulator.auxiliaries, IsEmpty());
    EXPECT_THAT(decapsulator.timestamps, SizeIs(1));
}
} // namespace T2MIToTS_test
