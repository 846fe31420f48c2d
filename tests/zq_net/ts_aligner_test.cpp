// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/ts_aligner.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>
#include <vector>

namespace ts_aligner_test
{
using zq_net::ts_aligner;
using verdict = ts_aligner::verdict;

using bytes = std::vector<unsigned char>;

/// Packets whose bytes behind the sync byte never are one.
bytes packets(std::size_t count, unsigned seed = 0)
{
    bytes all(count * 188);
    for (std::size_t i = 0; i < all.size(); ++i) {
        const auto value = static_cast<unsigned char>(i * 7 + i / 188 * 5 + seed * 31);
        all[i] = i % 188 == 0 ? 0x47 : value == 0x47 ? 0x48 : value;
    }
    return all;
}

struct stand
{
    verdict put(const bytes& datagram, bool gap = false)
    {
        sent.push_back(datagram);
        return aligner.put({sent.back().data(), sent.back().size(), 0, gap}, list);
    }
    bytes out() const
    {
        bytes all;
        for (const auto& piece : list)
            all.insert(all.end(), piece.data, piece.data + piece.size);
        return all;
    }

    ts_aligner aligner;
    zq_net::piece_list list;
    std::deque<bytes> sent;
};

bytes part(const bytes& all, std::size_t from, std::size_t to)
{
    return {all.begin() + static_cast<std::ptrdiff_t>(from), all.begin() + static_cast<std::ptrdiff_t>(to)};
}

TEST(TsAligner, PassesWholePacketsUncopied)
{
    stand to;
    EXPECT_EQ(to.put(packets(7)), verdict::taken);
    ASSERT_EQ(to.list.size(), 1U);
    EXPECT_EQ(to.list[0].data, to.sent[0].data());
    EXPECT_EQ(to.list[0].size, 1316U);
}

TEST(TsAligner, JoinsPacketsThatAreCutAnywhere)
{
    const bytes all = packets(12);
    for (std::size_t cut = 1; cut < 188; ++cut) {
        stand to;
        to.put(part(all, 0, 188 * 5 + cut));
        to.put(part(all, 188 * 5 + cut, all.size()));
        EXPECT_EQ(to.out(), all) << cut;
        EXPECT_EQ(to.aligner.dropped_bytes(), 0U);
    }
}

TEST(TsAligner, JoinsPacketsOutOfDatagramsOfAnySize)
{
    std::mt19937 random{5};
    const bytes all = packets(2000);
    stand to;
    for (std::size_t at = 0; at < all.size();) {
        const std::size_t size = std::min<std::size_t>(all.size() - at, 1 + random() % 1500);
        EXPECT_EQ(to.put(part(all, at, at + size)), verdict::taken);
        at += size;
    }
    EXPECT_EQ(to.out(), all);
}

TEST(TsAligner, FindsPacketsBehindOtherBytes)
{
    bytes datagram(50, 0x11);
    const bytes all = packets(3);
    datagram.insert(datagram.end(), all.begin(), all.end());
    stand to;
    EXPECT_EQ(to.put(datagram), verdict::taken);
    EXPECT_EQ(to.out(), all);
    EXPECT_EQ(to.aligner.dropped_bytes(), 50U);
}

TEST(TsAligner, MarksTheGapWhereItPassedOverBytes)
{
    bytes datagram(50, 0x11);
    const bytes all = packets(3);
    datagram.insert(datagram.end(), all.begin(), all.end());
    stand to;
    to.put(all);
    to.put(datagram);
    ASSERT_EQ(to.list.size(), 2U);
    EXPECT_TRUE(to.list[1].gap);
}

TEST(TsAligner, MarksNoGapWhereEachDatagramHasTheSameHeader)
{
    bytes datagram(12, 0x11);
    const bytes all = packets(3);
    datagram.insert(datagram.end(), all.begin(), all.end());
    stand to;
    for (int i = 0; i < 3; ++i)
        to.put(datagram);
    ASSERT_EQ(to.list.size(), 3U);
    EXPECT_TRUE(to.list[0].gap);
    EXPECT_FALSE(to.list[1].gap);
    EXPECT_FALSE(to.list[2].gap);
    EXPECT_EQ(to.aligner.dropped_bytes(), 36U);
}

TEST(TsAligner, RefusesADatagramWithoutPackets)
{
    stand to;
    EXPECT_EQ(to.put(bytes(1316, 0x11)), verdict::not_ts);
    EXPECT_EQ(to.put({}), verdict::not_ts);
    EXPECT_TRUE(to.list.empty());
}

TEST(TsAligner, RefusesADatagramWithOneBadSyncByte)
{
    bytes datagram = packets(7);
    datagram[188 * 3] = 0x46;
    stand to;
    EXPECT_EQ(to.put(datagram), verdict::not_ts);
}

TEST(TsAligner, GoesOnWithABegunPacketBehindAForeignDatagram)
{
    const bytes all = packets(4);
    stand to;
    to.put(part(all, 0, 300));
    EXPECT_EQ(to.put(bytes(500, 0x11)), verdict::not_ts);
    EXPECT_EQ(to.put({}), verdict::not_ts);
    to.put(part(all, 300, all.size()));
    EXPECT_EQ(to.out(), all);
}

TEST(TsAligner, DropsABegunPacketWhoseEndDoesNotCome)
{
    const bytes all = packets(4);
    stand to;
    to.put(part(all, 0, 200));
    to.put(all);
    ASSERT_EQ(to.list.size(), 2U);
    EXPECT_EQ(to.list[0].size, 188U);
    EXPECT_EQ(to.list[1].size, 4 * 188U);
    EXPECT_TRUE(to.list[1].gap);
    EXPECT_EQ(to.aligner.dropped_bytes(), 12U);
}

TEST(TsAligner, DropsABegunPacketInFrontOfAGap)
{
    const bytes all = packets(3);
    stand to;
    to.put(part(all, 0, 200));
    to.put(part(all, 200, 200 + 176), true); // would fit
    EXPECT_EQ(to.list.size(), 1U);
    EXPECT_EQ(to.aligner.dropped_bytes(), 12U);
    to.put(all);
    EXPECT_TRUE(to.list[1].gap);
}

TEST(TsAligner, TakesADatagramOfOneSyncByteForTheBeginningOfAPacket)
{
    const bytes all = packets(1);
    stand to;
    EXPECT_EQ(to.put({0x47}), verdict::taken);
    EXPECT_EQ(to.put(part(all, 1, 188)), verdict::taken);
    EXPECT_EQ(to.out(), all);
}

TEST(TsAligner, RefusesADatagramOfOneOtherByte)
{
    stand to;
    EXPECT_EQ(to.put({0x48}), verdict::not_ts);
}

TEST(TsAligner, GivesWholePacketsOnlyWhateverComes)
{
    std::mt19937 random{9};
    stand to;
    for (int round = 0; round < 3000; ++round) {
        bytes datagram(random() % 600);
        for (auto& byte : datagram)
            byte = random() % 3 == 0 ? 0x47 : static_cast<unsigned char>(random());
        to.put(datagram, random() % 50 == 0);
    }
    EXPECT_FALSE(to.list.empty());
    for (const auto& piece : to.list) {
        ASSERT_EQ(piece.size % 188, 0U);
        ASSERT_TRUE(zq_net::has_sync_from(piece.data, piece.size));
    }
}
} // namespace ts_aligner_test
