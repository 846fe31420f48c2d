// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/monitor/T2MIFrameCheck.h"

#include "mpegcore/monitor/StreamMonitor.h"
#include "support/T2MIFeed.h"

#include <gmock/gmock.h>

namespace T2MIFrameCheck_test
{
using mpegcore::Check;
using mpegcore::L1Current;
using zqtest::Bytes;

constexpr std::uint16_t PID = 0x100;

/// A sender of T2 frames, two in a super-frame, with the PLPs 7 and 8.
class T2Frames : public testing::Test
{
protected:
    T2Frames()
    {
        for (const std::uint8_t plp_id : {std::uint8_t{7}, std::uint8_t{8}}) {
            mpegcore::L1PostConfigurable::PLP PLP;
            PLP.PLP_ID = plp_id;
            PLP.FRAME_INTERVAL = 1;
            PLP.TIME_IL_LENGTH = 3; // blocks, with TIME_IL_TYPE 0
            L1.L1CONF.PLPs.push_back(PLP);
            L1.L1DYN_CURR.PLPs.emplace_back();
        }
        announce(3, 1);
    }

    void announce(std::uint16_t blocks_of_7, std::uint16_t blocks_of_8)
    {
        L1.L1DYN_CURR.PLPs[0].PLP_NUM_BLOCKS = blocks_of_7;
        L1.L1DYN_CURR.PLPs[1].PLP_NUM_BLOCKS = blocks_of_8;
    }
    void frames(std::uint8_t plp_id, unsigned count, unsigned T2_frame, bool starts = true)
    {
        for (unsigned at = 0; at < count; ++at)
            check.put_frame(place(T2_frame), plp_id, starts && at == 0, 1);
    }
    void signal(unsigned T2_frame)
    {
        L1.frame_idx = place(T2_frame).frame_idx;
        check.put_L1(place(T2_frame).superframe_idx, L1, 1);
    }
    void whole(unsigned T2_frame)
    {
        frames(7, 3, T2_frame);
        frames(8, 1, T2_frame);
        signal(T2_frame);
    }
    static mpegcore::T2MIFrameCheck::Place place(unsigned T2_frame)
    {
        return {static_cast<std::uint8_t>(T2_frame / 2 % 16), static_cast<std::uint8_t>(T2_frame % 2)};
    }
    std::string found() const
    {
        const auto& blocks = checks[Check::T2MI_plp_num_blocks_error];
        const auto& order = checks[Check::T2MI_transmission_order_error];
        return std::to_string(blocks.count) + ' ' + blocks.detail() + '/' + std::to_string(order.count) + ' ' +
               order.detail();
    }

