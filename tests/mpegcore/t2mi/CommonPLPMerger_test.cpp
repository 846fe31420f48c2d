// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/t2mi/CommonPLPMerger.h"

#include "support/T2MIFeed.h"

#include <gmock/gmock.h>

#include <memory>
#include <optional>

namespace CommonPLPMerger_test
{
using mpegcore::CommonPLPMerger;
using mpegcore::L1Current;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using zqtest::Bytes;

constexpr unsigned common_id = 9;

/// A group of PLP 9, the common one, with 1 and 2; PLP 5 is alone.
L1Current L1_of_group()
{
    L1Current L1;
    for (const auto& [PLP_ID, PLP_TYPE, group] : {std::tuple{9, 0, 7}, {1, 1, 7}, {2, 2, 7}, {5, 1, 8}}) {
        mpegcore::L1PostConfigurable::PLP plp;
        plp.PLP_ID = static_cast<std::uint8_t>(PLP_ID);
        plp.PLP_TYPE = static_cast<std::uint8_t>(PLP_TYPE);
        plp.PLP_GROUP_ID = static_cast<std::uint8_t>(group);
        L1.L1CONF.PLPs.push_back(plp);
    }
    return L1;
}

/// A merger, fed slot by slot.
class Merging : public testing::Test
{
protected:
    Merging() { merger.follow(L1_of_group()); }

    /// ISCR of a slot: 2750 periods a packet, from a start that soon wraps.
    static std::uint32_t ISCR(unsigned slot) { return (4'190'000 + 2750 * slot) % (1U << 22); }

    void put(unsigned plp_id, const Bytes& packet, std::optional<std::uint32_t> time = {}, bool gap = false)
    {
        Bytes ISSY;
        if (time)
            ISSY = {static_cast<unsigned char>(0x80 | *time >> 16), static_cast<unsigned char>(*time >> 8),
                    static_cast<unsigned char>(*time)};
        merger.put(static_cast<std::uint8_t>(plp_id),
                   {packet.data(), time ? ISSY.data() : nullptr, static_cast<std::uint8_t>(ISSY.size()), false}, gap);
    }
    void put_slot(unsigned plp_id, unsigned slot, const Bytes& packet) { put(plp_id, packet, ISCR(slot)); }

    std::vector<Bytes> of(unsigned plp_id) { return out[plp_id]; }

