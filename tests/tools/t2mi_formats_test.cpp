// SPDX-License-Identifier: LGPL-2.1-or-later
// What the encapsulator makes beyond the plainest stream, against bytes made by hand and through the demultiplexer.
#include "support/Demultiplexed.h"
#include "support/Encapsulated.h"
#include "support/PackedT2MI.h"
#include "tools/t2mi/rtp_packetizer.h"

#include <gmock/gmock.h>

namespace t2mi_formats_test
{
using namespace zqtest;
using t2mi::t2mi_options;
using testing::ElementsAre;
using testing::SizeIs;

/// The payloads of its T2-MI packets with this packet_type.
std::vector<Bytes> payloads_of(unsigned packet_type, const Bytes& stream)
{
    std::vector<Bytes> payloads;
    const auto sink = [&](const unsigned char* packet, std::size_t size) {
        if (packet[0] == packet_type)
            payloads.emplace_back(packet + 6, packet + size - 4);
    };
    mpegcore::T2MIPacketGatherer gatherer;
    for (const Bytes& packet : packets_of(stream))
        if ((packet[1] & 0x1F) == 0x10 && packet[2] == 0x00)
            gatherer.put(packet.data(), sink, [] { ADD_FAILURE() << "gap"; });
    return payloads;
}

/// Data of a 64K LDPC block at 3/5.
t2mi_options full_frames()
{
    t2mi_options options = frames_of(4826);
    options.timestamps = false;
    options.auxiliary_bytes = 0;
    return options;
}

Bytes first_frame(const t2mi_options& options, const Bytes& packet)
{
    Encapsulated mix(options);
    for (unsigned count = 0; count < 40; ++count)
        mix.push(0, packet);
    mix.encapsulator.flush();
    return slice(payloads_of(0x00, mix.data).at(0), 3, 10 + 4826);
}

TEST(EncapsulatorFormats, WriteTheHeadersOfBothModes)
{
    t2mi_options options = full_frames();
    const Bytes null = null_transport_packet();
    EXPECT_EQ(slice(first_frame(options, null), 0, 10), (Bytes{0xF0, 0, 0, 0, 0x96, 0xD0, 0, 0, 0, 0xAA}));
    options.normal_mode = true;
    EXPECT_EQ(slice(first_frame(options, null), 0, 10), (Bytes{0xF0, 0, 0x05, 0xE0, 0x96, 0xD0, 0x47, 0, 0, 0xC0}));
    options.ISSY_bytes = 3;
    options.delete_nulls = true;
    EXPECT_EQ(slice(first_frame(options, numbered_packet(1)), 0, 10),
              (Bytes{0xFC, 0, 0x06, 0x00, 0x96, 0xD0, 0x47, 0, 0, 0x8F}));
}

TEST(EncapsulatorFormats, BeginAPacketOfNormalModeWithTheCrc8OfTheOneBefore)
{
    t2mi_options options = full_frames();
    options.normal_mode = true;
    const Bytes null = null_transport_packet();
    const Bytes plain = first_frame(options, null);
    EXPECT_EQ(plain[10], 0x00);
    EXPECT_EQ(slice(plain, 11, 187), slice(null, 1, 187));
    EXPECT_EQ(plain[10 + 188], 0xAF);
    options.ISSY_bytes = 3;
    const Bytes with_ISSY = first_frame(options, null);
    EXPECT_EQ(slice(with_ISSY, 10 + 188, 4), (Bytes{0x80, 0x00, 0x00, 0xF7}));
    options.ISSY_bytes = 2;
    EXPECT_EQ(slice(first_frame(options, null), 10 + 188, 2), (Bytes{0x00, 0x00}));
}

TEST(EncapsulatorFormats, CountTheNullPacketsThatTheyLeaveOut)
{
    t2mi_options options = full_frames();
    options.delete_nulls = true;
    Encapsulated mix(options);
    for (unsigned count = 0; count < 258; ++count)
        mix.push(0, null_transport_packet());
    mix.push(0, numbered_packet(1));
    mix.encapsulator.flush();
    const Bytes frame = payloads_of(0x00, mix.data).at(0);
    // The 256th is sent, behind 255; two more stand in front of the last.
    EXPECT_EQ(slice(frame, 13 + 187, 1), (Bytes{255}));
    EXPECT_EQ(slice(frame, 13 + 188 + 187, 1), (Bytes{2}));
    EXPECT_EQ(frame[3], 0xF4);
}

TEST(EncapsulatorFormats, SendTheLastOfTheNullPacketsThatNothingFollows)
{
    t2mi_options options = full_frames();
    options.delete_nulls = true;
    Encapsulated mix(options);
    mix.push(0, numbered_packet(1));
    for (unsigned count = 0; count < 5; ++count)
        mix.push(0, null_transport_packet());
    mix.encapsulator.flush();
    const Bytes frame = payloads_of(0x00, mix.data).at(0);
    EXPECT_EQ(slice(frame, 13 + 187, 1), (Bytes{0}));
    EXPECT_EQ(slice(frame, 13 + 188, 187), slice(null_transport_packet(), 1, 187));
    EXPECT_EQ(slice(frame, 13 + 188 + 187, 1), (Bytes{4}));
    const Demultiplexed out(mix.data, {}, 1316);
    EXPECT_EQ(out.packets.at(0).size(), 6U);
}

TEST(EncapsulatorFormats, PutFramesWithoutDataBetweenOthers)
{
    t2mi_options options = full_frames();
    options.frames_between_empty_ones = 2;
    for (const bool normal_mode : {false, true}) {
        options.normal_mode = normal_mode;
        Encapsulated mix(options);
        push_random(mix, 100);
        mix.encapsulator.flush();
        const auto frames = payloads_of(0x00, mix.data);
        ASSERT_THAT(frames, SizeIs(6));
        for (const std::size_t number : {2U, 5U})
            EXPECT_EQ(slice(frames[number], 3, 4836),
                      (normal_mode ? Bytes{0xF0, 0, 0x05, 0xE0, 0, 0, 0x47, 0xFF, 0xFF, 0xC2}
                                   : Bytes{0xF0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0xA8}) +
                          Bytes(4826));
        const Demultiplexed out(mix.data, {}, 1316);
        EXPECT_EQ(out.packets.at(0).size(), 100U);
    }
}

TEST(EncapsulatorFormats, PutSeveralStreamsOnOnePid)
{
    for (const bool count_together : {false, true}) {
        t2mi_options options = frames_of(800);
        Encapsulated first(options);
        options.t2mi_stream_id = 5;
        t2mi::t2mi_encapsulator second(options, first.encapsulator, count_together);
        ASSERT_TRUE(second.add_plp(0));
        Bytes pushed;
        for (unsigned number = 0; number < 200; ++number) {
            first.push(0, numbered_packet(number));
            const Bytes other = numbered_packet(1000 + number);
            ASSERT_TRUE(second.push(0, other.data()));
            pushed.insert(pushed.end(), other.begin(), other.end());
        }
        second.flush();
        first.encapsulator.flush();
        const auto out = demultiplexed(first.data, [](auto& d) { d.set_stream_id(5); });
        const auto all = demultiplexed(first.data);
        EXPECT_GT(out.demultiplexer->counters().packets_by_stream_id[0], 40U);
        if (count_together) {
            // It takes a few packets to be sure that they do.
            EXPECT_GE(out.packets.at(0).size() + 5, 200U);
            EXPECT_TRUE(is_subsequence(out.packets.at(0), packets_of(pushed)));
            continue;
        }
        EXPECT_EQ(out.packets.at(0), packets_of(pushed));
        EXPECT_EQ(all.packets.at(0), packets_of(first.pushed[0]));
    }
}

TEST(EncapsulatorFormats, SignalACommonPlpAndTheSizeOfL1)
{
    t2mi_options options = frames_of(1000);
    options.L1_signalling = true;
    options.ISSY_bytes = 3;
    options.common_plp = 9;
    Encapsulated mix(options, {1, 9});
    push_random(mix, 60, 1);
    mix.encapsulator.flush();
    mpegcore::L1Current L1;
    const Bytes payload = payloads_of(0x10, mix.data).at(0);
    ASSERT_TRUE(L1.read(payload.data(), payload.size()));
    EXPECT_EQ(L1.L1CONF.PLPs[0].PLP_TYPE, 1);
    EXPECT_EQ(L1.L1CONF.PLPs[1].PLP_TYPE, 0);
    EXPECT_EQ(L1.L1CONF.PLPs[0].PLP_GROUP_ID, L1.L1CONF.PLPs[1].PLP_GROUP_ID);
    // 455 bits and 32 of CRC: 487 + 9168 - 7854 = 1801 bits, in 64-QAM 302 cells of an even number.
    EXPECT_EQ(L1.L1PRE.L1_POST_INFO_SIZE, 455U);
    EXPECT_EQ(L1.L1PRE.L1_POST_SIZE, 302U);
    options.ISSY_bytes = 0;
    EXPECT_EQ(t2mi::find_fault(options), "a common PLP needs L1 signalling and ISSY of 3 bytes");
}

TEST(RtpPacketizer, PutsSevenPacketsBehindAHeader)
{
    std::vector<Bytes> datagrams;
    t2mi::rtp_packetizer packetizer(0x11223344, 0xFFFF,
                                    [&datagrams](const Bytes& datagram) { datagrams.push_back(datagram); });
    Bytes all;
    for (unsigned number = 0; number < 10; ++number) {
        packetizer.put(numbered_packet(number).data(), std::chrono::milliseconds(number));
        all = all + numbered_packet(number);
    }
    packetizer.flush();
    packetizer.flush();
    ASSERT_THAT(datagrams, SizeIs(2));
    EXPECT_EQ(datagrams[0], (Bytes{0x80, 33, 0xFF, 0xFF, 0, 0, 0, 0, 0x11, 0x22, 0x33, 0x44}) + slice(all, 0, 7 * 188));
    // 7 ms are 630 ticks.
    EXPECT_EQ(datagrams[1],
              (Bytes{0x80, 33, 0, 0, 0, 0, 0x02, 0x76, 0x11, 0x22, 0x33, 0x44}) + slice(all, 7 * 188, 3 * 188));
}

TEST(EncapsulatorFormats, PutTheIssyOfTheFirstPacketIntoTheHeader)
{
    t2mi_options options = full_frames();
    options.ISSY_bytes = 3;
    Encapsulated mix(options);
    // 7 ms are 64000 periods of 7/64 us.
    for (unsigned count = 0; count < 60; ++count) {
        mix.encapsulator.advance(std::chrono::milliseconds(7 * count));
        mix.push(0, numbered_packet(count));
    }
    mix.encapsulator.flush();
    const auto frames = payloads_of(0x00, mix.data);
    ASSERT_THAT(frames, SizeIs(3));
    EXPECT_EQ(slice(frames[0], 3, 10), (Bytes{0xF8, 0, 0x80, 0x00, 0x96, 0xD0, 0x00, 0, 0, frames[0][12]}));
    // Packet 25 is the one that goes on; 26 * 64000 = 0x196400.
    EXPECT_EQ(slice(frames[1], 5, 2), (Bytes{0x99, 0x64}));
    EXPECT_EQ(frames[1][9], 0x00);
}

TEST(EncapsulatorFormats, NameTheStreamInADescriptor)
{
    t2mi_options options;
    options.T2MI_descriptor = true;
    options.t2mi_stream_id = 5;
    Encapsulated mix(options);
    push_random(mix, 40);
    const Bytes PMT = Bytes{0x47, 0x41, 0x00, 0x10, 0x00} + PMT_section(1, {{0x06, T2MI_PID, T2MI_descriptor(5)}});
    EXPECT_EQ(slice(mix.data, 188, 188), PMT + Bytes(188 - PMT.size(), 0xFF));
}

TEST(EncapsulatorFormats, SendTimestampAndL1BehindTheFramesOfEachT2Frame)
{
    t2mi_options options = frames_of(1000);
    options.L1_signalling = true;
    options.auxiliary_bytes = 0;
    options.baseband_frames_per_t2_frame = 3;
    Encapsulated mix(options, {1, 9});
    std::mt19937 random(2);
    for (unsigned count = 0; count < 100; ++count)
        mix.push(count % 3 == 0 ? 9 : 1, random_packet(random));
    mix.encapsulator.flush();
    std::vector<unsigned> types;
    Demultiplexed out(mix.data, {}, 1316);
    std::map<unsigned, unsigned> counted;
    for (const Bytes& frame : payloads_of(0x00, mix.data))
        ++counted[frame[1]];
    for (const Bytes& payload : payloads_of(0x10, mix.data)) {
        mpegcore::L1Current L1;
        ASSERT_TRUE(L1.read(payload.data(), payload.size()));
        ASSERT_THAT(L1.L1DYN_CURR.PLPs, SizeIs(2));
        EXPECT_EQ(L1.L1CONF.PLPs[1].PLP_ID, 9);
        EXPECT_EQ(L1.frame_idx, L1.L1DYN_CURR.FRAME_IDX);
        EXPECT_EQ(L1.L1PRE.L1_POST_INFO_SIZE, L1.configurable_bits() + L1.dynamic_bits());
        counted[1] -= L1.L1DYN_CURR.PLPs[0].PLP_NUM_BLOCKS;
        counted[9] -= L1.L1DYN_CURR.PLPs[1].PLP_NUM_BLOCKS;
    }
    EXPECT_EQ(counted, (std::map<unsigned, unsigned>{{1, 0}, {9, 0}}));
    for (const auto& [packet_type, payload] : out.others)
        types.push_back(packet_type);
    for (std::size_t at = 0; at < types.size(); ++at)
        EXPECT_EQ(types[at], at % 2 == 0 ? 0x20U : 0x10U);
    EXPECT_THAT(out.L1, SizeIs(1));
}

TEST(EncapsulatorFormats, LeaveNoStuffingBetweenPacketsWhenContinuous)
{
    t2mi_options options = frames_of(200);
    options.continuous = true;
    Encapsulated mix(options);
    push_random(mix, 300);
    const auto packets = packets_of(mix.data);
    for (const Bytes& packet : packets)
        // One byte of stuffing, where a pointer_field would have no room for a start behind it.
        if ((packet[3] & 0x20) != 0) {
            EXPECT_EQ(packet[4], 0);
        }
    Demultiplexed out(mix.data, {}, 188);
    EXPECT_EQ(out.gaps, 0U);
}

TEST(EncapsulatorFormats, AreReadWholeInAnyMix)
{
    std::mt19937 random(5);
    for (unsigned round = 0; round < 60; ++round) {
        t2mi_options options;
        options.normal_mode = random() % 2 == 0;
        options.ISSY_bytes = random() % 2 == 0 ? 0 : options.normal_mode && random() % 2 == 0 ? 2 : 3;
        options.delete_nulls = random() % 2 == 0;
        options.continuous = random() % 2 == 0;
        options.L1_signalling = random() % 2 == 0;
        options.T2MI_descriptor = random() % 2 == 0;
        options.t2mi_stream_id = random() % 8;
        options.data_field_bytes_min = 192 + random() % 300;
        options.data_field_bytes_max = options.data_field_bytes_min + random() % 3000;
        options.frames_between_empty_ones = random() % 4;
        options.common_plp = options.L1_signalling && options.ISSY_bytes == 3 && random() % 2 == 0 ? 1 : -1;
        options.seed = random();
        ASSERT_EQ(t2mi::find_fault(options), "");
        Encapsulated mix(options, {0, 1, 255});
        for (unsigned count = 0; count < 150; ++count) {
            Bytes packet = random() % 4 == 0 ? null_transport_packet() : random_packet(random);
            if (packet != null_transport_packet())
                packet[2] = 0; // it is no other null packet
            mix.push(std::array{0U, 1U, 255U}[random() % 3], packet);
        }
        mix.encapsulator.flush();
        const Demultiplexed out(mix.data, {}, 1 + random() % 2000);
        for (const auto& [plp_id, pushed] : mix.pushed) {
            Bytes got;
            for (const Bytes& packet : out.packets.at(plp_id))
                got.insert(got.end(), packet.begin(), packet.end());
            ASSERT_EQ(got, pushed) << round << " PLP " << plp_id;
        }
        auto lossy = packets_of(mix.data);
        std::size_t losses = 0;
        for (std::size_t at = random() % 40; at < lossy.size(); at += 30 + random() % 40) {
            lossy.erase(lossy.begin() + static_cast<std::ptrdiff_t>(at));
            ++losses;
        }
        Bytes stream;
        for (const Bytes& packet : lossy)
            stream.insert(stream.end(), packet.begin(), packet.end());
        const Demultiplexed behind_losses(stream, {}, 1316);
        std::size_t got_packets = 0, pushed_packets = 0;
        for (const auto& [plp_id, got] : behind_losses.packets) {
            const auto pushed = packets_of(mix.pushed[plp_id]);
            ASSERT_TRUE(is_subsequence(got, pushed)) << round;
            const auto counts = [](const Bytes& packet) { return packet != null_transport_packet(); };
            got_packets += static_cast<std::size_t>(std::count_if(got.begin(), got.end(), counts));
            pushed_packets += static_cast<std::size_t>(std::count_if(pushed.begin(), pushed.end(), counts));
        }
        // A transport packet that is lost touches those of a payload, and the parts of each PLP.
        const std::size_t of_one_loss = 3 * (options.data_field_bytes_max / 187 + 1) + 3;
        ASSERT_GE(got_packets + losses * of_one_loss, pushed_packets) << round;
    }
}

TEST(EncapsulatorFormats, AreRefusedWhereTheStandardHasNone)
{
    t2mi_options options;
    options.ISSY_bytes = 2;
    EXPECT_EQ(t2mi::find_fault(options), "ISSY has 3 bytes, or 2 in normal mode");
    options.normal_mode = true;
    EXPECT_EQ(t2mi::find_fault(options), "");
    options.delete_nulls = true;
    options.data_field_bytes_min = 190;
    EXPECT_EQ(t2mi::find_fault(options), "a data field must hold a whole packet, 191 bytes");
}
} // namespace t2mi_formats_test
