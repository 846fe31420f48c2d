// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/datagram_reader.h"

#include "support/udp_sender.h"
#include "support/watchdog.h"
#include "zq_net/udp_socket.h"

#include <gtest/gtest.h>

#include <thread>

namespace datagram_reader_test
{
using support::pattern;

struct stand
{
    stand()
    {
        std::string error;
        EXPECT_TRUE(socket.open({"127.0.0.1", 0, "", {}, 0}, error)) << error;
        sender = std::make_unique<support::udp_sender>("127.0.0.1", socket.address().port());
    }
    int read(std::size_t count, bool wait = true)
    {
        return reader.read(socket.descriptor(), memory.data(), 1316, count, wait);
    }
    std::vector<unsigned char> bytes(std::size_t index) const
    {
        return {reader[index].data, reader[index].data + reader[index].size};
    }

    support::watchdog guard;
    zq_net::udp_socket socket;
    std::unique_ptr<support::udp_sender> sender;
    zq_net::datagram_reader reader{4};
    std::vector<unsigned char> memory = std::vector<unsigned char>(4 * 1316);
};

TEST(DatagramReader, PutsDatagramsSideBySide)
{
    stand to;
    for (unsigned i = 0; i < 3; ++i)
        to.sender->send(pattern(1316, i));
    ASSERT_EQ(to.read(4), 3);
    for (unsigned i = 0; i < 3; ++i) {
        EXPECT_EQ(to.reader[i].data, to.memory.data() + i * 1316);
        EXPECT_EQ(to.bytes(i), pattern(1316, i));
    }
}

TEST(DatagramReader, ReadsNoMoreThanItIsGivenRoomFor)
{
    stand to;
    for (unsigned i = 0; i < 6; ++i)
        to.sender->send(pattern(188, i));
    EXPECT_EQ(to.read(2), 2);
    EXPECT_EQ(to.read(9), 4);
    EXPECT_EQ(to.bytes(3), pattern(188, 5));
}

TEST(DatagramReader, GivesLongDatagramsWholeAndEmptyOnesToo)
{
    stand to;
    for (const std::size_t size : {1317U, 65507U, 0U, 1U})
        to.sender->send(pattern(size, 9));
    ASSERT_EQ(to.read(4), 4);
    EXPECT_EQ(to.bytes(0), pattern(1317, 9));
    EXPECT_EQ(to.bytes(1), pattern(65507, 9));
    EXPECT_EQ(to.reader[2].size, 0U);
    EXPECT_EQ(to.bytes(3), pattern(1, 9));
    EXPECT_FALSE(to.reader[1].truncated);
}

TEST(DatagramReader, LeavesTheBytesWhereTheyAreWhenItLendsTheRestToOthers)
{
    stand to, other;
    for (const std::size_t size : {188U, 65507U})
        to.sender->send(pattern(size, 1));
    ASSERT_EQ(to.read(4), 2);
    const auto first = to.reader[0];
    const auto second = to.reader[1];
    to.reader.release();
    for (const std::size_t size : {65507U, 188U})
        other.sender->send(pattern(size, 2));
    ASSERT_EQ(other.read(4), 2);
    EXPECT_EQ(std::vector<unsigned char>(first.data, first.data + first.size), pattern(188, 1));
    EXPECT_EQ(std::vector<unsigned char>(second.data, second.data + second.size), pattern(65507, 1));

    to.reader.release();
    to.sender->send(pattern(376, 3));
    ASSERT_EQ(to.read(4), 1);
    EXPECT_EQ(to.bytes(0), pattern(376, 3));
    EXPECT_EQ(other.bytes(0), pattern(65507, 2));
}

TEST(DatagramReader, TellsWhatItHadToCut)
{
    stand to;
    to.reader = zq_net::datagram_reader{4, 2000};
    to.sender->send(pattern(2001));
    to.sender->send(pattern(2000));
    ASSERT_EQ(to.read(4), 2);
    EXPECT_TRUE(to.reader[0].truncated);
    EXPECT_EQ(to.reader[0].size, 2000U);
    EXPECT_FALSE(to.reader[1].truncated);
    EXPECT_EQ(to.bytes(1), pattern(2000));
}

TEST(DatagramReader, TellsWhenTheKernelGotADatagram)
{
    stand to;
    const auto before = zq_net::real_time();
    to.sender->send(pattern(188));
    ASSERT_EQ(to.read(4), 1);
    const auto after = zq_net::real_time();
    EXPECT_GE(to.reader[0].arrival, before);
    EXPECT_LE(to.reader[0].arrival, after);
}

TEST(DatagramReader, TellsTheSender)
{
    stand to;
    to.sender->send(pattern(188));
    ASSERT_EQ(to.read(4), 1);
    EXPECT_EQ(to.reader[0].sender->ss_family, AF_INET);
    EXPECT_EQ(to.reader[0].sender_size, sizeof(sockaddr_in));
}

TEST(DatagramReader, DoesNotWaitUnlessTold)
{
    stand to;
    EXPECT_EQ(to.read(4, false), 0);
}

TEST(DatagramReader, IsWokenByAnInterruptionAndGivesNothing)
{
    stand to;
    std::thread interrupter{[&] { to.socket.interrupt(); }};
    EXPECT_EQ(to.read(4), 0);
    interrupter.join();
    EXPECT_EQ(to.read(4), 0);
}

TEST(DatagramReader, TellsAnErrorOfTheSocket)
{
    stand to;
    EXPECT_EQ(to.reader.read(-1, to.memory.data(), 1316, 4, true), -1);
    EXPECT_EQ(errno, EBADF);
}
} // namespace datagram_reader_test
