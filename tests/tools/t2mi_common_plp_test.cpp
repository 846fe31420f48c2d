// SPDX-License-Identifier: LGPL-2.1-or-later
// Transport streams of a group whose common packets travel in a PLP of their own, there and back.
#include "support/Demultiplexed.h"
#include "support/Encapsulated.h"
#include "support/PackedT2MI.h"

#include <gmock/gmock.h>

#include <set>

namespace t2mi_common_plp_test
{
using namespace zqtest;
using t2mi::t2mi_options;

constexpr unsigned common_id = 9;
constexpr unsigned slots = 3000;

/// Two streams of one rate. A third of their packets are the same in both.
class CommonPlp : public testing::TestWithParam<std::tuple<bool, bool>>
{
protected:
    CommonPlp()
    {
        options.L1_signalling = true;
        options.normal_mode = std::get<0>(GetParam());
        options.delete_nulls = std::get<1>(GetParam());
        options.ISSY_bytes = 3;
        options.common_plp = common_id;
        options.data_field_bytes_min = 700;
        options.data_field_bytes_max = 2500;
        options.baseband_frames_per_t2_frame = 9;
        EXPECT_EQ(t2mi::find_fault(options), "");
    }

    Bytes encapsulated()
    {
        Encapsulated mix(options, {1, 2, common_id});
        std::mt19937 random(31);
        for (unsigned slot = 0; slot < slots; ++slot) {
            mix.encapsulator.advance(std::chrono::microseconds(300 * slot));
            const bool is_common = random() % 3 == 0;
            const Bytes common = is_common ? numbered_packet(slot) : null_transport_packet();
            mix.push(common_id, common);
            for (const unsigned plp_id : {1U, 2U}) {
                const Bytes own = random() % 4 == 0 ? null_transport_packet() : numbered_packet(10'000 * plp_id + slot);
                mix.push(plp_id, is_common ? null_transport_packet() : own);
                original[plp_id].push_back(is_common ? common : own);
                is_from_common[plp_id].push_back(is_common);
            }
        }
        mix.encapsulator.flush();
        return mix.data;
    }

    t2mi_options options;
    std::map<unsigned, std::vector<Bytes>> original;
    std::map<unsigned, std::vector<bool>> is_from_common;
};

TEST_P(CommonPlp, IsMergedIntoEachDataPlp)
{
    const Bytes stream = encapsulated();
    const auto packets = packets_of(decapsulated_stream(stream, 1).transport_stream());
    const std::set<Bytes> simple(packets.begin(), packets.end());
    for (unsigned slot = 0; slot < slots; ++slot)
        if (is_from_common[1][slot]) {
            ASSERT_EQ(simple.count(original[1][slot]), 0U);
        }
    const auto out = demultiplexed(
        stream, [](auto& d) { d.set_merge_common_PLPs(true); }, 1316);
    // The groups are known from the first L1 on; up to there the common packets are missing.
    constexpr unsigned settled = 100;
    for (const unsigned plp_id : {1U, 2U}) {
        const auto& got = out.packets.at(plp_id);
        ASSERT_EQ(got.size(), slots);
        for (unsigned slot = 0; slot < slots; ++slot)
            if (got[slot] != original[plp_id][slot]) {
                EXPECT_LT(slot, settled);
                EXPECT_TRUE(is_from_common[plp_id][slot]);
                EXPECT_EQ(got[slot], null_transport_packet());
            }
    }
    EXPECT_GT(out.demultiplexer->merged_packets(), 2 * slots / 4);
    EXPECT_EQ(out.packets.at(common_id).size(), slots);
    EXPECT_EQ(out.gaps, 0U);
}

TEST_P(CommonPlp, ComesOutApartUnlessMergingIsOn)
{
    const auto out = demultiplexed(encapsulated());
    EXPECT_EQ(out.demultiplexer->merged_packets(), 0U);
    unsigned common = 0;
    for (const Bytes& packet : out.packets.at(common_id))
        common += packet != null_transport_packet() ? 1 : 0;
    EXPECT_EQ(common, std::count(is_from_common[1].begin(), is_from_common[1].end(), true));
    for (unsigned slot = 0; slot < slots; ++slot)
        EXPECT_EQ(out.packets.at(1)[slot], is_from_common[1][slot] ? null_transport_packet() : original[1][slot]);
}

TEST_P(CommonPlp, IsMergedThoughItIsNotChosenItself)
{
    const Bytes stream = encapsulated();
    const auto all = demultiplexed(stream, [](auto& d) { d.set_merge_common_PLPs(true); });
    const auto one = demultiplexed(stream, [](auto& d) {
        d.set_merge_common_PLPs(true);
        d.set_PLPs(std::bitset<256>().set(1));
    });
    EXPECT_THAT(one.appeared, testing::ElementsAre(1));
    EXPECT_EQ(one.packets.size(), 1U);
    EXPECT_EQ(one.packets.at(1), all.packets.at(1));
}

TEST_P(CommonPlp, LeavesTheNullPacketsOutThatNoCommonPacketReplaced)
{
    const Bytes stream = encapsulated();
    const auto with = demultiplexed(stream, [](auto& d) { d.set_merge_common_PLPs(true); });
    const auto without = demultiplexed(stream, [](auto& d) {
        d.set_merge_common_PLPs(true);
        d.set_restore_nulls(false);
    });
    EXPECT_TRUE(is_subsequence(without.packets.at(1), with.packets.at(1)));
    EXPECT_EQ(without.packets.at(1).size() < with.packets.at(1).size(), options.delete_nulls);
    EXPECT_EQ(without.demultiplexer->merged_packets(), with.demultiplexer->merged_packets());
}

TEST_P(CommonPlp, GivesNoPacketInAWrongPlaceWhateverIsLost)
{
    const auto packets = packets_of(encapsulated());
    const Bytes null = null_transport_packet();
    std::mt19937 random(32);
    for (unsigned round = 0; round < 5; ++round) {
        Bytes stream;
        for (const Bytes& packet : packets)
            if (random() % 200 != 0)
                stream.insert(stream.end(), packet.begin(), packet.end());
        const auto out = demultiplexed(stream, [](auto& d) { d.set_merge_common_PLPs(true); });
        for (const unsigned plp_id : {1U, 2U}) {
            // Null packets that are put back may be of those that a loss took; all others have their order.
            std::vector<Bytes> got, sent;
            for (const Bytes& packet : out.packets.at(plp_id))
                if (packet != null)
                    got.push_back(packet);
            for (const Bytes& packet : original[plp_id])
                if (packet != null)
                    sent.push_back(packet);
            EXPECT_TRUE(is_subsequence(got, sent));
            EXPECT_GT(got.size(), sent.size() / 2);
        }
    }
}

TEST_P(CommonPlp, GivesWhatWaitsOnceTheStreamIsAnother)
{
    const Bytes stream = encapsulated();
    std::size_t most_waited = 0;
    for (std::size_t end = 800; end < 1200; end += 7) {
        Demultiplexed out;
        out.demultiplexer->set_merge_common_PLPs(true);
        out.feed(Bytes(stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(188 * end)));
        const std::size_t before = out.packets[1].size();
        out.demultiplexer->set_stream_id(5);
        const std::size_t after = out.packets[1].size();
        out.demultiplexer->finish();
        EXPECT_EQ(out.packets[1].size(), after);
        most_waited = std::max(most_waited, after - before);
    }
    EXPECT_GT(most_waited, 0U);
}

INSTANTIATE_TEST_SUITE_P(InEveryForm, CommonPlp, testing::Combine(testing::Bool(), testing::Bool()),
                         [](const auto& tested) {
                             return std::string(std::get<0>(tested.param) ? "normal" : "efficient") +
                                    (std::get<1>(tested.param) ? "WithoutNulls" : "");
                         });
} // namespace t2mi_common_plp_test
