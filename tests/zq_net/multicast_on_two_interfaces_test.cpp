// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/made_interface.h"
#include "support/udp_sender.h"
#include "support/watchdog.h"
#include "zq_net/transport_input.h"
#include "zq_net/udp_socket.h"

#include <gtest/gtest.h>

#include <sys/socket.h>

#include <string>
#include <vector>

namespace multicast_on_two_interfaces_test
{
using support::pattern;
using numbers = std::vector<std::size_t>;

zq_net::udp_settings settings_for(const std::string& group, std::uint16_t port, const std::string& interface)
{
    zq_net::udp_settings settings;
    settings.address = group;
    settings.port = port;
    settings.interface = interface;
    return settings;
}

struct opened : zq_net::udp_socket
{
    explicit opened(const zq_net::udp_settings& settings)
    {
        std::string error;
        EXPECT_TRUE(open(settings, error)) << error;
    }
    /// All that comes up to the datagram `last`; each has as many packets as its number.
    numbers received_until(std::size_t last) const
    {
        numbers all;
        do {
            std::vector<unsigned char> datagram(7 * 188);
            all.push_back(static_cast<std::size_t>(::recv(descriptor(), datagram.data(), datagram.size(), 0)) / 188);
        } while (all.back() != last);
        return all;
    }
};

/// One IPv4 group, and IPv6 ones of global and of link-local scope.
class MulticastOnTwoInterfaces : public testing::TestWithParam<const char*>
{
protected:
    void SetUp() override
    {
        if (!first.has_ipv6() || !second.has_ipv6())
            GTEST_SKIP() << "needs a network of its own with IPv6, and the program ip";
    }
    void send(const support::made_interface& on, std::size_t number) const
    {
        support::send_to_group(on.name(), GetParam(), port, pattern(188 * number));
    }
    [[nodiscard]] zq_net::udp_settings settings_on(const support::made_interface& interface) const
    {
        return settings_for(GetParam(), port, interface.name());
    }

    support::watchdog guard;
    support::made_interface first{"zq0", 0}, second{"zq1", 1};
    std::uint16_t port = support::free_port();
};

TEST_P(MulticastOnTwoInterfaces, IsReceivedByEachSocketFromItsOwnOnly)
{
    const opened on_first{settings_on(first)}, on_second{settings_on(second)};
    send(first, 1);
    send(second, 2);
    send(first, 3);
    send(second, 4);
    EXPECT_EQ(on_first.received_until(3), (numbers{1, 3}));
    EXPECT_EQ(on_second.received_until(4), (numbers{2, 4}));
}

TEST_P(MulticastOnTwoInterfaces, IsSharedByTheSocketsOfOneInterface)
{
    const opened one{settings_on(first)}, other{settings_on(first)};
    send(first, 1);
    EXPECT_EQ(one.received_until(1), numbers{1});
    EXPECT_EQ(other.received_until(1), numbers{1});
}

TEST_P(MulticastOnTwoInterfaces, IsReceivedOnTheOneThatAnAddressNames)
{
    const bool is_ipv6 = std::string{GetParam()}.find(':') != std::string::npos;
    const opened on_second{settings_for(GetParam(), port, is_ipv6 ? second.ipv6() : second.ipv4())};
    send(first, 1);
    send(second, 2);
    EXPECT_EQ(on_second.received_until(2), numbers{2});
}

TEST_P(MulticastOnTwoInterfaces, IsCountedOnTheLegOnWhichItCame)
{
    zq_net::transport_input input;
    ASSERT_TRUE(input.open({{settings_on(first), settings_on(second)}, {}, true, 0, 0})) << input.error();
    const auto leg = [&](std::size_t index) { return input.figures().legs[index].datagrams; };
    std::vector<unsigned char> memory(8 * 1316);
    for (std::size_t i = 1; i <= 3; ++i)
        send(first, i);
    while (leg(0) < 3)
        (void)input.receive(memory.data(), 8, 1316);
    EXPECT_EQ(leg(1), 0U);
    send(second, 4);
    while (leg(1) < 1)
        (void)input.receive(memory.data(), 8, 1316);
    EXPECT_EQ(leg(0), 3U);
}

INSTANTIATE_TEST_SUITE_P(OfAGroup, MulticastOnTwoInterfaces, testing::Values("239.9.9.9", "ff0e::9:9", "ff02::9:9"),
                         [](const auto& given) {
                             const std::string group = given.param;
                             return group[0] == '2' ? "Ipv4" : group[3] == 'e' ? "Global" : "LinkLocal";
                         });

TEST(InterfaceOfALinkLocalAddress, IsTheOneOnThatLinkThoughAnotherHasTheSameAddress)
{
    const support::made_interface first{"zq0", 0}, second{"zq1", 1};
    if (!first.has_ipv6() || !second.has_ipv6())
        GTEST_SKIP() << "needs a network of its own with IPv6, and the program ip";
    for (const auto* interface : {&first, &second}) {
        const auto found = zq_net::find_interface("fe80::5%" + interface->name(), AF_INET6);
        ASSERT_TRUE(found);
        EXPECT_EQ(found->index, interface->index());
    }
}

class SourceSpecificIpv6 : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!interface.has_ipv6() || !interface.add_ipv6(other_source))
            GTEST_SKIP() << "needs a network of its own with IPv6, and the program ip";
    }
    void send(std::size_t number, const std::string& from) const
    {
        support::send_to_group(interface.name(), group, port, pattern(188 * number), from);
    }
    [[nodiscard]] opened receiving(std::vector<std::string> sources) const
    {
        auto settings = settings_for(group, port, interface.name());
        settings.sources = std::move(sources);
        return opened{settings};
    }

    support::watchdog guard;
    support::made_interface interface;
    const std::string group = "ff3e::8000:9", other_source = "2001:db8::6";
    std::uint16_t port = support::free_port();
};

TEST_F(SourceSpecificIpv6, TakesOfAGroupOnlyWhatItsSourceSends)
{
    const opened socket = receiving({other_source});
    send(1, interface.ipv6());
    send(2, other_source);
    EXPECT_EQ(socket.received_until(2), numbers{2});
}

TEST_F(SourceSpecificIpv6, TakesOfAGroupWhatAnyOfItsSourcesSends)
{
    const opened socket = receiving({interface.ipv6(), other_source});
    send(1, interface.ipv6());
    send(2, other_source);
    EXPECT_EQ(socket.received_until(2), (numbers{1, 2}));
}

TEST_F(SourceSpecificIpv6, ServesEachSocketItsOwnSource)
{
    const opened first = receiving({interface.ipv6()}), second = receiving({other_source});
    for (std::size_t number = 1; number <= 4; ++number)
        send(number, number % 2 == 1 ? interface.ipv6() : other_source);
    EXPECT_EQ(first.received_until(3), (numbers{1, 3}));
    EXPECT_EQ(second.received_until(4), (numbers{2, 4}));
}
} // namespace multicast_on_two_interfaces_test
