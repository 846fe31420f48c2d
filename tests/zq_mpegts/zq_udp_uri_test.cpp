// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_mpegts/zq_udp_uri.h"

#include <gtest/gtest.h>

namespace zq_udp_uri_test
{
zq_udp_uri read(const std::string& text)
{
    std::string error;
    const auto uri = zq_udp_uri::read(text, error);
    EXPECT_TRUE(uri) << error;
    return uri.value_or(zq_udp_uri{});
}

std::string error_of(const std::string& text)
{
    std::string error;
    EXPECT_FALSE(zq_udp_uri::read(text, error));
    return error;
}

TEST(UdpUri, HasSourceAddressPortAndParameters)
{
    const auto uri = read("udp://192.0.2.7@232.1.1.1:5000?interface=eth0&rtp=on");
    EXPECT_FALSE(uri.rtp);
    EXPECT_EQ(uri.source, "192.0.2.7");
    EXPECT_EQ(uri.address, "232.1.1.1");
    EXPECT_EQ(uri.port, 5000);
    EXPECT_EQ(uri.parameters.at("interface"), "eth0");
    EXPECT_EQ(uri.parameters.at("rtp"), "on");
    EXPECT_EQ(uri.text(), "udp://192.0.2.7@232.1.1.1:5000");
}

TEST(UdpUri, MayLeaveOutThePortAndTheSourceBeforeTheSign)
{
    EXPECT_EQ(read("rtp://239.1.1.1").text(), "rtp://239.1.1.1:5004");
    EXPECT_EQ(read("udp://@239.1.1.1:1").text(), "udp://239.1.1.1:1");
}

TEST(UdpUri, HasIPv6InBrackets)
{
    const auto uri = read("udp://[ff3e::1]:5000");
    EXPECT_EQ(uri.address, "ff3e::1");
    EXPECT_EQ(uri.text(), "udp://[ff3e::1]:5000");
}

TEST(UdpUri, HasTheInterfaceOfAnIPv6AddressBehindAnEscapedSign)
{
    const auto uri = read("udp://[ff02::1%25lo]:5000");
    EXPECT_EQ(uri.address, "ff02::1%lo");
    EXPECT_EQ(uri.text(), "udp://[ff02::1%25lo]:5000");
}

TEST(UdpUri, MayLeaveOutTheAddress)
{
    for (const std::string text : {"udp://", "udp://:5004", "udp://?rtp=on"})
        EXPECT_EQ(read(text).text(), "udp://:5004");
}

TEST(UdpUri, IsRefusedWhereItsAddressCannotBeRead)
{
    for (const std::string text :
         {"udp://[ff02::1%lo]:5000", "udp://[]:5000", "udp:239.1.1.1:5000", "udp:///239.1.1.1"})
        EXPECT_EQ(error_of(text), '"' + text + "\" has no address that can be read; % is written %25");
}

TEST(UdpUri, IsRefusedWithTheReason)
{
    EXPECT_EQ(error_of("http://192.0.2.1:1"), "\"http://192.0.2.1:1\" begins with neither udp:// nor rtp://");
    EXPECT_EQ(error_of("udp://example.org:1"), "\"example.org\" is no IPv4 or IPv6 address");
    EXPECT_EQ(error_of("udp://nobody@239.1.1.1:1"), "\"nobody\" is no IPv4 or IPv6 address");
}
} // namespace zq_udp_uri_test
