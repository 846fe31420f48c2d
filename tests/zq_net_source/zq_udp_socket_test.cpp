// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net_source/zq_udp_source.h"

#include "support/element.h"
#include "support/many_descriptors.h"
#include "support/net_sandbox.h"
#include "support/open_descriptors.h"
#include "support/receiving.h"
#include "support/udp_sender.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zq_udp_socket_test
{
using support::descriptor_opened_by;
using support::eventually;
using support::pattern;
using support::receiving;
using support::udp_sender;

sockaddr_in local_address(int socket)
{
    sockaddr_in address{};
    socklen_t length = sizeof(address);
    ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length);
    return address;
}

TEST(Multicast, ReachesFrom224To239Inclusive)
{
    EXPECT_TRUE(zq_udp_source::isMulticast("224.0.0.0"));
    EXPECT_TRUE(zq_udp_source::isMulticast("239.255.255.255"));
    EXPECT_FALSE(zq_udp_source::isMulticast("240.0.0.0"));
    EXPECT_FALSE(zq_udp_source::isMulticast("223.255.255.255"));
}

TEST(Multicast, DoesNotIncludeWhatDoesNotParse)
{
    EXPECT_FALSE(zq_udp_source::isMulticast(""));
    EXPECT_FALSE(zq_udp_source::isMulticast("localhost"));
    EXPECT_FALSE(zq_udp_source::isMulticast("255.255.255.255"));
}

TEST(UdpSocket, UsesOnlyTheLow16BitsOfThePort)
{
    receiving receiver;
    const auto port = support::free_port();
    ASSERT_TRUE(receiver.source.open("", 0x10000U + port, ""));
    udp_sender{"127.0.0.1", port}.send(pattern(188));
    EXPECT_TRUE(eventually([&] { return receiver.count() == 1; }));
}

TEST(UdpSocket, BindsUnicastToAllAddressesWhenNoInterfaceIsGiven)
{
    receiving receiver;
    const auto port = support::free_port();
    const int socket = descriptor_opened_by([&] { ASSERT_TRUE(receiver.source.open("192.0.2.77", port, "")); });
    EXPECT_EQ(local_address(socket).sin_addr.s_addr, htonl(INADDR_ANY));
    EXPECT_EQ(ntohs(local_address(socket).sin_port), port);
}

TEST(UdpSocket, BindsUnicastToTheInterface)
{
    receiving receiver;
    const int socket =
        descriptor_opened_by([&] { ASSERT_TRUE(receiver.source.open("", support::free_port(), "127.0.0.1")); });
    EXPECT_EQ(local_address(socket).sin_addr.s_addr, ::inet_addr("127.0.0.1"));
}

TEST(UdpSocket, BindsMulticastToTheGroupWhenAnInterfaceIsGiven)
{
    receiving receiver;
    const auto port = support::free_port();
    const int socket = descriptor_opened_by([&] { ASSERT_TRUE(receiver.source.open("239.1.2.3", port, "127.0.0.1")); });
    EXPECT_EQ(local_address(socket).sin_addr.s_addr, ::inet_addr("239.1.2.3"));
    udp_sender{"239.1.2.3", port}.send(pattern(188));
    EXPECT_TRUE(eventually([&] { return receiver.count() == 1; }));
}

TEST(UdpSocket, BindsMulticastToAnyAddressWhenNoInterfaceIsGiven)
{
    if (!support::in_net_sandbox())
        GTEST_SKIP() << "joining without an interface needs a route for multicast over loopback";
    receiving receiver;
    const auto port = support::free_port();
    const int socket = descriptor_opened_by([&] { ASSERT_TRUE(receiver.source.open("239.1.2.3", port, "")); });
    EXPECT_EQ(local_address(socket).sin_addr.s_addr, htonl(INADDR_ANY));
    udp_sender{"239.1.2.3", port}.send(pattern(188));
    EXPECT_TRUE(eventually([&] { return receiver.count() == 1; }));
}

TEST(UdpSocket, GetsNoGroupThatOnlyAnotherReceiverOnThePortJoined)
{
    if (!support::in_net_sandbox())
        GTEST_SKIP() << "joining without an interface needs a route for multicast over loopback";
    receiving one, other;
    const auto port = support::free_port();
    ASSERT_TRUE(one.source.open("239.1.2.3", port, ""));
    ASSERT_TRUE(other.source.open("239.1.2.4", port, ""));
    const udp_sender to_one{"239.1.2.3", port}, to_other{"239.1.2.4", port};
    for (unsigned i = 0; i < 20; ++i) {
        to_one.send(pattern(100, i));
        to_other.send(pattern(200, i));
    }
    ASSERT_TRUE(eventually([&] { return one.count() >= 20 && other.count() >= 20; }));
    one.source.close();
    other.source.close();
    EXPECT_THAT(one.datagrams, testing::AllOf(testing::SizeIs(20), testing::Each(testing::SizeIs(100))));
    EXPECT_THAT(other.datagrams, testing::AllOf(testing::SizeIs(20), testing::Each(testing::SizeIs(200))));
}