    mpegcore::TR101290 checks;
    mpegcore::T2MIFrameCheck check{PID, checks};
    L1Current L1;
};

TEST_F(T2Frames, WithAsManyBlocksAsL1SaysAreGood)
{
    for (unsigned T2_frame = 0; T2_frame < 40; ++T2_frame) // over the range of superframe_idx
        whole(T2_frame);
    EXPECT_EQ(found(), "0 /0 ");
}

TEST_F(T2Frames, WithABlockTooFewOrTooManyAreErrors)
{
    frames(7, 2, 0);
    frames(8, 1, 0);
    signal(0);
    EXPECT_EQ(found(), "1 PLP 7: 2 baseband frames for a PLP_NUM_BLOCKS of 3/0 ");
    frames(7, 3, 1);
    frames(8, 2, 1);
    signal(1);
    EXPECT_EQ(found(), "2 PLP 8: 2 baseband frames for a PLP_NUM_BLOCKS of 1/0 ");
    EXPECT_EQ(checks[Check::T2MI_plp_num_blocks_error].PID, PID);
}

TEST_F(T2Frames, WithoutAnyBlockOfAPLPAreErrorsIfL1AnnouncesSome)
{
    whole(0);
    whole(1);
    announce(3, 0);
    frames(7, 3, 2);
    signal(2);
    EXPECT_EQ(found(), "0 /0 ");
    announce(3, 1);
    frames(7, 3, 3);
    signal(3);
    EXPECT_EQ(found(), "1 PLP 8: 0 baseband frames for a PLP_NUM_BLOCKS of 1/0 ");
}

TEST_F(T2Frames, MayBeginInOnePLPBeforeTheyEndInAnother)
{
    for (unsigned T2_frame = 0; T2_frame < 10; ++T2_frame) {
        frames(7, 3, T2_frame);
        if (T2_frame == 0)
            frames(8, 1, 0);
        frames(8, 1, T2_frame + 1);
        signal(T2_frame);
    }
    EXPECT_EQ(found(), "0 /0 ");
}

TEST_F(T2Frames, AreNotCountedWhereTheBeginningIsMissing)
{
    frames(7, 2, 0, false);
    signal(0);
    whole(1);
    check.forget();
    frames(7, 1, 2, false);
    signal(2);
    signal(3);
    EXPECT_EQ(found(), "0 /0 ");
}

TEST_F(T2Frames, AreNotCountedWhereSeveralAreInterleaved)
{
    L1.L1CONF.PLPs[0].TIME_IL_TYPE = 1;
    L1.L1CONF.PLPs[1].FRAME_INTERVAL = 2;
    for (unsigned T2_frame = 0; T2_frame < 8; ++T2_frame) {
        if (T2_frame % 2 == 0)
            frames(8, 1, T2_frame);
        signal(T2_frame);
    }
    EXPECT_EQ(found(), "0 /0 ");
    L1.L1CONF.PLPs[1].FRAME_INTERVAL = 0; // which has no meaning
    signal(8);
    EXPECT_EQ(found(), "0 /0 ");
}

TEST_F(T2Frames, AreOutOfOrderWhenABlockComesBehindTheirL1)
{
    whole(0);
    frames(7, 1, 0);
    EXPECT_EQ(found(), "0 /1 PLP 7: baseband frame behind the L1 of its T2 frame");
    frames(9, 1, 0); // L1 does not list it
    whole(1);
    EXPECT_EQ(checks[Check::T2MI_transmission_order_error].count, 1U);
    EXPECT_EQ(checks[Check::T2MI_plp_num_blocks_error].count, 0U);
}

TEST_F(T2Frames, AreOutOfOrderWhenL1GoesBack)
{
    whole(1);
    whole(0);
    EXPECT_EQ(found(), "0 /1 L1 went back to frame_idx 0");
    whole(2); // the next super-frame
    EXPECT_EQ(checks[Check::T2MI_transmission_order_error].count, 1U);
}

TEST_F(T2Frames, MayBeginAnewBehindTheLastOneWhereSuperframeIdxStandsStill)
{
    L1.L1PRE.NUM_T2_FRAMES = 3;
    const auto whole_at = [this](std::uint8_t frame_idx) {
        for (unsigned at = 0; at < 3; ++at)
            check.put_frame({5, frame_idx}, 7, at == 0, 1);
        check.put_frame({5, frame_idx}, 8, true, 1);
        L1.frame_idx = frame_idx;
        check.put_L1(5, L1, 1);
    };
    for (unsigned superframe = 0; superframe < 3; ++superframe)
        for (const std::uint8_t frame_idx : {std::uint8_t{0}, std::uint8_t{1}, std::uint8_t{2}})
            whole_at(frame_idx);
    EXPECT_EQ(found(), "0 /0 ");
    whole_at(0);
    whole_at(1);
    whole_at(0); // not from the last one
    EXPECT_EQ(found(), "0 /1 L1 went back to frame_idx 0");
    whole_at(2);
    whole_at(1); // not to the first one
    EXPECT_EQ(found(), "0 /2 L1 went back to frame_idx 1");
}

Bytes in_superframe(unsigned superframe_idx, Bytes packet)
{
    packet.resize(packet.size() - 4);
    packet[2] = static_cast<unsigned char>(superframe_idx << 4);
    return zqtest::with_crc(packet);
}

TEST(T2MIFrames, AreCheckedInAStreamThatCarriesThem)
{
    L1Current L1;
    ASSERT_TRUE(L1.read(zqtest::L1_on_air.data(), zqtest::L1_on_air.size()));
    const auto plp_id = L1.L1CONF.PLPs.at(0).PLP_ID;
    auto& blocks = L1.L1DYN_CURR.PLPs.at(0).PLP_NUM_BLOCKS;
    zqtest::Feed feed({plp_id});
    std::vector<Bytes> packets;
    for (unsigned superframe_idx = 0; superframe_idx < 3; ++superframe_idx) {
        feed.packets.clear();
        feed.add(2, 900);
        blocks = superframe_idx < 2 ? 2 : 3;
        feed.packets.push_back(feed.sender.packet(0x10, L1.payload()));
        for (const Bytes& packet : feed.packets)
            packets.push_back(in_superframe(superframe_idx, packet));
    }
    mpegcore::StreamMonitor monitor;
    const auto stream = zqtest::tables({{0x06, zqtest::T2MI_PID, zqtest::T2MI_descriptor()}});
    monitor.put(stream.data(), stream.size() / 188, 1);
    const auto carried = zqtest::packed(packets);
    monitor.put(carried.data(), carried.size() / 188, 2);
    EXPECT_EQ(monitor.checks()[Check::T2MI_plp_num_blocks_error].count, 1U);
    EXPECT_EQ(monitor.checks()[Check::T2MI_transmission_order_error].count, 0U);
}
} // namespace T2MIFrameCheck_test
