// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net_source/zq_udp_source.h"

#include "support/element.h"
#include "support/net_sandbox.h"
#include "support/udp_sender.h"
#include "support/watchdog.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <mutex>
#include <stdexcept>

using namespace std::chrono_literals;
using support::eventually;
using support::pattern;
using support::udp_sender;

namespace
{
/// A receiver that keeps every datagram it was given.
struct receiving
{
    zq_net_statistics statistics;
    std::mutex mutex;
    std::vector<std::vector<unsigned char>> datagrams;
    std::vector<unsigned long> times;
    zq_udp_source source{[this](unsigned long time, unsigned char* data, unsigned long size) {
                             const std::lock_guard lock{mutex};
                             datagrams.emplace_back(data, data + size);
                             times.push_back(time);
                         },
                         statistics};
    support::watchdog guard;

    std::size_t count()
    {
        const std::lock_guard lock{mutex};
        return datagrams.size();
    }
    std::string last_error() const { return statistics.get_items()[3].second; }
    std::string bit_rate() const { return statistics.get_items()[2].second; }
};

std::vector<int> descriptors()
{
    std::vector<int> open;
    for (int descriptor = 0; descriptor < 2048; ++descriptor)
        if (::fcntl(descriptor, F_GETFD) >= 0)
            open.push_back(descriptor);
    return open;
}

/// The socket that `open_socket` opened, found as the only new descriptor.
template <class Action>
int descriptor_opened_by(Action open_socket)
{
    const auto before = descriptors();
    open_socket();
    for (const int descriptor : descriptors())
        if (std::find(before.begin(), before.end(), descriptor) == before.end())
            return descriptor;
    return -1;
}

sockaddr_in local_address(int socket)
{
    sockaddr_in address{};
    socklen_t length = sizeof(address);
    ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length);
    return address;
}
} // namespace

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

TEST(UdpReceiver, HandsOverEachDatagramWithItsTimeSinceTheStart)
{
    receiving receiver;
    const auto port = support::free_port();
    ASSERT_TRUE(receiver.source.open("127.0.0.1", port, ""));
    const udp_sender sender{"127.0.0.1", port};
    sender.send(pattern(1316, 1));
    sender.send(pattern(188, 2));
    ASSERT_TRUE(eventually([&] { return receiver.count() == 2; }));
    receiver.source.close();
    EXPECT_THAT(receiver.datagrams, testing::ElementsAre(pattern(1316, 1), pattern(188, 2)));
    EXPECT_LE(receiver.times[0], receiver.times[1]);
    EXPECT_LT(receiver.times[1], 60000000000U);
}

TEST(UdpReceiver, HandsOverBurstsAndSingleDatagramsInTheirOrder)
{
    receiving receiver;
    const auto port = support::free_port();
    ASSERT_TRUE(receiver.source.open("127.0.0.1", port, ""));
    const udp_sender sender{"127.0.0.1", port};
    std::vector<std::vector<unsigned char>> sent;
    for (unsigned round = 0; round < 120; ++round) {
        for (unsigned i = 0; i < 1 + (round / 30 % 2) * 9; ++i) {
            sent.push_back(pattern(20 + sent.size() % 1000, round));
            sender.send(sent.back());
        }
        ASSERT_TRUE(eventually([&] { return receiver.count() == sent.size(); }));
    }
    receiver.source.close();
    EXPECT_EQ(receiver.datagrams, sent);
    EXPECT_EQ(receiver.last_error(), "");
}

TEST(UdpReceiver, UsesOnlyTheLow16BitsOfThePort)
{
    receiving receiver;
    const auto port = support::free_port();
    ASSERT_TRUE(receiver.source.open("", 0x10000U + port, ""));
    udp_sender{"127.0.0.1", port}.send(pattern(188));
    EXPECT_TRUE(eventually([&] { return receiver.count() == 1; }));
}

