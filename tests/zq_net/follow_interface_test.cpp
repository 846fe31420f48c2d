// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/net_sandbox.h"
#include "support/udp_sender.h"
#include "support/watchdog.h"
#include "zq_net/transport_input.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace follow_interface_test
{
using support::pattern;

bool run(const std::string& command) { return std::system((command + " >/dev/null 2>&1").c_str()) == 0; }

/// An interface "zq0" with the address 192.0.2.5, in a network of this process alone.
struct made_interface
{
    made_interface()
        : made{run("ip link add zq0 type veth peer name zq1 && ip addr add 192.0.2.5/24 dev zq0 && "
                   "ip link set zq0 up && ip link set zq1 up")}
    {}
    ~made_interface() { run("ip link del zq0"); }
    const bool made;
};

/// Sends to the group on "zq0"; the host gets its own copy.
void send(std::uint16_t port, unsigned seed, const char* from)
{
    const int socket = ::socket(AF_INET, SOCK_DGRAM, 0);
    const in_addr interface {
        ::inet_addr(from)
    };
    ::setsockopt(socket, IPPROTO_IP, IP_MULTICAST_IF, &interface, sizeof(interface));
    const auto group = *zq_net::ip_address::read("239.9.9.9", port);
    const auto datagram = pattern(1316, seed);
    ::sendto(socket, datagram.data(), datagram.size(), 0, group.get(), group.size());
    ::close(socket);
}

struct listening
{
    listening()
    {
        zq_net::input_settings settings;
        settings.legs.push_back({"239.9.9.9", port, "zq0", {}, 0});
        EXPECT_TRUE(input.open(settings)) << input.error();
    }
    /// Receives until a datagram is there; each try sends one.
    void receive(unsigned seed, const char* from = "192.0.2.5")
    {
        do
            send(port, seed, from);
        while (input.receive(memory.data(), 2, 1316) != zq_net::transport_input::result::data);
        const auto& first = input.pieces()[0];
        received.assign(first.data, first.data + 1316);
    }

    support::watchdog guard;
    std::uint16_t port = support::free_port();
    zq_net::transport_input input;
    std::vector<unsigned char> received; // the first datagram of the last time
    std::vector<unsigned char> memory = std::vector<unsigned char>(2 * 1316);
};

TEST(FollowInterface, JoinsAnewWhenTheInterfaceWasRemovedAndMadeAgain)
{
    if (!support::in_net_sandbox() || !made_interface{}.made)
        GTEST_SKIP() << "needs a network of its own, and the program ip";
    auto interface = std::make_unique<made_interface>();
    listening to;
    to.receive(1);
    interface.reset();
    interface = std::make_unique<made_interface>();
    to.receive(2);
    EXPECT_EQ(to.input.figures().legs[0].rejoins, 1U);
}

TEST(FollowInterface, GoesOnWithoutJoiningAnewWhenTheInterfaceWasDownForAWhile)
{
    if (!support::in_net_sandbox() || !made_interface{}.made)
        GTEST_SKIP() << "needs a network of its own, and the program ip";
    const made_interface interface;
    listening to;
    to.receive(1);
    run("ip link set zq0 down");
    run("ip link set zq0 up");
    to.receive(2);
    EXPECT_EQ(to.input.figures().legs[0].rejoins, 0U);
}

TEST(FollowInterface, GoesOnWhenTheAddressOfTheInterfaceChanges)
{
    if (!support::in_net_sandbox() || !made_interface{}.made)
        GTEST_SKIP() << "needs a network of its own, and the program ip";
    const made_interface interface;
    listening to;
    to.receive(1);
    run("ip addr flush dev zq0 && ip addr add 192.0.2.77/24 dev zq0");
    to.receive(2, "192.0.2.77");
    EXPECT_EQ(to.input.figures().legs[0].rejoins, 0U);
}

TEST(FollowInterface, GetsNothingOfAGroupThatIsSentOnAnotherOne)
{
    if (!support::in_net_sandbox() || !made_interface{}.made)
        GTEST_SKIP() << "needs a network of its own, and the program ip";
    const made_interface interface;
    listening to;
    for (int i = 0; i < 20; ++i)
        support::udp_sender{"239.9.9.9", to.port}.send(pattern(1316, 1)); // leaves through the loopback
    to.receive(2);
    EXPECT_EQ(to.received, pattern(1316, 2));
}
} // namespace follow_interface_test
