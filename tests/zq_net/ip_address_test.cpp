// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/ip_address.h"

#include <gtest/gtest.h>

#include <net/if.h>

namespace ip_address_test
{
using zq_net::find_interface;
using zq_net::ip_address;

TEST(IpAddress, IsReadFromNumbersOfBothFamilies)
{
    EXPECT_EQ(ip_address::read("192.0.2.1", 5000)->text(), "192.0.2.1:5000");
    EXPECT_EQ(ip_address::read("2001:db8::1", 5000)->text(), "[2001:db8::1]:5000");
}

TEST(IpAddress, IsNotReadFromNamesShortFormsAndOtherText)
{
    for (const char* text :
         {"", "localhost", "1", "239.1.1", "1.2.0x3.4", "256.1.1.1", "1.2.3.4.5", "::1::", "eth0", "1.2.3.4 "})
        EXPECT_FALSE(ip_address::read(text)) << text;
}

TEST(IpAddress, KnowsGroups)
{
    for (const char* text : {"224.0.0.0", "239.255.255.255", "ff02::1", "ff3e::8000:1"})
        EXPECT_TRUE(ip_address::read(text)->is_multicast()) << text;
    for (const char* text : {"223.255.255.255", "240.0.0.0", "::1", "0.0.0.0"})
        EXPECT_FALSE(ip_address::read(text)->is_multicast()) << text;
}

TEST(IpAddress, KnowsTheAddressesThatStandForAll)
{
    EXPECT_TRUE(ip_address::any(AF_INET, 1).is_any());
    EXPECT_TRUE(ip_address::read("::")->is_any());
    EXPECT_FALSE(ip_address::read("127.0.0.1")->is_any());
}

TEST(IpAddress, ComparesHostsWithoutPorts)
{
    EXPECT_TRUE(ip_address::read("127.0.0.1", 1)->same_host(*ip_address::read("127.0.0.1", 2)));
    EXPECT_FALSE(ip_address::read("127.0.0.1")->same_host(*ip_address::read("127.0.0.2")));
    EXPECT_FALSE(ip_address::read("0.0.0.0")->same_host(*ip_address::read("::")));
}

TEST(IpAddress, ComparesTheLinksOfHostsWhereBothAreGiven)
{
    auto first = *ip_address::read("fe80::1"), second = first;
    first.set_scope(1);
    EXPECT_EQ(first.scope(), 1U);
    EXPECT_TRUE(first.same_host(second));
    second.set_scope(2);
    EXPECT_FALSE(first.same_host(second));
}

TEST(FindInterface, FindsTheLoopbackByItsNameAndByItsAddress)
{
    const unsigned loopback = ::if_nametoindex("lo");
    ASSERT_NE(loopback, 0U);
    const auto by_name = find_interface("lo", AF_INET);
    ASSERT_TRUE(by_name && by_name->address);
    EXPECT_EQ(by_name->index, loopback);
    EXPECT_EQ(by_name->address->text(), "127.0.0.1:0");
    EXPECT_EQ(find_interface("127.0.0.1", AF_INET)->index, loopback);
    EXPECT_EQ(zq_net::interface_towards(*ip_address::read("127.0.0.1", 1))->index, loopback);
}

TEST(FindInterface, FindsNoneOfAnUnknownNameOrAddress)
{
    EXPECT_FALSE(find_interface("eth77", AF_INET));
    EXPECT_FALSE(find_interface("192.0.2.1", AF_INET));
}
} // namespace ip_address_test
