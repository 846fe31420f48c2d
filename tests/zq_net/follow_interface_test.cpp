// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/made_interface.h"
#include "support/udp_sender.h"
#include "support/watchdog.h"
#include "support/without_right.h"
#include "zq_net/transport_input.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>

namespace follow_interface_test
{
using support::made_interface;
using support::pattern;
using support::run_quietly;

struct listening
{
    explicit listening(std::string to_group = "239.9.9.9", const std::string& interface = "zq0",
                       std::uint16_t on_port = support::free_port())
        : group{std::move(to_group)}, port{on_port}
    {
        zq_net::input_settings settings;
        settings.legs.push_back({group, port, interface, {}, 0});
        EXPECT_TRUE(input.open(settings)) << input.error();
    }
    /// Receives until a datagram is there; each try sends one.
    void receive(unsigned seed, const std::string& on = "zq0")
    {
        do
            support::send_to_group(on, group.substr(0, group.find('%')), port, pattern(1316, seed));
        while (input.receive(memory.data(), 2, 1316) != zq_net::transport_input::result::data);
        const auto& first = input.pieces()[0];
        received.assign(first.data, first.data + 1316);
    }
    std::uint64_t rejoins() { return input.figures().legs[0].rejoins; }

    support::watchdog guard;
    std::string group;
    std::uint16_t port;
    zq_net::transport_input input;
    std::vector<unsigned char> received; // the first datagram of the last time
    std::vector<unsigned char> memory = std::vector<unsigned char>(2 * 1316);
};

/// An IPv4 group, IPv6 ones of global and link-local scope, one that names its interface itself, and so an address that
/// is no group.
class FollowInterface : public testing::TestWithParam<const char*>
{
protected:
    void SetUp() override
    {
        const bool is_ipv6 = std::string{GetParam()}.find(':') != std::string::npos;
        interface = std::make_unique<made_interface>();
        if (!interface->is_made() || (is_ipv6 && !interface->has_ipv6()))
            GTEST_SKIP() << "needs a network of its own, and the program ip";
    }
    [[nodiscard]] static bool names_its_interface() { return std::string{GetParam()}.find('%') != std::string::npos; }

    std::unique_ptr<made_interface> interface;
};

TEST_P(FollowInterface, JoinsAnewWhenTheInterfaceWasRemovedAndMadeAgain)
{
    listening to{GetParam(), names_its_interface() ? "" : "zq0"};
    to.receive(1);
    const unsigned index = interface->index();
    interface.reset();
    interface = std::make_unique<made_interface>();
    ASSERT_NE(interface->index(), index);
    to.receive(2);
    EXPECT_EQ(to.received, pattern(1316, 2));
    EXPECT_EQ(to.rejoins(), 1U);
}

TEST_P(FollowInterface, GoesOnWithoutJoiningAnewWhenTheInterfaceWasDownForAWhile)
{
    listening to{GetParam(), names_its_interface() ? "" : "zq0"};
    to.receive(1);
    run_quietly("ip link set zq0 down");
    run_quietly("ip link set zq0 up && ip addr add fe80::5/64 dev zq0 nodad");
    to.receive(2);
    EXPECT_EQ(to.rejoins(), 0U);
}

TEST_P(FollowInterface, GoesOnFollowingAndTellingFiguresInSilenceAndCanBeInterrupted)
{
    listening to{GetParam(), names_its_interface() ? "" : "zq0"};
    std::thread receiver{[&] {
        while (to.input.receive(to.memory.data(), 2, 1316) != zq_net::transport_input::result::interrupted)
            ;
    }};
    for (std::uint64_t times = 1; times <= 2; ++times) {
        interface.reset();
        interface = std::make_unique<made_interface>();
        EXPECT_TRUE(support::eventually([&] { return to.rejoins() == times; }));
    }
    to.input.interrupt();
    receiver.join();
}

INSTANTIATE_TEST_SUITE_P(Of, FollowInterface,
                         testing::Values("239.9.9.9", "ff0e::9:9", "ff02::9:9", "ff02::9:9%zq0", "fe80::5%zq0"),
                         [](const auto& given) {
                             const std::string group = given.param;
                             if (group.compare(0, 4, "fe80") == 0)
                                 return "LinkLocalUnicast";
                             if (group.find('%') != std::string::npos)
                                 return "LinkLocalThatNamesIt";
                             return group[0] == '2' ? "Ipv4" : group[3] == 'e' ? "Global" : "LinkLocal";
                         });

/// Groups with a route of their own, without which the kernel may choose any interface.
class FollowRoute : public testing::TestWithParam<const char*>
{
protected:
    void SetUp() override
    {
        if (!first->has_ipv6() || !second.has_ipv6() || !route_to("zq0"))
            GTEST_SKIP() << "needs a network of its own with IPv6, and the program ip";
    }
    void TearDown() override { run_quietly(command("del", "zq0") + "; " + command("del", "zq1")); }
    static bool route_to(const std::string& interface) { return run_quietly(command("replace", interface)); }
    static std::string command(const std::string& what, const std::string& interface)
    {
        const std::string group = GetParam();
        const bool is_ipv6 = group.find(':') != std::string::npos;
        return (is_ipv6 ? "ip -6 route " + what + " multicast " : "ip route " + what + " ") + group + " dev " +
               interface + (is_ipv6 ? " table local metric 1" : "");
    }

