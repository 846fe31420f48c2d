// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/rtp_packet.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace rtp_packet_test
{
using zq_net::read_rtp;

using bytes = std::vector<unsigned char>;

/// Version 2, no padding, no extension, no CSRC; marker, payload type 33; then number, time, SSRC and two bytes.
const bytes plain{0x80, 0xA1, 0x12, 0x34, 0x00, 0x00, 0x00, 0x01, 0xDE, 0xAD, 0xBE, 0xEF, 0x47, 0x11};

auto read(const bytes& datagram) { return read_rtp(datagram.data(), datagram.size()); }

TEST(RtpPacket, HasTheFieldsOfItsHeader)
{
    const auto packet = read(plain);
    ASSERT_TRUE(packet);
    EXPECT_TRUE(packet->marker);
    EXPECT_EQ(packet->payload_type, 33);
    EXPECT_EQ(packet->sequence_number, 0x1234);
    EXPECT_EQ(packet->timestamp, 1U);
    EXPECT_EQ(packet->SSRC, 0xDEADBEEFU);
    EXPECT_EQ(packet->payload, plain.data() + 12);
    EXPECT_EQ(packet->payload_size, 2U);
}

TEST(RtpPacket, SkipsContributingSources)
{
    bytes datagram = plain;
    datagram[0] = 0x82;
    datagram.insert(datagram.begin() + 12, 8, 0xCC);
    const auto packet = read(datagram);
    ASSERT_TRUE(packet);
    EXPECT_EQ(packet->payload, datagram.data() + 20);
    EXPECT_EQ(packet->payload_size, 2U);
}

TEST(RtpPacket, SkipsAHeaderExtension)
{
    bytes datagram = plain;
    datagram[0] = 0x90;
    const bytes extension{0xBE, 0xDE, 0x00, 0x01, 1, 2, 3, 4};
    datagram.insert(datagram.begin() + 12, extension.begin(), extension.end());
    const auto packet = read(datagram);
    ASSERT_TRUE(packet);
    EXPECT_EQ(packet->payload, datagram.data() + 20);
    EXPECT_EQ(packet->payload_size, 2U);
}

TEST(RtpPacket, LeavesPaddingOut)
{
    bytes datagram = plain;
    datagram[0] = 0xA0;
    datagram.insert(datagram.end(), {0x00, 0x00, 0x03});
    const auto packet = read(datagram);
    ASSERT_TRUE(packet);
    EXPECT_EQ(packet->payload_size, 2U);
}

TEST(RtpPacket, MayBeEmpty)
{
    const auto packet = read(bytes(plain.begin(), plain.begin() + 12));
    ASSERT_TRUE(packet);
    EXPECT_EQ(packet->payload_size, 0U);
}

TEST(RtpPacket, IsNoneWhenPaddingIsLongerThanThePayload)
{
    bytes datagram = plain;
    datagram[0] = 0xA0;
    datagram.back() = 3;
    EXPECT_FALSE(read(datagram));
    datagram.back() = 2;
    EXPECT_EQ(read(datagram)->payload_size, 0U);
}

TEST(RtpPacket, IsNoneWhenPaddingIsZeroBytesLongOrHasNoPlace)
{
    bytes datagram = plain;
    datagram[0] = 0xA0;
    datagram.back() = 0;
    EXPECT_FALSE(read(datagram));
    EXPECT_FALSE(read(bytes(datagram.begin(), datagram.begin() + 12)));
}

TEST(RtpPacket, IsNoneOfAnotherVersion)
{
    for (const unsigned version : {0U, 1U, 3U}) {
        bytes datagram = plain;
        datagram[0] = static_cast<unsigned char>(version << 6);
        EXPECT_FALSE(read(datagram)) << version;
    }
}

TEST(RtpPacket, IsNoneWhenItIsRtcpOnTheSamePort)
{
    for (const unsigned type : {192U, 200U, 204U, 223U}) {
        bytes datagram = plain;
        datagram[1] = static_cast<unsigned char>(type);
        EXPECT_FALSE(read(datagram)) << type;
    }
}

TEST(RtpPacket, IsNoneCutAnywhereInItsHeader)
{
    bytes datagram = plain;
    datagram[0] = 0x91; // one contributing source, an extension of two words
    const bytes more{1, 2, 3, 4, 0, 0, 0, 2, 1, 2, 3, 4, 5, 6, 7, 8};
    datagram.insert(datagram.begin() + 12, more.begin(), more.end());
    for (std::size_t size = 0; size < 28; ++size) {
        const bytes cut(datagram.begin(), datagram.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_FALSE(read(cut)) << size;
    }
    EXPECT_EQ(read(datagram)->payload_size, 2U);
}

TEST(RtpPacket, NeverReachesBeyondItsDatagram)
{
    std::mt19937 random{7};
    for (int round = 0; round < 20000; ++round) {
        bytes datagram(random() % 80);
        for (auto& byte : datagram)
            byte = static_cast<unsigned char>(random());
        if (!datagram.empty())
            datagram[0] = static_cast<unsigned char>(0x80 | (datagram[0] & 0x3F));
        if (const auto packet = read(datagram)) {
            ASSERT_GE(packet->payload, datagram.data() + 12);
            ASSERT_LE(packet->payload + packet->payload_size, datagram.data() + datagram.size());
        }
    }
}
} // namespace rtp_packet_test