TEST(UdpSocket, OpensItsSocketNonBlockingAndCloseOnExec)
{
    receiving receiver;
    const int socket = descriptor_opened_by([&] { ASSERT_TRUE(receiver.source.open("", support::free_port(), "")); });
    EXPECT_NE(::fcntl(socket, F_GETFL) & O_NONBLOCK, 0);
    EXPECT_NE(::fcntl(socket, F_GETFD) & FD_CLOEXEC, 0);
}

TEST(UdpSocket, AsksForALargerReceiveBufferThanTheDefault)
{
    const int plain = ::socket(AF_INET, SOCK_DGRAM, 0);
    const auto buffer_of = [](int socket) {
        int size = 0;
        socklen_t length = sizeof(size);
        ::getsockopt(socket, SOL_SOCKET, SO_RCVBUF, &size, &length);
        return size;
    };
    const int unasked = buffer_of(plain);
    ::setsockopt(plain, SOL_SOCKET, SO_RCVBUF, &unasked, sizeof(unasked));
    const int most_unprivileged = 8 * 1024 * 1024;
    ::setsockopt(plain, SOL_SOCKET, SO_RCVBUF, &most_unprivileged, sizeof(most_unprivileged));
    const int obtainable = buffer_of(plain);
    ::close(plain);

    receiving receiver;
    const int socket = descriptor_opened_by([&] { ASSERT_TRUE(receiver.source.open("", support::free_port(), "")); });
    EXPECT_GE(buffer_of(socket), std::max(unasked, obtainable));
}

TEST(UdpSocket, PrintsTheFailedBindOfATakenUnicastPortWithoutNewline)
{
    const support::taken_port port;
    receiving receiver;
    support::captured_stdout output;
    EXPECT_FALSE(receiver.source.open("", port.number, ""));
    EXPECT_EQ(output.text(), "2: 0 > ::bind(m_hSocket, (struct sockaddr *) &addr, sizeof(addr))");
    EXPECT_EQ(receiver.last_error(), "");
}

TEST(UdpSocket, PrintsTheFailedBindOfATakenMulticastPort)
{
    const support::taken_port port;
    receiving receiver;
    support::captured_stdout output;
    EXPECT_FALSE(receiver.source.open("239.1.2.3", port.number, ""));
    EXPECT_EQ(output.text(), "1: 0 > ::bind(m_hSocket, (struct sockaddr *) &addr, sizeof(addr))\n");
}

TEST(UdpSocket, PrintsTheFailedJoinOnAnUnknownInterfaceWithoutNewline)
{
    receiving receiver;
    support::captured_stdout output;
    EXPECT_FALSE(receiver.source.open("239.1.2.3", support::free_port(), "192.0.2.99"));
    EXPECT_EQ(output.text(),
              "::setsockopt(m_hSocket, IPPROTO_IP, IP_ADD_MEMBERSHIP, (char *)&mcast, sizeof(mcast)) < 0");
}

TEST(UdpSocket, PrintsThatThereIsNoSocketWhenNoDescriptorIsLeft)
{
    receiving receiver;
    receiver.source.close(); // which UBSan looks at by means of a descriptor
    support::captured_stdout output;
    rlimit before{};
    ::getrlimit(RLIMIT_NOFILE, &before);
    const rlimit none{0, before.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &none);
    const bool opened = receiver.source.open("", 0, "");
    ::setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_FALSE(opened);
    EXPECT_EQ(output.text(), "ZQReceiverUDP::open 0 > m_hSocket\n");
}

TEST(UdpSocket, KeepsTheSocketOfAFailedOpenUntilItIsClosed)
{
    const support::taken_port port;
    receiving receiver;
    const int socket = descriptor_opened_by([&] {
        const support::captured_stdout output;
        EXPECT_FALSE(receiver.source.open("", port.number, ""));
    });
    EXPECT_GE(socket, 0);
    receiver.source.close();
    EXPECT_LT(::fcntl(socket, F_GETFD), 0);
}

TEST(UdpSocket, CanBeOpenedAgainAndThenGetsOnlyTheNewPort)
{
    receiving receiver;
    const auto first = support::free_port();
    ASSERT_TRUE(receiver.source.open("", first, ""));
    const auto second = support::free_port();
    ASSERT_TRUE(receiver.source.open("", second, ""));
    udp_sender{"127.0.0.1", first}.send(pattern(10));
    udp_sender{"127.0.0.1", second}.send(pattern(20));
    ASSERT_TRUE(eventually([&] { return receiver.count() == 1; }));
    receiver.source.close();
    EXPECT_EQ(receiver.datagrams[0].size(), 20U);
}

TEST(UdpSocket, WorksWithDescriptorsBeyondTheReachOfSelect)
{
    const support::many_descriptors held;
    ASSERT_TRUE(held.reach_beyond_select());
    receiving receiver;
    const auto port = support::free_port();
    ASSERT_TRUE(receiver.source.open("", port, ""));
    udp_sender{"127.0.0.1", port}.send(pattern(188));
    EXPECT_TRUE(eventually([&] { return receiver.count() == 1; }));
}
} // namespace zq_udp_socket_test