    std::unique_ptr<made_interface> first = std::make_unique<made_interface>("zq0", 0);
    made_interface second{"zq1", 1};
};

TEST_P(FollowRoute, JoinsAnewWhenTheInterfaceThatItChoseWasRemovedAndMadeAgain)
{
    listening to{GetParam(), ""};
    to.receive(1);
    first.reset();
    first = std::make_unique<made_interface>("zq0", 0);
    ASSERT_TRUE(route_to("zq0"));
    to.receive(2);
    EXPECT_EQ(to.received, pattern(1316, 2));
    EXPECT_EQ(to.rejoins(), 1U);
}

TEST_P(FollowRoute, JoinsWhereItLeadsNow)
{
    listening to{GetParam(), ""};
    to.receive(1);
    ASSERT_TRUE(route_to("zq1"));
    to.receive(2, "zq1");
    EXPECT_EQ(to.received, pattern(1316, 2));
    EXPECT_EQ(to.rejoins(), 1U);
}

INSTANTIATE_TEST_SUITE_P(OfAGroup, FollowRoute, testing::Values("239.9.9.9", "ff0e::9:9"),
                         [](const auto& given) { return *given.param == '2' ? "Ipv4" : "Ipv6"; });

TEST(FollowInterfaceUnicast, IsTiedToTheNamedOneByALinkLocalAddressThatNamesNone)
{
    auto interface = std::make_unique<made_interface>();
    if (!interface->has_ipv6())
        GTEST_SKIP() << "needs a network of its own with IPv6, and the program ip";
    listening to{"fe80::5", "zq0"};
    to.receive(1);
    interface.reset();
    interface = std::make_unique<made_interface>();
    to.receive(2);
    EXPECT_EQ(to.received, pattern(1316, 2));
    EXPECT_EQ(to.rejoins(), 1U);
}

TEST(FollowInterfaceUnicast, ReceivesOnTheAddressThatANamedInterfaceHasNow)
{
    const made_interface interface;
    if (!interface.is_made())
        GTEST_SKIP() << "needs a network of its own, and the program ip";
    listening to{"", "zq0"};
    to.group = interface.ipv4(); // to send to
    to.receive(1);
    run_quietly("ip -4 addr flush dev zq0 && ip addr add 192.0.2.7/26 dev zq0");
    to.group = "192.0.2.7";
    to.receive(2);
    EXPECT_EQ(to.received, pattern(1316, 2));
    EXPECT_EQ(to.rejoins(), 1U);
}

TEST(FollowInterfaceUnicast, StaysOnTheAddressThatANamedInterfaceStillHasWhenItGetsANewerOne)
{
    const made_interface interface;
    if (!interface.has_ipv6())
        GTEST_SKIP() << "needs a network of its own with IPv6, and the program ip";
    listening to{"::", "zq0"};
    to.group = interface.ipv6(); // to send to
    to.receive(1);
    ASSERT_TRUE(interface.add_ipv6("2001:db8::6"));
    for (int looks = 0; looks < 4; ++looks)
        EXPECT_EQ(to.input.receive(to.memory.data(), 2, 1316), zq_net::transport_input::result::nothing);
    EXPECT_EQ(to.rejoins(), 0U);
    to.receive(2);
    EXPECT_EQ(to.received, pattern(1316, 2));
}

TEST(FollowInterfaceWithoutRights, TellsWhyItCannotAndGoesOnWhenItCan)
{
    auto interface = std::make_unique<made_interface>();
    if (!interface->is_made())
        GTEST_SKIP() << "needs a network of its own, and the program ip";
    listening to{"239.9.9.9", "zq0", 700};
    to.receive(1);
    EXPECT_EQ(to.input.follow_error(), "");
    {
        const support::without_right low_ports{CAP_NET_BIND_SERVICE};
        if (!low_ports.is_taken())
            GTEST_SKIP() << "had no right to give up";
        interface.reset();
        interface = std::make_unique<made_interface>();
        while (to.input.follow_error().empty())
            (void)to.input.receive(to.memory.data(), 2, 1316);
        EXPECT_EQ(to.input.follow_error(), "cannot receive on 239.9.9.9:700: Permission denied");
        EXPECT_EQ(to.rejoins(), 0U);
    }
    to.receive(2);
    EXPECT_EQ(to.rejoins(), 1U);
    EXPECT_EQ(to.input.follow_error(), "");
}

TEST(FollowInterfaceIpv4, GoesOnWhenTheAddressOfTheInterfaceChanges)
{
    const made_interface interface;
    if (!interface.is_made())
        GTEST_SKIP() << "needs a network of its own, and the program ip";
    listening to;
    to.receive(1);
    run_quietly("ip -4 addr flush dev zq0 && ip addr add 192.0.2.7/26 dev zq0");
    to.receive(2);
    EXPECT_EQ(to.rejoins(), 0U);
}

TEST(FollowInterfaceIpv4, GetsNothingOfAGroupThatIsSentOnAnotherOne)
{
    const made_interface interface;
    if (!interface.is_made())
        GTEST_SKIP() << "needs a network of its own, and the program ip";
    listening to;
    for (int i = 0; i < 20; ++i)
        support::udp_sender{to.group, to.port}.send(pattern(1316, 1)); // leaves through the loopback
    to.receive(2);
    EXPECT_EQ(to.received, pattern(1316, 2));
}
} // namespace follow_interface_test
