// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/Encapsulated.h"

#include <gmock/gmock.h>

#include <set>

namespace t2mi_encapsulator_test
{
using namespace zqtest;
using t2mi::t2mi_options;
using testing::SizeIs;

/// The T2-MI packets of a stream, gathered in the plainest way; each payload is checked to begin one at most.
std::vector<Bytes> t2mi_packets(const Bytes& data)
{
    std::vector<Bytes> packets;
    for (std::size_t at = 0; at < data.size(); at += 188) {
        if ((data[at + 1] & 0x1F) != 0x10 || data[at + 2] != 0)
            continue;
        std::size_t payload = at + 4;
        if ((data[at + 3] & 0x20) != 0)
            payload += 1 + data[at + 4];
        const Bytes bytes = slice(data, payload, at + 188 - payload);
        if ((data[at + 1] & 0x40) == 0) {
            packets.back() = packets.back() + bytes;
            continue;
        }
        EXPECT_LT(bytes[0] + 1U, bytes.size());
        if (bytes[0] != 0) {
            packets.back() = packets.back() + slice(bytes, 1, bytes[0]);
        }
        packets.push_back(slice(bytes, 1U + bytes[0], bytes.size() - 1 - bytes[0]));
    }
    return packets;
}

std::uint64_t number_at(const Bytes& bytes, std::size_t at, std::size_t size)
{
    std::uint64_t number = 0;
    for (std::size_t byte = 0; byte < size; ++byte)
        number = number << 8 | bytes[at + byte];
    return number;
}

TEST(Encapsulator, BeginsWithPATAndPMT)
{
    Encapsulated mix;
    push_random(mix, 40);
    const Bytes PAT = Bytes{0x47, 0x40, 0x00, 0x10, 0x00} + PAT_of({PMT_PID});
    const Bytes PMT = Bytes{0x47, 0x41, 0x00, 0x10, 0x00} + PMT_of({{0x06, T2MI_PID}});
    EXPECT_EQ(slice(mix.data, 0, 188), PAT + Bytes(188 - PAT.size(), 0xFF));
    EXPECT_EQ(slice(mix.data, 188, 188), PMT + Bytes(188 - PMT.size(), 0xFF));
}

TEST(Encapsulator, RepeatsTheTablesAndCountsContinuity)
{
    Encapsulated mix;
    push_random(mix, 2000);
    std::map<unsigned, std::vector<unsigned>> counters;
    std::size_t last_PAT = 0;
    for (std::size_t at = 0; at < mix.data.size(); at += 188) {
        const unsigned PID = (mix.data[at + 1] & 0x1FU) << 8 | mix.data[at + 2];
        counters[PID].push_back(mix.data[at + 3] & 0x0F);
        if (PID == 0) {
            EXPECT_LE(at - last_PAT, 188U * 500);
            last_PAT = at;
        }
    }
    EXPECT_THAT(counters, SizeIs(3));
    EXPECT_THAT(counters[0], SizeIs(testing::Ge(4U)));
    for (const auto& entry : counters)
        for (std::size_t at = 0; at < entry.second.size(); ++at)
            ASSERT_EQ(entry.second[at], at % 16) << entry.first;
}

TEST(Encapsulator, WritesTheFrameAsTheStandardsSay)
{
    auto options = frames_of(400);
    options.timestamps = false;
    options.auxiliary_bytes = 0;
    options.t2mi_stream_id = 5;
    Encapsulated mix(options);
    push_random(mix, 7);
    mix.encapsulator.flush();
    Bytes user_packets;
    for (std::size_t at = 0; at < 7 * 188; at += 188)
        user_packets = user_packets + slice(mix.pushed[0], at + 1, 187);
    const auto packets = t2mi_packets(mix.data);
    ASSERT_THAT(packets, SizeIs(5)); // 3 whole frames, the last one of 109 bytes, the timestamp behind it
    const std::size_t starts[] = {0, 161, 135, 109};
    for (unsigned at = 0; at < 4; ++at) {
        const std::size_t size = at < 3 ? 400 : 109;
        Bytes header = Bytes{0xF0, 0, 0, 0} + big_endian(8 * size, 2) + Bytes{0} + big_endian(8 * starts[at], 2);
        header.push_back(static_cast<unsigned char>(crc_8(header) ^ 1));
        const Bytes head{0x00, static_cast<unsigned char>(at), 0x00, 0x05};
        const Bytes frame = Bytes{0, 0, static_cast<unsigned char>(at == 0 ? 0x80 : 0)} + header +
                            slice(user_packets, at * 400, size) + Bytes(400 - size);
        EXPECT_EQ(packets[at], with_crc(head + big_endian(8 * 413, 2) + frame)) << at;
    }
}

TEST(Encapsulator, TellsSeveralPLPsInTheFrames)
{
    auto options = frames_of(187);
    options.auxiliary_bytes = 0;
    options.timestamps = false;
    Encapsulated mix(options, {3, 9});
    push_random(mix, 1, 9);
    push_random(mix, 1, 3);
    mix.encapsulator.flush();
    const auto packets = t2mi_packets(mix.data);
    ASSERT_THAT(packets, SizeIs(3));
    EXPECT_EQ(slice(packets[0], 6, 5), (Bytes{0, 9, 0x80, 0xD0, 9}));
    EXPECT_EQ(slice(packets[1], 6, 5), (Bytes{0, 3, 0x80, 0xD0, 3}));
}

TEST(Encapsulator, CountsPacketsT2FramesAndSuperframes)
{
    auto options = frames_of(187);
    options.baseband_frames_per_t2_frame = 3;
    options.t2_frames_per_superframe = 2;
    Encapsulated mix(options);
    push_random(mix, 300);
    const auto packets = t2mi_packets(mix.data);
    unsigned frames = 0;
    unsigned timestamps = 0;
    unsigned auxiliaries = 0;
    for (std::size_t at = 0; at + 1 < packets.size(); ++at) {
        const Bytes& packet = packets[at];
        EXPECT_EQ(packet[1], at % 256);
        EXPECT_EQ(packet[2] >> 4, frames / 6 % 16);
        EXPECT_EQ(mpegcore::crc32_mpeg2_bytewise(packet.data(), packet.size()), 0U);
        if (packet[0] == 0x00) {
            EXPECT_EQ(packet[6], frames / 3 % 2);
            EXPECT_EQ(packet[8], frames % 3 == 0 ? 0x80 : 0x00);
            ++frames;
        } else if (packet[0] == 0x01) {
            EXPECT_EQ(packet[6], frames / 3 % 2);
            EXPECT_EQ(frames % 3, 0U);
            ++auxiliaries;
        } else {
            EXPECT_EQ(packet[0], 0x20);
            EXPECT_EQ(frames % 6, 0U);
            ++timestamps;
        }
    }
    EXPECT_EQ(frames, 299U);
    EXPECT_EQ(auxiliaries, 100U);
    EXPECT_EQ(timestamps, 50U);
}

TEST(Encapsulator, DrawsFrameSizesFromItsRangeBySeed)
{
    t2mi_options options;
    options.data_field_bytes_min = 300;
    options.data_field_bytes_max = 310;
    const auto sizes = [&options] {
        Encapsulated mix(options);
        push_random(mix, 500);
        std::vector<std::uint64_t> found;
        for (const auto& packet : t2mi_packets(mix.data))
            if (packet[0] == 0 && packet.size() > 15)
                found.push_back(number_at(packet, 13, 2) / 8);
        return found;
    };
    const auto first = sizes();
    EXPECT_EQ(sizes(), first);
    EXPECT_THAT(first, testing::Each(testing::AllOf(testing::Ge(300U), testing::Le(310U))));
    EXPECT_THAT(std::set<std::uint64_t>(first.begin(), first.end()), SizeIs(11));
    options.seed = 2;
    EXPECT_NE(sizes(), first);
}

TEST(Encapsulator, PutsPayloadsBackToBackBehindPointerFields)
{
    Encapsulated mix(frames_of(1000));
    push_random(mix, 500);
    std::size_t stuffed = 0;
    for (std::size_t at = 0; at < mix.data.size(); at += 188)
        stuffed += (mix.data[at + 3] & 0x20) != 0 ? 1 : 0;
    // Only where a second packet would begin in a payload: behind timestamps and auxiliary packets.
    const auto recording = decapsulated_stream(mix.data, 0);
    EXPECT_GT(recording.frames.size(), 80U);
    EXPECT_LE(stuffed, recording.timestamps.size() + recording.auxiliaries.size() + 2);
}

TEST(Encapsulator, StuffsEveryLengthOfAPayload)
{
    for (std::size_t size = 0; size < 400; ++size) {
        auto options = frames_of(187);
        options.auxiliary_bytes = 1 + size;
        Encapsulated mix(options);
        push_random(mix, 30);
        mix.encapsulator.flush();
        const auto recording = decapsulated_stream(mix.data, 0);
        ASSERT_EQ(recording.transport_stream(), mix.pushed[0]) << size;
        ASSERT_THAT(recording.auxiliaries, SizeIs(4)) << size;
        ASSERT_EQ(recording.auxiliaries[0].aux_data.size(), 1 + size + 4);
    }
}

TEST(Encapsulator, RefusesUnknownPLPsAndLostSync)
{
    Encapsulated mix;
    EXPECT_FALSE(mix.encapsulator.add_plp(0));
    Bytes packet(188);
    packet[0] = 0x47;
    EXPECT_FALSE(mix.encapsulator.push(1, packet.data()));
    packet[0] = 0x46;
    EXPECT_FALSE(mix.encapsulator.push(0, packet.data()));
    mix.encapsulator.flush();
    EXPECT_THAT(mix.data, SizeIs(0));
}

TEST(EncapsulatorOptions, AtTheirLimitsWork)
{
    auto options = frames_of(8178);
    options.auxiliary_bytes = 8188;
    options.t2_frames_per_superframe = 256;
    ASSERT_EQ(find_fault(options), "");
    Encapsulated mix(options);
    push_random(mix, 200);
    mix.encapsulator.flush();
    const auto recording = decapsulated_stream(mix.data, 0);
    EXPECT_EQ(recording.transport_stream(), mix.pushed[0]);
    EXPECT_THAT(recording.auxiliaries, SizeIs(1));
}
} // namespace t2mi_encapsulator_test