TEST(UdpReceiver, CutsADatagramOf65000BytesTo64000)
{
    receiving receiver;
    const auto port = support::free_port();
    ASSERT_TRUE(receiver.source.open("", port, ""));
    const auto sent = pattern(65000);
    udp_sender{"127.0.0.1", port}.send(sent);
    ASSERT_TRUE(eventually([&] { return receiver.count() == 1; }));
    receiver.source.close();
    EXPECT_EQ(receiver.datagrams[0], std::vector<unsigned char>(sent.begin(), sent.begin() + 64000));
}

TEST(UdpReceiver, PassesOverAnEmptyDatagram)
{
    receiving receiver;
    const auto port = support::free_port();
    ASSERT_TRUE(receiver.source.open("", port, ""));
    const udp_sender sender{"127.0.0.1", port};
    sender.send({});
    sender.send(pattern(1));
    ASSERT_TRUE(eventually([&] { return receiver.count() == 1; }));
    receiver.source.close();
    EXPECT_EQ(receiver.datagrams[0], pattern(1));
}

TEST(UdpReceiver, BindsUnicastToAllAddressesWhenNoInterfaceIsGiven)
{
    receiving receiver;
    const auto port = support::free_port();
    const int socket = descriptor_opened_by([&] { ASSERT_TRUE(receiver.source.open("192.0.2.77", port, "")); });
    EXPECT_EQ(local_address(socket).sin_addr.s_addr, htonl(INADDR_ANY));
    EXPECT_EQ(ntohs(local_address(socket).sin_port), port);
}

TEST(UdpReceiver, BindsUnicastToTheInterface)
{
    receiving receiver;
    const int socket =
        descriptor_opened_by([&] { ASSERT_TRUE(receiver.source.open("", support::free_port(), "127.0.0.1")); });
    EXPECT_EQ(local_address(socket).sin_addr.s_addr, ::inet_addr("127.0.0.1"));
}

TEST(UdpReceiver, BindsMulticastToTheGroupWhenAnInterfaceIsGiven)
{
    receiving receiver;
    const auto port = support::free_port();
    const int socket = descriptor_opened_by([&] { ASSERT_TRUE(receiver.source.open("239.1.2.3", port, "127.0.0.1")); });
    EXPECT_EQ(local_address(socket).sin_addr.s_addr, ::inet_addr("239.1.2.3"));
    udp_sender{"239.1.2.3", port}.send(pattern(188));
    EXPECT_TRUE(eventually([&] { return receiver.count() == 1; }));
}

TEST(UdpReceiver, BindsMulticastToAnyAddressWhenNoInterfaceIsGiven)
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

TEST(UdpReceiver, GetsNoGroupThatOnlyAnotherReceiverOnThePortJoined)
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

TEST(UdpReceiver, OpensItsSocketNonBlockingAndCloseOnExec)
{
    receiving receiver;
    const int socket = descriptor_opened_by([&] { ASSERT_TRUE(receiver.source.open("", support::free_port(), "")); });
    EXPECT_NE(::fcntl(socket, F_GETFL) & O_NONBLOCK, 0);
    EXPECT_NE(::fcntl(socket, F_GETFD) & FD_CLOEXEC, 0);
}

TEST(UdpReceiver, AsksForALargerReceiveBufferThanTheDefault)
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

TEST(UdpReceiver, PrintsTheFailedBindOfATakenUnicastPortWithoutNewline)
{
    const support::taken_port port;
    receiving receiver;
    support::captured_stdout output;
    EXPECT_FALSE(receiver.source.open("", port.number, ""));
    EXPECT_EQ(output.text(), "2: 0 > ::bind(m_hSocket, (struct sockaddr *) &addr, sizeof(addr))");
    EXPECT_EQ(receiver.last_error(), "");
}

TEST(UdpReceiver, PrintsTheFailedBindOfATakenMulticastPort)
{
    const support::taken_port port;
    receiving receiver;
    support::captured_stdout output;
    EXPECT_FALSE(receiver.source.open("239.1.2.3", port.number, ""));
    EXPECT_EQ(output.text(), "1: 0 > ::bind(m_hSocket, (struct sockaddr *) &addr, sizeof(addr))\n");
}

