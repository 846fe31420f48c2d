// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net_source/zq_udp_source.h"

#include "support/element.h"
#include "support/net_sandbox.h"
#include "support/open_descriptors.h"
#include "support/receiving.h"
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

#include <atomic>
#include <future>
#include <stdexcept>
#include <thread>

namespace zq_udp_source_test
{
using namespace std::chrono_literals;
using support::descriptor_opened_by;
using support::eventually;
using support::pattern;
using support::receiving;
using support::udp_sender;

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

TEST(UdpReceiver, LetsADenseStreamGatherBeforeItReadsOn)
{
    constexpr unsigned count = 2500;
    zq_net_statistics statistics;
    std::atomic<unsigned> received{0};
    long sleeps = 0;
    zq_udp_source source{[&](std::uint64_t, unsigned char*, unsigned long) {
                             rusage usage{};
                             ::getrusage(RUSAGE_THREAD, &usage);
                             sleeps = usage.ru_nvcsw;
                             ++received;
                         },
                         statistics};
    const auto port = support::free_port();
    ASSERT_TRUE(source.open("127.0.0.1", port, ""));
    const udp_sender sender{"127.0.0.1", port};
    const auto datagram = pattern(1316);
    const auto begin = std::chrono::steady_clock::now();
    auto next = begin;
    for (unsigned i = 0; i < count; ++i, next += 40us) {
        while (std::chrono::steady_clock::now() < next) {
        }
        sender.send(datagram);
    }
    const auto took = std::chrono::steady_clock::now() - begin;
    EXPECT_TRUE(eventually([&] { return received == count; }));
    source.close();
    if (took > count * 60us)
        GTEST_SKIP() << "what a busy machine sent was not dense";
    EXPECT_LT(sleeps, count / 2) << "one waits for each as long as nobody lets them gather";
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
    zq_udp_source source{[&](std::uint64_t, unsigned char*, unsigned long) {
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

/// An open receiver whose own thread stays away from the socket, so that a test can read it.
struct reading
{
    support::watchdog guard;
    zq_net_statistics statistics;
    std::promise<void> over;
    zq_udp_source source{nullptr, statistics, [waited = over.get_future().share()] { waited.wait(); }};
    std::uint16_t port = support::free_port();

    reading() { opened = source.open("", port, ""); }
    ~reading()
    {
        source.ask_to_stop();
        over.set_value();
    }
    bool opened = false;
};

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
    zq_udp_source source{[&, blocked = release.get_future().share()](std::uint64_t, unsigned char*, unsigned long) {
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
        [&](std::uint64_t, unsigned char*, unsigned long) { collected.set_value(self->close_for(10s)); }, statistics};
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
        zq_udp_source source{[this](std::uint64_t, unsigned char*, unsigned long) {
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
} // namespace zq_udp_source_test
