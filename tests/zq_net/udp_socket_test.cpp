// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/udp_socket.h"

#include "support/net_sandbox.h"
#include "support/udp_sender.h"
#include "support/watchdog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <poll.h>

#include <cerrno>

namespace udp_socket_test
{
using zq_net::udp_settings;
using zq_net::udp_socket;

std::string error_of(const udp_settings& settings)
{
    udp_socket socket;
    std::string error;
    EXPECT_FALSE(socket.open(settings, error));
    EXPECT_FALSE(socket.is_open());
    return error;
}

udp_settings group(const char* address, std::uint16_t port)
{
    udp_settings settings;
    settings.address = address;
    settings.port = port;
    settings.interface = "lo";
    return settings;
}

/// True when something can be read within `milliseconds`.
bool has_data(const udp_socket& socket, int milliseconds)
{
    pollfd waited{socket.descriptor(), POLLIN, 0};
    return ::poll(&waited, 1, milliseconds) == 1;
}

struct opened : udp_socket
{
    explicit opened(const udp_settings& settings)
    {
        std::string error;
        EXPECT_TRUE(open(settings, error)) << error;
    }
};

TEST(UdpSocketErrors, NameWhatIsNoAddress)
{
    EXPECT_EQ(error_of({"example.org", 1, "", {}, 0}), "\"example.org\" is no IPv4 or IPv6 address");
}

TEST(UdpSocketErrors, NameAnUnknownInterface)
{
    EXPECT_EQ(error_of({"239.1.1.1", 1, "eth77", {}, 0}), "this host has no interface \"eth77\"");
    EXPECT_EQ(errno, ENODEV);
    EXPECT_EQ(error_of({"", 1, "192.0.2.1", {}, 0}), "this host has no interface \"192.0.2.1\"");
}

TEST(UdpSocketErrors, NameAnAddressThatIsNotLocal)
{
    EXPECT_EQ(error_of({"192.0.2.1", 5000, "", {}, 0}),
              "cannot receive on 192.0.2.1:5000: Cannot assign requested address");
    EXPECT_EQ(errno, EADDRNOTAVAIL);
}

TEST(UdpSocketErrors, NameATakenPort)
{
    const support::taken_port port;
    EXPECT_EQ(error_of({"127.0.0.1", port.number, "", {}, 0}),
              "cannot receive on 127.0.0.1:" + std::to_string(port.number) + ": Address already in use");
    EXPECT_EQ(errno, EADDRINUSE);
}

TEST(UdpSocketErrors, NameASourceThatDoesNotFit)
{
    EXPECT_EQ(error_of({"239.1.1.1", 1, "", {"nobody"}, 0}), "\"nobody\" is no source for 239.1.1.1:1");
    EXPECT_EQ(error_of({"239.1.1.1", 1, "", {"::1"}, 0}), "\"::1\" is no source for 239.1.1.1:1");
    EXPECT_EQ(error_of({"127.0.0.1", 1, "", {"127.0.0.1"}, 0}), "\"127.0.0.1\" is no source for 127.0.0.1:1");
}

TEST(UdpSocket, TellsThePortThatTheSystemChose)
{
    const opened socket{{"127.0.0.1", 0, "", {}, 0}};
    EXPECT_NE(socket.address().port(), 0);
}

TEST(UdpSocket, TakesAUnicastPortForItselfAlone)
{
    const opened socket{{"127.0.0.1", 0, "", {}, 0}};
    error_of({"127.0.0.1", socket.address().port(), "", {}, 0});
    EXPECT_EQ(errno, EADDRINUSE);
}

TEST(UdpSocket, OnAnInterfaceTakesItsAddress)
{
    const opened socket{{"", 0, "lo", {}, 0}};
    EXPECT_TRUE(socket.address().same_host(*zq_net::ip_address::read("127.0.0.1")));
}

TEST(UdpSocket, ReceivesIPv6)
{
    udp_socket socket;
    std::string error;
    if (!socket.open({"::1", 0, "", {}, 0}, error))
        GTEST_SKIP() << error;
    const int sender = ::socket(AF_INET6, SOCK_DGRAM, 0);
    ::sendto(sender, "x", 1, 0, socket.address().get(), socket.address().size());
    ::close(sender);
    EXPECT_TRUE(has_data(socket, 10000));
}

TEST(UdpSocket, AsksForEightMebibytesAndNeverLowersTheBuffer)
{
    const opened usual{{"127.0.0.1", 0, "", {}, 0}};
    EXPECT_EQ(usual.buffer_asked(), 8 * 1024 * 1024);
    const opened small{{"127.0.0.1", 0, "", {}, 1}};
    EXPECT_EQ(small.buffer_asked(), 1);
    EXPECT_GT(small.buffer_got(), 1000);
}

TEST(UdpSocket, CountsWhatTheKernelHadNoRoomFor)
{
    const opened socket{{"127.0.0.1", 0, "", {}, 0}};
    const int tiny = 2048;
    ::setsockopt(socket.descriptor(), SOL_SOCKET, SO_RCVBUF, &tiny, sizeof(tiny));
    const support::udp_sender sender{"127.0.0.1", socket.address().port()};
    for (int i = 0; i < 20; ++i)
        sender.send(support::pattern(1316));
    EXPECT_GT(socket.kernel_drops(), 0U);
    EXPECT_LT(socket.kernel_drops(), 20U);
}

TEST(UdpSocket, SharesAGroupWithOthersAndGetsNoOtherGroupOfItsPort)
{
    if (!support::in_net_sandbox())
        GTEST_SKIP() << "needs multicast on the loopback";
    const auto port = support::free_port();
    const opened first{group("239.7.7.1", port)}, second{group("239.7.7.1", port)}, other{group("239.7.7.2", port)};
    support::udp_sender{"239.7.7.1", port}.send(support::pattern(188));
    EXPECT_TRUE(has_data(first, 10000));
    EXPECT_TRUE(has_data(second, 10000));
    EXPECT_FALSE(has_data(other, 0));
}

TEST(UdpSocket, TakesOfAGroupOnlyWhatItsSourcesSend)
{
    if (!support::in_net_sandbox())
        GTEST_SKIP() << "needs multicast on the loopback";
    const auto port = support::free_port();
    auto wanted = group("232.7.7.1", port), unwanted = wanted;
    wanted.sources = {"127.0.0.1"};
    unwanted.sources = {"127.0.0.9"};
    const opened gets{wanted}, gets_not{unwanted};
    support::udp_sender{"232.7.7.1", port}.send(support::pattern(188));
    EXPECT_TRUE(has_data(gets, 10000));
    EXPECT_FALSE(has_data(gets_not, 0));
}

TEST(UdpSocket, DependsOnAnInterfaceForAGroupAnAddressOfALinkAndThatOfAnInterface)
{
    if (!support::in_net_sandbox())
        GTEST_SKIP() << "needs multicast on the loopback";
    EXPECT_TRUE(opened(group("239.7.7.3", 0)).depends_on_interface());
    EXPECT_TRUE((opened{{"", 0, "lo", {}, 0}}.depends_on_interface()));
    EXPECT_TRUE((opened{{"0.0.0.0", 0, "lo", {}, 0}}.depends_on_interface()));
    EXPECT_FALSE((opened{{"127.0.0.1", 0, "lo", {}, 0}}.depends_on_interface()));
    EXPECT_FALSE((opened{{"", 0, "", {}, 0}}.depends_on_interface()));
}

TEST(UdpSocket, DoesNotJoinAnewWhileItsInterfaceIsTheSame)
{
    if (!support::in_net_sandbox())
        GTEST_SKIP() << "needs multicast on the loopback";
    const opened socket{group("239.7.7.3", 0)};
    udp_socket fresh;
    std::string error;
    EXPECT_FALSE(socket.follow_interface(fresh, error));
    EXPECT_EQ(error, "");
}
} // namespace udp_socket_test
