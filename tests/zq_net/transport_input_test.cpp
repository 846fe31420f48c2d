// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/transport_input.h"

#include "support/RTP.h"
#include "support/kernel_stamps.h"
#include "support/net_sandbox.h"
#include "support/socket_drops.h"
#include "support/udp_sender.h"
#include "support/watchdog.h"

#include <gtest/gtest.h>

#include <sys/resource.h>

#include <cstdlib>
#include <future>
#include <memory>
#include <random>
#include <thread>
#include <tuple>

namespace transport_input_test
{
using support::pattern;
using support::rtp_datagram;
using zq_net::transport_input;
using result = transport_input::result;

using bytes = std::vector<unsigned char>;

/// An input on free ports of the loopback, with a sender to each leg.
struct stand
{
    explicit stand(zq_net::input_settings settings = {}, std::size_t legs = 1)
    {
        for (std::size_t leg = 0; leg < legs; ++leg) {
            const auto port = support::free_port();
            settings.legs.push_back({"127.0.0.1", port, "", {}, 0});
            senders.push_back(std::make_unique<support::udp_sender>("127.0.0.1", port));
        }
        EXPECT_TRUE(input.open(settings)) << input.error();
    }
    void send(const bytes& datagram, std::size_t leg = 0) const { senders[leg]->send(datagram); }
    result receive()
    {
        memory.resize(transport_input::most_slots * 2048);
        EXPECT_LE(input.wanted_slots(), transport_input::most_slots);
        const auto got = input.receive(memory.data(), input.wanted_slots(), input.wanted_slot_size());
        for (const auto& piece : input.pieces()) {
            gaps += piece.gap ? 1 : 0;
            out.insert(out.end(), piece.data, piece.data + piece.size);
        }
        return got;
    }
    /// For an input that does not wait.
    bool receives_data()
    {
        return support::eventually([this] { return receive() == result::data; });
    }
    /// More than any buffer holds that the test may get; the number sent.
    std::uint64_t overflow(const bytes& datagram)
    {
        const int enough = input.figures().legs[0].buffer_got / 500 + 1000;
        for (int i = 0; i < enough; ++i)
            send(datagram);
        // A busy kernel puts the last ones into the socket a moment later.
        std::this_thread::sleep_for(std::chrono::milliseconds{20});
        return static_cast<std::uint64_t>(enough);
    }
    /// With a longest wait: all that lies there. What was lost on the way to the socket counts nowhere, so nobody knows
    /// how many these are.
    void receive_all()
    {
        while (receive() != result::nothing) {
        }
    }
    std::uint64_t kernel_drops() { return input.figures().legs[0].kernel_drops; }
    std::uint64_t socket_drops() const { return support::socket_drops(input.address().port()); }
    void receive_until(std::size_t size)
    {
        while (out.size() < size)
            receive();
    }
    void receive_datagrams(std::uint64_t count)
    {
        const auto received = [this] {
            const auto figures = input.figures();
            return figures.legs[0].datagrams + figures.legs[1].datagrams;
        };
        while (received() < count)
            receive();
    }