    const Bytes null = zqtest::null_transport_packet();
    std::map<unsigned, std::vector<Bytes>> out;
    unsigned gaps = 0;
    CommonPLPMerger merger{[this](std::uint8_t plp_id, const mpegcore::UserPacket& packet, bool is_behind_gap) {
        out[plp_id].emplace_back(packet.data, packet.data + 188);
        gaps += is_behind_gap ? 1 : 0;
    }};
};

TEST_F(Merging, IsOfTheGroupsThatHaveACommonPlp)
{
    EXPECT_TRUE(merger.is_common(9));
    EXPECT_TRUE(merger.is_data(1));
    EXPECT_TRUE(merger.is_data(2));
    EXPECT_FALSE(merger.is_data(5));
    EXPECT_FALSE(merger.is_common(1));
}

TEST_F(Merging, PutsACommonPacketInPlaceOfTheNullPacketWithItsIscr)
{
    for (unsigned slot = 0; slot < 20; ++slot) {
        const bool is_common = slot % 4 == 3;
        put_slot(common_id, slot, is_common ? zqtest::numbered_packet(900 + slot) : null);
        for (const unsigned plp_id : {1U, 2U})
            put_slot(plp_id, slot, is_common || slot % 4 == 2 ? null : zqtest::numbered_packet(100 * plp_id + slot));
    }
    merger.flush();
    for (const unsigned plp_id : {1U, 2U})
        for (unsigned slot = 0; slot < 20; ++slot)
            EXPECT_EQ(of(plp_id).at(slot), slot % 4 == 3   ? zqtest::numbered_packet(900 + slot)
                                           : slot % 4 == 2 ? null
                                                           : zqtest::numbered_packet(100 * plp_id + slot))
                << slot;
    EXPECT_EQ(merger.merged(), 10U);
    EXPECT_THAT(of(common_id), IsEmpty());
}

TEST_F(Merging, CountsPacketsBetweenIscrsThatComeOnceAFrame)
{
    // As in high efficiency mode: one in 25 packets of the data PLP, one in 10 of the common one, other ones at that.
    for (unsigned slot = 0; slot < 200; ++slot)
        put(1, slot % 7 == 0 ? null : zqtest::numbered_packet(slot),
            slot % 25 == 0 ? std::optional(ISCR(slot)) : std::nullopt);
    EXPECT_THAT(of(1), IsEmpty());
    for (unsigned slot = 0; slot < 200; ++slot)
        put(common_id, slot % 7 == 0 ? zqtest::numbered_packet(1000 + slot) : null,
            slot % 10 == 0 ? std::optional(ISCR(slot)) : std::nullopt);
    merger.flush();
    ASSERT_THAT(of(1), SizeIs(200));
    for (unsigned slot = 0; slot < 200; ++slot)
        EXPECT_EQ(of(1)[slot], zqtest::numbered_packet(slot % 7 == 0 ? 1000 + slot : slot)) << slot;
}

TEST_F(Merging, WaitsForACommonPlpThatComesLaterAndNoLongerThanThat)
{
    for (unsigned slot = 0; slot < 10; ++slot)
        put_slot(1, slot, slot == 5 ? null : zqtest::numbered_packet(slot));
    EXPECT_THAT(of(1), SizeIs(5));
    put_slot(common_id, 4, null);
    EXPECT_THAT(of(1), SizeIs(5));
    put_slot(common_id, 5, zqtest::numbered_packet(77));
    ASSERT_THAT(of(1), SizeIs(10));
    EXPECT_EQ(of(1)[5], zqtest::numbered_packet(77));
}

TEST_F(Merging, LeavesANullPacketOfWhichTheCommonPlpHasNothing)
{
    for (unsigned slot = 0; slot < 10; ++slot)
        put_slot(1, slot, slot == 5 ? null : zqtest::numbered_packet(slot));
    put_slot(common_id, 6, zqtest::numbered_packet(77));
    ASSERT_THAT(of(1), SizeIs(10));
    EXPECT_EQ(of(1)[5], null);
    EXPECT_EQ(merger.merged(), 0U);
}

TEST_F(Merging, GivesUpAfterASixthOfASecondWithoutTheCommonPlp)
{
    // 3 * 2^19 periods are 571 packets and a bit.
    for (unsigned slot = 0; slot < 580; ++slot)
        put_slot(1, slot, slot == 5 ? null : zqtest::numbered_packet(slot));
    EXPECT_THAT(of(1), SizeIs(580));
}

TEST_F(Merging, HoldsNoMoreThanItsLimit)
{
    for (unsigned slot = 0; slot < 3 * CommonPLPMerger::most_waiting; ++slot)
        put(1, null, slot == 0 ? std::optional(ISCR(0)) : std::nullopt); // from which no period can be told
    EXPECT_GE(of(1).size(), 2 * CommonPLPMerger::most_waiting);
    for (unsigned slot = 0; slot < 3 * CommonPLPMerger::most_common; ++slot)
        put_slot(common_id, slot, zqtest::numbered_packet(slot));
    merger.flush();
    EXPECT_THAT(of(1), SizeIs(3 * CommonPLPMerger::most_waiting));
}

TEST_F(Merging, LeavesPacketsWithoutALongIscrAsTheyAre)
{
    const Bytes short_ISSY{0x12, 0x34};
    for (unsigned slot = 0; slot < 10; ++slot) {
        put_slot(common_id, slot, zqtest::numbered_packet(slot));
        merger.put(1, {null.data(), short_ISSY.data(), 2, false}, false);
        put(2, null);
    }
    EXPECT_EQ(of(1), std::vector<Bytes>(10, null));
    EXPECT_EQ(of(2), std::vector<Bytes>(10, null));
}

TEST_F(Merging, TakesNoPlaceForKnownBehindAGap)
{
    for (unsigned slot = 0; slot < 3; ++slot) {
        put_slot(common_id, slot, null);
        put_slot(1, slot, zqtest::numbered_packet(slot));
    }
    put(common_id, zqtest::numbered_packet(50), {}, true);
    put(1, null, {}, true);
    EXPECT_EQ(of(1).back(), null);
    EXPECT_EQ(gaps, 1U);
    put_slot(common_id, 20, zqtest::numbered_packet(51));
    put_slot(1, 20, null);
    EXPECT_EQ(of(1).back(), zqtest::numbered_packet(51));
}

TEST_F(Merging, GoesOnBehindACommonPacketWhosePlaceIsNotThere)
{
    // Of 1525 slots ISCR comes round once: at slot 1445 what stood in 20 would lie 100 slots ahead.
    put_slot(common_id, 20, zqtest::numbered_packet(50));
    for (unsigned slot = 0; slot < 1445; ++slot)
        put_slot(1, slot, zqtest::numbered_packet(slot));
    put_slot(common_id, 1445, zqtest::numbered_packet(51));
    put_slot(1, 1445, null);
    ASSERT_THAT(of(1), SizeIs(1446));
    EXPECT_EQ(of(1).back(), zqtest::numbered_packet(51));
    EXPECT_EQ(merger.merged(), 1U);
}

TEST_F(Merging, NeverLosesOrTurnsRoundAPacketOfADataPlp)
{
    std::mt19937 random(21);
    for (unsigned round = 0; round < 30; ++round) {
        out.clear();
        std::vector<Bytes> sent;
        for (unsigned step = 0; step < 3000; ++step) {
            const bool is_data = random() % 2 == 0;
            const Bytes packet = random() % 3 == 0 ? null : zqtest::numbered_packet(step);
            const auto time = random() % 3 == 0 ? std::optional<std::uint32_t>(random() % (1U << 22)) : std::nullopt;
            put(is_data ? 1 : common_id, packet, time, random() % 50 == 0);
            if (is_data && packet != null)
                sent.push_back(packet);
        }
        merger.flush();
        EXPECT_TRUE(zqtest::is_subsequence(sent, of(1)));
    }
}
} // namespace CommonPLPMerger_test