TEST(UdpReceiver, PrintsTheFailedJoinOnAnUnknownInterfaceWithoutNewline)
{
    receiving receiver;
    support::captured_stdout output;
    EXPECT_FALSE(receiver.source.open("239.1.2.3", support::free_port(), "192.0.2.99"));
    EXPECT_EQ(output.text(),
              "::setsockopt(m_hSocket, IPPROTO_IP, IP_ADD_MEMBERSHIP, (char *)&mcast, sizeof(mcast)) < 0");
}

TEST(UdpReceiver, PrintsThatThereIsNoSocketWhenNoDescriptorIsLeft)
{
    receiving receiver;
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

TEST(UdpReceiver, KeepsItsBitRateWhenTheTrafficEnds)
{
    receiving receiver;
    const auto port = support::free_port();
    ASSERT_TRUE(receiver.source.open("", port, ""));
    const udp_sender sender{"127.0.0.1", port};
    sender.send(pattern(1000));
    ASSERT_TRUE(eventually([&] { return receiver.count() == 1; }));
    std::this_thread::sleep_for(2050ms);
    sender.send(pattern(1000));
    ASSERT_TRUE(eventually([&] { return receiver.count() == 2; }));
    const auto rate = receiver.bit_rate();
    EXPECT_NE(rate, "0");
    std::this_thread::sleep_for(2500ms);
    EXPECT_EQ(receiver.bit_rate(), rate);
    receiver.source.close();
    EXPECT_EQ(receiver.bit_rate(), rate);
}

TEST(UdpReceiver, KeepsTheSocketOfAFailedOpenUntilItIsClosed)
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

TEST(UdpReceiver, CanBeOpenedAgainAndThenGetsOnlyTheNewPort)
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

TEST(UdpReceiver, SetsTheBitRateOnlyAfterTwoSecondsOfTraffic)
{
    receiving receiver;
    const auto port = support::free_port();
    ASSERT_TRUE(receiver.source.open("", port, ""));
    const udp_sender sender{"127.0.0.1", port};
    sender.send(pattern(1000));
    sender.send(pattern(1000));
    ASSERT_TRUE(eventually([&] { return receiver.count() == 2; }));
    EXPECT_EQ(receiver.bit_rate(), "0");
    std::this_thread::sleep_for(2050ms);
    sender.send(pattern(500));
    ASSERT_TRUE(eventually([&] { return receiver.count() == 3; }));
    receiver.source.close();
    // The datagram that closes an interval counts in the next one. A machine so busy that more than 2.9 s went by
    // divides by a larger number of seconds.
    EXPECT_THAT(receiver.bit_rate(), testing::AnyOf("8000", "5333", "4000", "3200"));
}

TEST(UdpReceiver, RecordsAReceiveErrorAndGoesOn)
{
    receiving receiver;
    const auto port = support::free_port();
    const int socket = descriptor_opened_by([&] { ASSERT_TRUE(receiver.source.open("", port, "")); });
    // Connected to a port that nobody listens on, the socket is told so by the next datagram that it sends.
    sockaddr_in nobody{};
    nobody.sin_family = AF_INET;
    nobody.sin_port = htons(support::free_port());
    nobody.sin_addr.s_addr = ::inet_addr("127.0.0.1");
    ASSERT_EQ(::connect(socket, reinterpret_cast<sockaddr*>(&nobody), sizeof(nobody)), 0);
    ::send(socket, "x", 1, 0);
    EXPECT_TRUE(eventually([&] { return receiver.last_error() == "Connection refused"; }));
    sockaddr_in unconnected{};
    unconnected.sin_family = AF_UNSPEC;
    ::connect(socket, reinterpret_cast<sockaddr*>(&unconnected), sizeof(unconnected));
    receiver.source.close();
}

TEST(UdpReceiver, MakesAnExceptionOfTheCallbackTheLastErrorAndGoesOn)
{
    zq_net_statistics statistics;
    std::atomic<int> calls{0};
    zq_udp_source source{[&](unsigned long, unsigned char*, unsigned long) {
                             ++calls;
                             throw std::runtime_error("downstream says no");
                         },
                         statistics};
    const auto port = support::free_port();
    ASSERT_TRUE(source.open("", port, ""));
    const udp_sender sender{"127.0.0.1", port};
    sender.send(pattern(1));
    sender.send(pattern(1));
    ASSERT_TRUE(eventually([&] { return calls == 2; }));
    source.close();
    EXPECT_EQ(statistics.get_items()[3].second, "downstream says no");
}

TEST(UdpReceiver, WithoutACallbackRecordsTheError)
{
    zq_net_statistics statistics;
    zq_udp_source source{nullptr, statistics};
    const auto port = support::free_port();
    ASSERT_TRUE(source.open("", port, ""));
    udp_sender{"127.0.0.1", port}.send(pattern(1));
    EXPECT_TRUE(eventually([&] { return statistics.get_items()[3].second == "bad_function_call"; }));
}

TEST(UdpReceiver, WithoutTrafficCallsNobodyAndStillStops)
{
    receiving receiver;
    ASSERT_TRUE(receiver.source.open("", support::free_port(), ""));
    std::this_thread::sleep_for(1200ms);
    receiver.source.close();
    EXPECT_EQ(receiver.count(), 0U);
    EXPECT_EQ(receiver.bit_rate(), "0");
}

TEST(UdpReceiver, ReadOfAClosedReceiverReturnsZero)
{
    receiving receiver;
    unsigned char byte = 0;
    EXPECT_EQ(receiver.source.read(&byte, 1), 0);
}

namespace
{
/// An open receiver whose own thread stays away from the socket, so that a test can read it.
struct reading
{
    support::watchdog guard;
    zq_net_statistics statistics;
    std::promise<void> over;
    zq_udp_source source{nullptr, statistics, [this, waited = over.get_future().share()] { waited.wait(); }};
    std::uint16_t port = support::free_port();

    reading() { opened = source.open("", port, ""); }
    ~reading()
    {
        source.ask_to_stop();
        over.set_value();
    }
    bool opened = false;
};
} // namespace

TEST(UdpReceiver, ReadsADatagram)
{
    reading receiver;
    ASSERT_TRUE(receiver.opened);
    udp_sender{"127.0.0.1", receiver.port}.send(pattern(188));
    std::vector<unsigned char> buffer(1000);
    ASSERT_EQ(receiver.source.read(buffer.data(), buffer.size()), 188);
    buffer.resize(188);
    EXPECT_EQ(buffer, pattern(188));
}

TEST(UdpReceiver, ReadWaitsASecondForTrafficAndReturnsZeroWithoutIt)
{
    reading receiver;
    ASSERT_TRUE(receiver.opened);
    unsigned char byte = 0;
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(receiver.source.read(&byte, 1), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - before, 1s);
}

TEST(UdpReceiver, EndsOnAThreadOfTheCallersWhenThatOnesPromiseIsKept)
{
    const support::taken_port port;
    receiving receiver;
    {
        const support::captured_stdout output;
        // Leaves a socket without a thread of its own.
        ASSERT_FALSE(receiver.source.open("", port.number, ""));
    }
    std::promise<void> stop;
    std::atomic<bool> ended{false};
    std::string name(16, '\0');
    std::thread caller{[&] {
        receiver.source.work_thread(stop.get_future());
        ::pthread_getname_np(::pthread_self(), name.data(), name.size());
        ended = true;
    }};
    std::this_thread::sleep_for(20ms);
    EXPECT_FALSE(ended);
    stop.set_value();
    caller.join();
    EXPECT_STRNE(name.c_str(), "zqnetsource");
}

TEST(UdpReceiver, MayBeClosedTwiceAndWithoutHavingBeenOpened)
{
    receiving receiver;
    receiver.source.close();
    ASSERT_TRUE(receiver.source.open("", support::free_port(), ""));
    receiver.source.close();
    receiver.source.close();
}

TEST(UdpReceiver, GivesUpOnACallbackThatDoesNotReturnAndCollectsItLater)
{
    zq_net_statistics statistics;
    std::promise<void> release;
    std::atomic<bool> entered{false};
    zq_udp_source source{[&, blocked = release.get_future().share()](unsigned long, unsigned char*, unsigned long) {
                             entered = true;
                             blocked.wait();
                         },
                         statistics};
    const support::watchdog guard;
    const auto port = support::free_port();
    const int socket = descriptor_opened_by([&] { ASSERT_TRUE(source.open("", port, "")); });
    udp_sender{"127.0.0.1", port}.send(pattern(1));
    ASSERT_TRUE(eventually([&] { return entered.load(); }));
    EXPECT_FALSE(source.close_for(50ms));
    EXPECT_TRUE(source.stopping());
    EXPECT_LT(::fcntl(socket, F_GETFD), 0) << "the socket must not keep taking datagrams from a later one";
    release.set_value();
    EXPECT_TRUE(source.close_for(10s));
}

TEST(UdpReceiver, CannotBeCollectedOnItsOwnThread)
{
    zq_net_statistics statistics;
    std::promise<bool> collected;
    zq_udp_source* self = nullptr;
    zq_udp_source source{
        [&](unsigned long, unsigned char*, unsigned long) { collected.set_value(self->close_for(10s)); }, statistics};
    self = &source;
    const support::watchdog guard;
    const auto port = support::free_port();
    ASSERT_TRUE(source.open("", port, ""));
    udp_sender{"127.0.0.1", port}.send(pattern(1));
    EXPECT_FALSE(collected.get_future().get());
    source.close();
}

TEST(UdpReceiver, AbandonedKeepsItsOwnerUntilItsThreadEnds)
{
    struct owner
    {
        zq_net_statistics statistics;
        std::promise<void> release;
        std::shared_future<void> released{release.get_future()};
        std::atomic<bool> entered{false};
        zq_udp_source source{[this](unsigned long, unsigned char*, unsigned long) {
                                 entered = true;
                                 released.wait();
                             },
                             statistics};
    };
    const support::watchdog guard;
    auto owned = std::make_shared<owner>();
    const std::weak_ptr<owner> alive{owned};
    const auto port = support::free_port();
    ASSERT_TRUE(owned->source.open("", port, ""));
    udp_sender{"127.0.0.1", port}.send(pattern(1));
    ASSERT_TRUE(eventually([&] { return owned->entered.load(); }));
    ASSERT_FALSE(owned->source.close_for(1ms));
    owner& blocked = *owned;
    blocked.source.abandon(std::move(owned));
    EXPECT_FALSE(alive.expired());
    blocked.release.set_value();
    EXPECT_TRUE(eventually([&] { return alive.expired(); }));
}

TEST(UdpReceiver, WorksWithDescriptorsBeyondTheReachOfSelect)
{
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    const rlimit before = limit;
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, 2048);
    ::setrlimit(RLIMIT_NOFILE, &limit);
    std::vector<int> held;
    while (held.size() < 1100)
        held.push_back(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    ASSERT_GE(*std::max_element(held.begin(), held.end()), FD_SETSIZE);

    receiving receiver;
    const auto port = support::free_port();
    ASSERT_TRUE(receiver.source.open("", port, ""));
    udp_sender{"127.0.0.1", port}.send(pattern(188));
    EXPECT_TRUE(eventually([&] { return receiver.count() == 1; }));
    receiver.source.close();
    for (const int descriptor : held)
        ::close(descriptor);
    ::setrlimit(RLIMIT_NOFILE, &before);
}