    support::watchdog guard;
    support::kernel_stamps stamps;
    transport_input input;
    std::vector<std::unique_ptr<support::udp_sender>> senders;
    bytes memory;
    bytes out;
    int gaps = 0;
};

bytes joined(const std::vector<bytes>& parts)
{
    bytes all;
    for (const bytes& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

zq_net::input_settings with_rtp(zq_net::rtp_mode mode)
{
    zq_net::input_settings settings;
    settings.rtp = mode;
    return settings;
}

TEST(TransportInput, LendsWhatItReceivedUncopied)
{
    stand to;
    to.send(pattern(1316));
    EXPECT_EQ(to.receive(), result::data);
    ASSERT_EQ(to.input.pieces().size(), 1U);
    EXPECT_EQ(to.input.pieces()[0].data, to.memory.data());
    EXPECT_EQ(to.out, pattern(1316));
}

TEST(TransportInput, ThatDoesNotWaitTakesWhatLiesThereAndComesBack)
{
    const support::watchdog watchdog;
    zq_net::input_settings settings;
    settings.waits = false;
    stand to{settings};
    EXPECT_EQ(to.receive(), result::nothing);
    to.send(pattern(1316));
    EXPECT_TRUE(to.receives_data());
    EXPECT_EQ(to.out, pattern(1316));
    EXPECT_EQ(to.receive(), result::nothing);
}

TEST(TransportInput, ThatDoesNotWaitWaitsForNoBatchEither)
{
    zq_net::input_settings settings;
    settings.waits = false;
    settings.batch_time = 600'000; // far beyond the watchdog
    stand to{settings};
    EXPECT_EQ(to.input.batch_wait(), 0U);
    for (unsigned i = 0; i < 3; ++i) {
        to.send(pattern(1316, i));
        to.send(pattern(1316, i));
        EXPECT_TRUE(to.receives_data());
    }
}

/// `datagrams` lie on the first of `legs` for a read with room for `slots`.
bool has_more_behind(std::size_t datagrams, std::size_t slots, std::size_t legs = 1)
{
    stand to{{}, legs};
    for (std::size_t i = 0; i < datagrams; ++i)
        to.send(rtp_datagram(static_cast<std::uint16_t>(i), pattern(1316)));
    // Loopback may be late.
    std::this_thread::sleep_for(std::chrono::milliseconds{20});
    to.memory.resize(slots * 2048);
    EXPECT_FALSE(to.input.has_more());
    EXPECT_EQ(to.input.receive(to.memory.data(), slots, 2048), result::data);
    return to.input.has_more();
}

TEST(TransportInput, TellsWhetherALegMayHaveMoreThanItHadRoomFor)
{
    EXPECT_FALSE(has_more_behind(3, 4));
    EXPECT_TRUE(has_more_behind(5, 4));
    // The other one is silent and half of the memory its own.
    EXPECT_FALSE(has_more_behind(1, 4, 2));
    EXPECT_TRUE(has_more_behind(3, 4, 2));
}

TEST(TransportInput, HasNoMoreWhenItWasInterruptedBeforeItRead)
{
    stand to;
    for (unsigned i = 0; i < 3; ++i)
        to.send(pattern(1316, i));
    to.memory.resize(2048);
    EXPECT_EQ(to.input.receive(to.memory.data(), 1, 2048), result::data);
    EXPECT_TRUE(to.input.has_more());
    to.input.interrupt();
    EXPECT_EQ(to.input.receive(to.memory.data(), 1, 2048), result::interrupted);
    EXPECT_FALSE(to.input.has_more());
}

TEST(TransportInput, NotesEachDatagramOfAPieceWhenItIsToldTo)
{
    for (const bool wanted : {false, true}) {
        zq_net::input_settings settings;
        settings.notes = wanted;
        stand to{settings};
        const std::uint64_t before = zq_net::real_time();
        to.send(rtp_datagram(1, pattern(188, 1)));
        to.send(rtp_datagram(2, pattern(376, 2)));
        std::vector<zq_net::datagram_note> notes;
        while (to.out.size() < 3 * 188) {
            to.receive();
            notes.insert(notes.end(), to.input.notes().begin(), to.input.notes().end());
        }
        ASSERT_EQ(notes.size(), wanted ? 2U : 0U);
        if (!wanted)
            continue;
        EXPECT_EQ(notes[0].payload_size, 188U); // without the header of RTP
        EXPECT_EQ(notes[1].payload_size, 376U);
        EXPECT_GE(notes[0].arrival, before);
        EXPECT_GE(notes[1].arrival, notes[0].arrival);
    }
}

TEST(TransportInput, ThatDoesNotWaitLetsAPacketOutOfOrderGoWhenItsTimeIsOver)
{
    const support::watchdog watchdog;
    zq_net::input_settings settings;
    settings.waits = false;
    stand to{settings};
    to.send(rtp_datagram(1, pattern(188, 1)));
    to.send(rtp_datagram(3, pattern(188, 3)));
    while (to.out.size() < 2 * 188)
        to.receive();
    EXPECT_EQ(to.gaps, 1);
    EXPECT_EQ(to.input.figures().rtp_lost, 1U);
}

TEST(TransportInput, MakesOnePieceOfABurst)
{
    stand to;
    for (unsigned i = 0; i < 64; ++i)
        to.send(pattern(1316, i));
    std::vector<bytes> sent;
    std::size_t calls = 0;
    while (to.out.size() < 64 * 1316) {
        to.receive();
        // A machine that is busy may send with pauses, whose length is told by another piece.
        const auto& pieces = to.input.pieces();
        for (std::size_t i = 1; i < pieces.size(); ++i)
            EXPECT_GE(pieces[i].arrival, pieces[i - 1].arrival + 10'000'000);
        ++calls;
    }
    for (unsigned i = 0; i < 64; ++i)
        sent.push_back(pattern(1316, i));
    EXPECT_EQ(to.out, joined(sent));
    EXPECT_LE(calls, 8U) << "2, 4, 8, 16, 32 and the rest";
}

TEST(TransportInput, CountsDatagramsBytesAndSenders)
{
    stand to;
    const support::udp_sender other{"127.0.0.1", to.input.address().port()};
    to.send(pattern(1316));
    other.send(pattern(188));
    to.send(pattern(1316));
    to.receive_datagrams(3);
    const auto figures = to.input.figures();
    EXPECT_EQ(figures.legs[0].datagrams, 3U);
    EXPECT_EQ(figures.legs[0].bytes, 2820U);
    EXPECT_EQ(figures.senders, 2U);
    EXPECT_NE(figures.legs[0].last_arrival, 0U);
    EXPECT_GT(figures.legs[0].buffer_got, 0);
}

TEST(TransportInput, JoinsPacketsAcrossDatagrams)
{
    stand to;
    const bytes all = pattern(1316);
    to.send({all.begin(), all.begin() + 500});
    to.send({all.begin() + 500, all.end()});
    to.receive_until(1316);
    EXPECT_EQ(to.out, all);
}

TEST(TransportInput, LeavesBytesAsTheyAreWithoutAlignment)
{
    zq_net::input_settings settings;
    settings.align = false;
    stand to{settings};
    to.send(bytes(500, 0x11));
    to.receive();
    EXPECT_EQ(to.out, bytes(500, 0x11));
}

TEST(TransportInput, DropsAndCountsDatagramsThatAreNoTransportStream)
{
    stand to;
    to.send(bytes(1316, 0x11));
    to.send({});
    to.send(pattern(1316));
    to.receive_until(1316);
    EXPECT_EQ(to.out, pattern(1316));
    EXPECT_EQ(to.input.figures().not_ts, 2U);
}

TEST(TransportInput, StripsRtpAndPutsItInOrder)
{
    stand to;
    to.send(rtp_datagram(65535, pattern(1316, 1)));
    to.send(rtp_datagram(1, pattern(1316, 3)));
    to.send(rtp_datagram(0, pattern(1316, 2)));
    to.send(rtp_datagram(0, pattern(1316, 2)));
    to.send(rtp_datagram(2, pattern(1316, 4)));
    to.receive_datagrams(5);
    EXPECT_EQ(to.out, joined({pattern(1316, 1), pattern(1316, 2), pattern(1316, 3), pattern(1316, 4)}));
    EXPECT_EQ(to.gaps, 0);
    EXPECT_TRUE(to.input.sees_rtp());
    const auto figures = to.input.figures();
    EXPECT_EQ(figures.legs[0].rtp.reordered, 1U);
    EXPECT_EQ(figures.legs[0].rtp.repeated, 1U);
    EXPECT_EQ(figures.rtp_lost, 0U);
}

TEST(TransportInput, GivesUpWaitingForALostRtpPacketAndMarksTheGap)
{
    stand to;
    to.send(rtp_datagram(10, pattern(1316, 1)));
    to.send(rtp_datagram(12, pattern(1316, 2)));
    to.receive_until(2 * 1316);
    EXPECT_EQ(to.gaps, 1);
    EXPECT_EQ(to.input.figures().rtp_lost, 1U);
}

TEST(TransportInput, DropsWhatIsNoRtpWhereThatIsDemanded)
{
    stand to{with_rtp(zq_net::rtp_mode::on)};
    to.send(pattern(1316, 1));
    to.send(rtp_datagram(1, pattern(1316, 2)));
    to.receive_until(1316);
    EXPECT_EQ(to.out, pattern(1316, 2));
    EXPECT_EQ(to.input.figures().not_ts, 1U);
}

TEST(TransportInput, TakesDatagramsOfAnySize)
{
    stand to;
    const bytes largest = pattern(188 * 348); // 65424 bytes
    for (const bytes& datagram : {pattern(1316), largest, pattern(188), largest, pattern(1316)})
        to.send(datagram);
    to.receive_until(2 * 1316 + 188 + 2 * largest.size());
    EXPECT_EQ(to.out, joined({pattern(1316), largest, pattern(188), largest, pattern(1316)}));
}

TEST(TransportInput, TakesDatagramsThatCameInFragments)
{
    if (!support::in_net_sandbox() || std::system("ip link set lo mtu 1500 >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "needs a network of its own, and the program ip";
    stand to;
    const bytes large = pattern(188 * 100);
    to.send(large);
    to.send(pattern(1316));
    to.send(large);
    to.receive_until(2 * large.size() + 1316);
    EXPECT_EQ(std::system("ip link set lo mtu 65536"), 0);
    EXPECT_EQ(to.out, joined({large, pattern(1316), large}));
}

TEST(TransportInput, FollowsTheContinuityCounters)
{
    stand to;
    bytes first = pattern(188), second = pattern(188);
    first[1] = second[1] = 1;
    first[3] = 0x10;
    second[3] = 0x13;
    to.send(first);
    to.send(second);
    to.receive_datagrams(2);
    EXPECT_EQ(to.input.figures().continuity_errors, 1U);
}

TEST(TransportInput, CountsNoContinuityErrorWhereAnotherSenderBegins)
{
    stand to;
    bytes first = pattern(188), second = pattern(188);
    first[1] = second[1] = 1;
    first[3] = 0x10;
    second[3] = 0x13;
    to.send(rtp_datagram(1, first, 1));
    to.send(rtp_datagram(900, second, 2));
    to.receive_datagrams(2);
    EXPECT_EQ(to.input.figures().continuity_errors, 0U);
    EXPECT_EQ(to.input.figures().sender_changes, 1U);
    EXPECT_EQ(to.gaps, 1);
}

TEST(TransportInput, CountsNoContinuityErrorWhereASenderCountsAnew)
{
    stand to;
    const auto packet = [](unsigned char continuity_counter) {
        bytes made = pattern(188);
        made[1] = 1;
        made[3] = static_cast<unsigned char>(0x10 | continuity_counter);
        return made;
    };
    to.send(rtp_datagram(20000, packet(0)));
    to.send(rtp_datagram(7, packet(5)));
    to.send(rtp_datagram(8, packet(6)));
    to.receive_until(3 * 188);
    EXPECT_EQ(to.input.figures().continuity_errors, 0U);
    EXPECT_EQ(to.input.figures().sender_changes, 1U);
}

TEST(TransportInput, IsInterruptedWhileItWaitsAndUntilItIsResumed)
{
    stand to;
    auto received = std::async(std::launch::async, [&] { return to.receive(); });
    to.input.interrupt();
    EXPECT_EQ(received.get(), result::interrupted);
    EXPECT_EQ(to.receive(), result::interrupted);
    to.input.resume();
    std::atomic<bool> done{false};
    std::thread sending{[&] {
        while (!done) {
            to.send(pattern(1316));
            std::this_thread::sleep_for(std::chrono::milliseconds{1});
        }
    }};
    to.receive_until(1316);
    done = true;
    sending.join();
}

TEST(TransportInput, IsInterruptedWhileItOpensItsSocketsAgain)
{
    stand to;
    std::atomic<bool> done{false};
    std::thread reading{[&] {
        // Holds up whoever opens or interrupts.
        while (!done)
            std::ignore = to.input.figures();
    }};
    for (int i = 0; i < 300; ++i) {
        to.input.interrupt();
        to.input.resume();
        std::atomic<bool> begins{false};
        auto received = std::async(std::launch::async, [&] {
            begins = true;
            return to.receive();
        });
        while (!begins)
            std::this_thread::yield();
        to.input.interrupt();
        EXPECT_EQ(received.get(), result::interrupted);
    }
    done = true;
    reading.join();
}

TEST(TransportInput, IsInterruptedInAnyOfItsWaits)
{
    zq_net::input_settings waiting;
    waiting.batch_time = 100000;
    for (const std::size_t legs : {1U, 2U}) {
        stand to{waiting, legs};
        to.send(legs == 1 ? pattern(1316) : rtp_datagram(1, pattern(1316)));
        auto received = std::async(std::launch::async, [&] {
            while (to.receive() != result::interrupted) {
            }
        });
        std::this_thread::sleep_for(std::chrono::milliseconds{20});
        to.input.interrupt();
        received.get();
    }
}

TEST(TransportInput, DropsWhatCameWhileItWasIdle)
{
    stand to;
    to.send(rtp_datagram(1, pattern(1316, 1)));
    to.receive();
    to.input.set_idle(true);
    for (std::uint16_t i = 2; i < 60; ++i)
        to.send(rtp_datagram(i, pattern(1316, i)));
    to.receive();
    EXPECT_EQ(to.out, pattern(1316, 1));
    to.input.set_idle(false);
    to.send(rtp_datagram(60, pattern(1316, 60)));
    to.receive_until(2 * 1316);
    EXPECT_EQ(to.out, joined({pattern(1316, 1), pattern(1316, 60)}));
    EXPECT_EQ(to.gaps, 1);
    const auto figures = to.input.figures();
    EXPECT_EQ(figures.legs[0].datagrams, 2U);
    EXPECT_EQ(figures.rtp_lost, 0U) << "was not listened to";
}

TEST(TransportInput, MarksTheGapOfAPauseBehindAnEmptyDatagramToo)
{
    zq_net::input_settings settings;
    settings.align = false;
    stand to{settings};
    to.send(pattern(1316, 1));
    to.receive();
    to.input.set_idle(true);
    to.input.set_idle(false);
    to.send({});
    to.send(pattern(1316, 2));
    to.receive_until(2 * 1316);
    EXPECT_EQ(to.gaps, 1);
}

TEST(TransportInput, IsIdleFromTheStartWhenToldBefore)
{
    stand to;
    to.input.set_idle(true);
    zq_net::input_settings settings;
    settings.legs.push_back({"127.0.0.1", to.input.address().port(), "", {}, 0});
    to.input.close();
    ASSERT_TRUE(to.input.open(settings));
    to.send(pattern(1316, 1));
    EXPECT_EQ(to.receive(), result::nothing);
    to.send(pattern(1316, 2));
    to.input.set_idle(false);
    to.send(pattern(1316, 3));
    to.receive_until(1316);
    EXPECT_EQ(to.out, pattern(1316, 3));
}

TEST(TransportInput, SaysWhenNothingCame)
{
    zq_net::input_settings settings;
    settings.longest_wait = 1;
    stand to{settings};
    EXPECT_EQ(to.receive(), result::nothing);
    EXPECT_EQ(to.input.figures().bit_rate, 0U);
}

TEST(TransportInput, ForgetsTheBatchTimeOfItsLastFlowWhenItIsOpenedAnew)
{
    zq_net::input_settings settings;
    settings.batch_time = 10;
    stand to{settings};
    to.send(pattern(1316, 1));
    to.send(pattern(1316, 2));
    to.memory.resize(8 * 1316);
    EXPECT_EQ(to.input.receive(to.memory.data(), 8, 1316), result::data);
    settings.batch_time = 0;
    settings.legs.push_back({"127.0.0.1", to.input.address().port(), "", {}, 0});
    to.input.close();
    ASSERT_TRUE(to.input.open(settings)) << to.input.error();
    to.send(pattern(1316, 3));
    to.receive_until(1316);
    EXPECT_EQ(to.out, pattern(1316, 3));
}

TEST(TransportInput, WaitsForMoreBehindADatagram)
{
    zq_net::input_settings settings;
    settings.batch_time = 300;
    stand to{settings};
    std::thread sending{[&] {
        std::this_thread::sleep_for(std::chrono::milliseconds{20});
        to.send(pattern(1316, 1));
        to.send(pattern(1316, 2));
    }};
    EXPECT_EQ(to.receive(), result::data);
    sending.join();
    EXPECT_EQ(to.out, joined({pattern(1316, 1), pattern(1316, 2)}));
}

TEST(TransportInput, KeepsWhatOfADatagramIsLongerThanItsSlotWhileItWaitsForMore)
{
    const std::vector<bytes> sizes[] = {{pattern(21 * 188, 1), pattern(21 * 188, 2)},
                                        {rtp_datagram(1, pattern(1316, 1)), rtp_datagram(2, pattern(1316, 2))}};
    for (const auto& datagrams : sizes) {
        zq_net::input_settings settings;
        settings.batch_time = 300;
        stand to{settings};
        std::thread sending{[&] {
            for (const bytes& datagram : datagrams) {
                std::this_thread::sleep_for(std::chrono::milliseconds{20});
                to.send(datagram);
            }
        }};
        const std::size_t header = datagrams[0].size() % 188;
        const auto payload = [&](std::size_t i) { return bytes{datagrams[i].begin() + header, datagrams[i].end()}; };
        const bytes all = joined({payload(0), payload(1)});
        to.receive_until(all.size());
        sending.join();
        EXPECT_EQ(to.out, all);
    }
}

TEST(TransportInput, TellsWhyItCouldNotBeOpened)
{
    const support::taken_port port;
    zq_net::input_settings settings;
    settings.legs.push_back({"127.0.0.1", port.number, "", {}, 0});
    transport_input input;
    EXPECT_FALSE(input.open(settings));
    EXPECT_EQ(input.error(), "cannot receive on 127.0.0.1:" + std::to_string(port.number) + ": Address already in use");
}

/// Such that receive() says when nothing more lies there.
zq_net::input_settings limited()
{
    zq_net::input_settings settings;
    settings.longest_wait = 100;
    return settings;
}

TEST(TransportInput, CountsWhatTheKernelDropped)
{
    stand to{limited()};
    const auto sent = to.overflow(pattern(1316));
    const auto dropped = to.kernel_drops();
    EXPECT_GT(dropped, 0U);
    EXPECT_EQ(dropped, to.socket_drops());
    to.receive_all();
    EXPECT_LE(to.input.figures().legs[0].datagrams + dropped, sent);
    to.input.close();
    EXPECT_EQ(to.kernel_drops(), dropped);
}

TEST(TransportInput, MarksTheGapWhereTheKernelDropped)
{
    stand to{limited()};
    to.overflow(pattern(1316));
    to.receive_all();
    EXPECT_EQ(to.gaps, 0);
    for (int i = 0; i < 2; ++i) {
        const std::size_t had = to.out.size();
        to.send(pattern(1316));
        to.receive_until(had + 1316);
        EXPECT_EQ(to.gaps, 1);
    }
}

TEST(TransportInput, MarksTheGapWhereTheKernelDroppedBehindAnEmptyDatagramToo)
{
    for (const bool align : {false, true}) {
        auto settings = limited();
        settings.align = align;
        stand to{settings};
        to.overflow(pattern(1316));
        to.receive_all();
        const std::size_t had = to.out.size();
        to.send({});
        to.send(pattern(1316));
        to.receive_until(had + 1316);
        EXPECT_EQ(to.gaps, 1);
    }
}

TEST(TransportInput, JoinsNoPacketOfTwoPartsBetweenWhichTheKernelDropped)
{
    stand to{limited()};
    const bytes packets = pattern(2 * 1316);
    const bytes first(packets.begin(), packets.begin() + 1400), second(packets.begin() + 1400, packets.end());
    to.overflow(first);
    to.receive_all();
    to.out.clear();
    to.send(second);
    to.receive_all();
    // What completes the packet that was begun is not of it.
    EXPECT_EQ(to.out, bytes(packets.begin() + 8 * 188, packets.end()));
}

TEST(TransportInput, LeavesOutWhatTheKernelDroppedWhileItWasIdle)
{
    stand to;
    to.overflow(pattern(1316));
    const auto before = to.socket_drops();
    EXPECT_GT(before, 0U);
    // Not read before: what was dropped up to the pause counts all the same.
    to.input.set_idle(true);
    to.overflow(pattern(1316));
    EXPECT_EQ(to.kernel_drops(), before);
    to.input.set_idle(false);
    EXPECT_EQ(to.kernel_drops(), before);
    const auto idle = to.socket_drops() - before;
    to.overflow(pattern(1316));
    const auto behind = to.kernel_drops();
    EXPECT_GT(behind, before);
    EXPECT_EQ(behind, to.socket_drops() - idle);
    to.input.set_idle(true);
    to.overflow(pattern(1316));
    to.input.close();
    EXPECT_EQ(to.kernel_drops(), behind);
}

TEST(TransportInputWithTwoLegs, MissesNothingThatOneOfThemBrings)
{
    stand to{{}, 2};
    std::vector<bytes> sent;
    for (unsigned i = 0; i < 400; ++i) {
        const bytes payload = pattern(1316, i);
        sent.push_back(payload);
        if (i % 20 != 3)
            to.send(rtp_datagram(static_cast<std::uint16_t>(65400 + i), payload), 0);
        if (i % 20 != 11)
            to.send(rtp_datagram(static_cast<std::uint16_t>(65400 + i), payload), 1);
        if (i % 20 == 19)
            to.receive_datagrams((i + 1) / 20 * 38);
    }
    to.receive_until(400 * 1316);
    EXPECT_EQ(to.out, joined(sent));
    EXPECT_EQ(to.gaps, 0);
    const auto figures = to.input.figures();
    EXPECT_EQ(figures.rtp_lost, 0U);
    EXPECT_EQ(figures.legs[0].rtp.lost, 20U);
    EXPECT_EQ(figures.legs[1].rtp.lost, 20U);
}

TEST(TransportInputWithTwoLegs, MissesAndCountsExactlyWhatBothLost)
{
    std::mt19937 random{17};
    stand to{{}, 2};
    std::vector<bytes> expected;
    unsigned both = 0;
    std::uint64_t datagrams = 0;
    for (unsigned i = 0; i < 3000; ++i) {
        const bytes payload = pattern(188, i);
        const bool edge = i == 0 || i == 2999;
        const bool first = edge || random() % 20 != 0, second = edge || random() % 20 != 0;
        if (first)
            to.send(rtp_datagram(static_cast<std::uint16_t>(i), payload), 0);
        if (second)
            to.send(rtp_datagram(static_cast<std::uint16_t>(i), payload), 1);
        datagrams += (first ? 1U : 0U) + (second ? 1U : 0U);
        if (first || second)
            expected.push_back(payload);
        else
            ++both;
        if (i % 20 == 19)
            to.receive_datagrams(datagrams);
    }
    to.receive_until(expected.size() * 188);
    EXPECT_EQ(to.out, joined(expected));
    EXPECT_GT(both, 0U);
    EXPECT_EQ(to.input.figures().rtp_lost, both);
}

TEST(TransportInputWithTwoLegs, GivesUpNothingThatLiesUnreadOnTheOtherOne)
{
    stand to{{}, 2};
    // Number 1 lies on the second leg, behind more than one call reads and longer than a packet is waited for.
    to.send(rtp_datagram(0, pattern(188, 0)), 0);
    to.send(rtp_datagram(2, pattern(188, 2)), 0);
    for (unsigned i = 0; i < 40; ++i)
        to.send(rtp_datagram(0, pattern(188, 0)), 1);
    to.send(rtp_datagram(1, pattern(188, 1)), 1);
    std::this_thread::sleep_for(std::chrono::nanoseconds{transport_input::reorder_wait_two_legs});
    to.receive_until(3 * 188);
    EXPECT_EQ(to.out, joined({pattern(188, 0), pattern(188, 1), pattern(188, 2)}));
    EXPECT_EQ(to.input.figures().rtp_lost, 0U);
}

TEST(TransportInput, CanTellTheArrivalOfEachDatagram)
{
    zq_net::input_settings settings;
    settings.align = false;
    settings.waits = false;
    settings.joins = false;
    stand to{settings};
    to.memory.resize(transport_input::most_slots * 2048);
    to.send(pattern(1316));
    to.send(pattern(1316));
    std::size_t pieces = 0;
    while (to.input.figures().legs[0].datagrams < 2) {
        (void)to.input.receive(to.memory.data(), 8, 1316);
        pieces += to.input.pieces().size();
    }
    EXPECT_EQ(pieces, 2U);
}

TEST(TransportInput, OfADenseStreamDoesNotRestWhereItDoesNotWait)
{
    zq_net::input_settings settings;
    settings.waits = false;
    stand to{settings};
    EXPECT_EQ(to.input.batch_wait(), 0U);
    const auto sleeps = [] {
        rusage usage{};
        getrusage(RUSAGE_THREAD, &usage);
        return usage.ru_nvcsw;
    };
    const auto receive_dense = [&] {
        to.send(pattern(1316));
        to.send(pattern(1316));
        const auto before = sleeps();
        while (to.receive() != result::data) {
        }
        return sleeps() - before;
    };
    for (int round = 0; round < 100; ++round) // until it is known to be dense
        (void)receive_dense();
    long slept = 0;
    for (int round = 0; round < 100; ++round)
        slept += receive_dense();
    EXPECT_LT(slept, 50) << "with a rest in front of each it would be a hundred";
}
} // namespace transport_input_test
