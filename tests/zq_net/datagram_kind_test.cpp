// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/datagram_kind.h"

#include "support/RTP.h"
#include "support/udp_sender.h"

#include <gtest/gtest.h>

namespace datagram_kind_test
{
using support::pattern;
using support::rtp_datagram;
using zq_net::datagram_kind;
using zq_net::rtp_mode;

bool is_rtp(datagram_kind& kind, const std::vector<unsigned char>& datagram)
{
    return kind.look(datagram.data(), datagram.size()).has_value();
}

TEST(DatagramKind, TellsRtpFromBarePacketsByItself)
{
    datagram_kind kind{rtp_mode::automatic};
    EXPECT_FALSE(is_rtp(kind, pattern(1316)));
    EXPECT_TRUE(is_rtp(kind, rtp_datagram(1, pattern(1316))));
    EXPECT_FALSE(is_rtp(kind, pattern(188)));
}

TEST(DatagramKind, IsNotMisledByAnSsrcOfSyncBytes)
{
    datagram_kind kind{rtp_mode::automatic};
    const auto datagram = rtp_datagram(0x4747, pattern(1316), 0x47474747, 0x47474747);
    const auto packet = kind.look(datagram.data(), datagram.size());
    ASSERT_TRUE(packet);
    EXPECT_EQ(packet->SSRC, 0x47474747U);
    EXPECT_EQ(packet->payload_size, 1316U);
}

TEST(DatagramKind, TakesAPieceOfAStreamThatLooksLikeAHeaderForWhatCameBefore)
{
    auto piece = std::vector<unsigned char>(600, 0x11);
    piece[0] = 0x80;
    piece[1] = 33;
    datagram_kind kind{rtp_mode::automatic};
    EXPECT_FALSE(is_rtp(kind, pattern(300)));
    EXPECT_FALSE(is_rtp(kind, piece));
    EXPECT_TRUE(is_rtp(kind, rtp_datagram(1, pattern(1316))));
    EXPECT_TRUE(is_rtp(kind, piece)) << "of a sender that cuts packets anywhere";
}

TEST(DatagramKind, TakesTheEndOfABegunPacketForOneEvenIfItLooksLikeAHeader)
{
    // Thirteen contributing sources make a header of 64 bytes, and 64 bytes are awaited.
    auto piece = std::vector<unsigned char>(64, 0x11);
    piece[0] = 0x8D;
    const auto packets = pattern(752);
    piece.insert(piece.end(), packets.begin(), packets.end());
    EXPECT_TRUE(datagram_kind{rtp_mode::automatic}.look(piece.data(), piece.size()));
    EXPECT_FALSE(datagram_kind{rtp_mode::automatic}.look(piece.data(), piece.size(), 64));
}

TEST(DatagramKind, TakesNothingForRtpWhenThatIsOff)
{
    datagram_kind kind{rtp_mode::off};
    EXPECT_FALSE(is_rtp(kind, rtp_datagram(1, pattern(1316))));
}

TEST(DatagramKind, TakesAnyValidHeaderWhenRtpIsOn)
{
    datagram_kind kind{rtp_mode::on};
    EXPECT_TRUE(kind.demands_rtp());
    EXPECT_TRUE(is_rtp(kind, rtp_datagram(1, std::vector<unsigned char>(5))));
    EXPECT_FALSE(is_rtp(kind, pattern(1316)));
}

TEST(DatagramKind, TakesOtherVersionsForPiecesOfAStream)
{
    datagram_kind kind{rtp_mode::automatic};
    for (const unsigned version : {0U, 1U, 3U}) {
        auto datagram = rtp_datagram(1, pattern(1316));
        datagram[0] = static_cast<unsigned char>(version << 6);
        EXPECT_FALSE(is_rtp(kind, datagram));
    }
}
} // namespace datagram_kind_test
