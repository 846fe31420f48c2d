// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/AllocationCounter.h"
#include "support/Encapsulated.h"
#include "support/rounds.h"

#include <gmock/gmock.h>

namespace t2mi_round_trip_test
{
using namespace zqtest;

/// PLPs of different rates in random order, frame sizes from a random range.
class RandomMix : public testing::TestWithParam<unsigned>
{
protected:
    unsigned below(unsigned limit) { return random() % limit; }

    Encapsulated make()
    {
        options.seed = GetParam();
        options.data_field_bytes_min = 187 + below(GetParam() % 3 == 0 ? 20 : 7000);
        options.data_field_bytes_max = options.data_field_bytes_min + below(900);
        options.baseband_frames_per_t2_frame = 1 + below(5);
        options.t2_frames_per_superframe = 1 + below(4);
        options.timestamps = below(2) != 0;
        options.auxiliary_bytes = below(3) * below(400);
        for (unsigned count = 1 + below(5); plp_ids.size() < count;) {
            const unsigned plp_id = below(255);
            if (std::find(plp_ids.begin(), plp_ids.end(), plp_id) == plp_ids.end())
                plp_ids.push_back(plp_id);
        }
        return Encapsulated(options, plp_ids);
    }

    std::mt19937 random{GetParam()};
    t2mi::t2mi_options options;
    std::vector<unsigned> plp_ids;
};

TEST_P(RandomMix, ComesBackWholeAndInOrderInAnyPieces)
{
    auto mix = make();
    for (unsigned left = 200 + below(300); left > 0; --left)
        mix.push(plp_ids[below(static_cast<unsigned>(plp_ids.size()))], random_packet(random));
    mix.encapsulator.flush();
    for (const unsigned plp_id : plp_ids) {
        const auto recording = decapsulated_stream(mix.data, plp_id, 1 + below(3000));
        ASSERT_EQ(recording.transport_stream(), mix.pushed[plp_id]) << plp_id;
        EXPECT_THAT(recording.plp_ids, testing::Each(plp_id));
    }
}

TEST_P(RandomMix, LacksTheFramesNotYetFullBeforeAFlush)
{
    auto mix = make();
    for (unsigned packet = 0; packet < 300; ++packet)
        mix.push(plp_ids[packet % plp_ids.size()], random_packet(random));
    for (const unsigned plp_id : plp_ids) {
        const Bytes before = decapsulated_stream(mix.data, plp_id).transport_stream();
        const Bytes& pushed = mix.pushed[plp_id];
        // One frame may still be filling, one may wait for the next packet start, and a user packet straddles.
        ASSERT_LE(pushed.size(), before.size() + 188 * (2 * options.data_field_bytes_max / 187 + 2));
        ASSERT_TRUE(std::equal(before.begin(), before.end(), pushed.begin()));
    }
}

TEST_P(RandomMix, GoesOnAfterAFlush)
{
    auto mix = make();
    for (unsigned packet = 0; packet < 200; ++packet) {
        mix.push(plp_ids[packet % plp_ids.size()], random_packet(random));
        if (below(10) == 0)
            mix.encapsulator.flush();
    }
    mix.encapsulator.flush();
    for (const unsigned plp_id : plp_ids)
        ASSERT_EQ(decapsulated_stream(mix.data, plp_id).transport_stream(), mix.pushed[plp_id]) << plp_id;
}

INSTANTIATE_TEST_SUITE_P(OfSeed, RandomMix, testing::Range(1U, 31U, zqtest::stride(4)));

TEST(RoundTrip, SurvivesACutAtEveryByte)
{
    t2mi::t2mi_options options;
    options.data_field_bytes_min = 190;
    options.data_field_bytes_max = 500;
    Encapsulated mix(options, {1, 2});
    std::mt19937 random(5);
    for (unsigned packet = 0; packet < 4 + zqtest::rounds(16); ++packet)
        mix.push(1 + packet % 2, random_packet(random));
    mix.encapsulator.flush();
    for (std::size_t cut = 0; cut <= mix.data.size(); ++cut) {
        RecordingDecapsulator decapsulator(2);
        decapsulator.feed(slice(mix.data, 0, cut));
        decapsulator.feed(slice(mix.data, cut, mix.data.size() - cut));
        ASSERT_EQ(decapsulator.transport_stream(), mix.pushed[2]) << cut;
    }
}

TEST(RoundTrip, WorksByteByByte)
{
    Encapsulated mix;
    std::mt19937 random(6);
    for (unsigned packet = 0; packet < 100; ++packet)
        mix.push(0, random_packet(random));
    mix.encapsulator.flush();
    EXPECT_EQ(decapsulated_stream(mix.data, 0, 1).transport_stream(), mix.pushed[0]);
}

TEST(RoundTrip, KeepsWholePacketsOfPLP255)
{
    t2mi::t2mi_options options;
    options.data_field_bytes_min = options.data_field_bytes_max = 187 * 10;
    Encapsulated mix(options, {255});
    std::mt19937 random(7);
    for (unsigned packet = 0; packet < 100; ++packet)
        mix.push(255, random_packet(random));
    mix.encapsulator.flush();
    EXPECT_EQ(decapsulated_stream(mix.data, 255).transport_stream(), mix.pushed[255]);
}

TEST(Decapsulating, AllocatesNothingForAPacket)
{
    class counting : public mpegcore::CT2MIToTS
    {
    public:
        counting() : CT2MIToTS(true) {}
        void OnTS(unsigned char, unsigned char*, unsigned long) override { ++packets; }
        std::size_t packets = 0;
    };
    Encapsulated mix;
    std::mt19937 random(8);
    for (unsigned packet = 0; packet < 2000; ++packet)
        mix.push(0, random_packet(random));
    // Without the PAT and PMT in between: reading a table allocates.
    Bytes packets;
    for (std::size_t at = 0; at < mix.data.size(); at += 188)
        if (mix.data[at + 1] == 0x10 || mix.data[at + 1] == 0x50)
            packets = packets + slice(mix.data, at, 188);
    counting decapsulator;
    decapsulator.Process(mix.data.data(), mix.data.size());
    const std::size_t before = allocations();
    for (std::size_t at = 0; at < packets.size(); at += 1316)
        decapsulator.Process(packets.data() + at, std::min<std::size_t>(1316, packets.size() - at));
    EXPECT_EQ(allocations(), before);
    EXPECT_GT(decapsulator.packets, 3900U);
}
} // namespace t2mi_round_trip_test
