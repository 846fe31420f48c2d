// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/transport_input.h"

#include "support/RTP.h"
#include "support/kernel_stamps.h"
#include "support/net_sandbox.h"
#include "support/udp_sender.h"
#include "support/watchdog.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace resting_input_test
{
using support::pattern;
using zq_net::transport_input;
using result = transport_input::result;
using bytes = std::vector<unsigned char>;

/// An input with a batch time, or none, and its sender.
struct stand
{
    explicit stand(unsigned batch_time = 0, std::size_t legs = 1) : sender{"127.0.0.1", port}
    {
        zq_net::input_settings settings;
        settings.batch_time = batch_time;
        settings.legs.push_back({"127.0.0.1", port, "", {}, 0});
        if (legs > 1)
            settings.legs.push_back({"127.0.0.1", second_port, "", {}, 0});
        EXPECT_TRUE(input.open(settings)) << input.error();
    }
    void send(unsigned count) const
    {
        for (unsigned i = 0; i < count; ++i)
            sender.send(pattern(1316, i));
    }
    result receive(std::size_t slots = transport_input::most_slots)
    {
        const auto got = input.receive(memory.data(), slots, 1316);
        received = 0;
        for (const auto& piece : input.pieces())
            received += piece.size / 1316;
        return got;
    }
    /// A few lie there: others will follow, for which it waits.
    void flow()
    {
        send(3);
        EXPECT_EQ(receive(), result::data);
        EXPECT_EQ(received, 3U);
    }
    /// Rests and receives nothing; then, behind another rest, waits for what `ends_it`.
    template <class work>
    void be_silent_until(const work& ends_it)
    {
        input.rest();
        EXPECT_EQ(receive(), result::nothing);
        input.rest();
        std::thread other{[&ends_it] {
            std::this_thread::sleep_for(std::chrono::milliseconds{20});
            ends_it();
        }};
        EXPECT_EQ(receive(), result::data);
        other.join();
    }

    support::watchdog guard;
    support::kernel_stamps stamps;
    std::uint16_t port = support::free_port();
    std::uint16_t second_port = support::free_port();
    support::udp_sender sender;
    transport_input input;
    bytes memory = bytes(transport_input::most_slots * 1316);
    std::size_t received = 0;
};

TEST(RestingInput, TakesAllThatLiesThereBehindARest)
{
    stand to{20};
    to.flow();
    to.send(5);
    to.input.rest();
    EXPECT_EQ(to.receive(), result::data);
    EXPECT_EQ(to.received, 5U);
}

TEST(RestingInput, SaysAtOnceThatNothingCame)
{
    stand to{1};
    to.flow();
    to.input.rest();
    EXPECT_EQ(to.receive(), result::nothing);
}

TEST(RestingInput, WaitsForWhatEndsASilence)
{
    stand to{1};
    to.flow();
    to.be_silent_until([&] { to.send(1); });
    EXPECT_EQ(to.received, 1U);
}

TEST(RestingInput, WaitsForWhatEndsASilenceOnEitherLeg)
{
    stand to{1, 2};
    for (unsigned short number = 1; number <= 3; ++number)
        to.sender.send(support::rtp_datagram(number, pattern(1316)));
    EXPECT_EQ(to.receive(), result::data);
    const support::udp_sender second{"127.0.0.1", to.second_port};
    to.be_silent_until([&] { second.send(support::rtp_datagram(4, pattern(1316))); });
    EXPECT_EQ(to.received, 1U);
}

TEST(RestingInput, WaitsForWhatEndsTheSilenceOfADenseStream)
{
    stand to;
    for (int burst = 0; burst < 40; ++burst) {
        to.send(30);
        EXPECT_EQ(to.receive(), result::data);
    }
    to.be_silent_until([&] { to.send(1); });
}

TEST(RestingInput, WaitsAfterItWasInterruptedBehindARest)
{
    stand to{1};
    to.flow();
    to.input.rest();
    to.input.interrupt();
    EXPECT_EQ(to.receive(), result::interrupted);
    to.input.resume();
    std::atomic<bool> received{false};
    std::thread other{[&] {
        while (!received) {
            std::this_thread::sleep_for(std::chrono::milliseconds{20});
            to.send(1);
        }
    }};
    EXPECT_EQ(to.receive(), result::data);
    received = true;
    other.join();
}

TEST(RestingInput, WantsLittleRoomWhereItMayWaitForLong)
{
    stand to{1};
    to.send(40);
    EXPECT_EQ(to.receive(40), result::data);
    EXPECT_EQ(to.input.wanted_slots(), transport_input::most_slots) << "there may be more";
    to.send(10);
    EXPECT_EQ(to.receive(), result::data);
    to.input.rest();
    EXPECT_EQ(to.input.wanted_slots(), transport_input::most_slots) << "it will not wait";
    EXPECT_EQ(to.receive(), result::nothing);
    to.input.rest();
    EXPECT_EQ(to.input.wanted_slots(), transport_input::slots_in_silence);
}

TEST(RestingInput, LearnsNothingOfBurstsFromLittleRoom)
{
    stand to{1};
    to.send(40);
    EXPECT_EQ(to.receive(40), result::data);
    to.flow();
    to.input.rest();
    EXPECT_EQ(to.receive(), result::nothing);
    to.send(1);
    EXPECT_EQ(to.receive(to.input.wanted_slots()), result::data);
    to.send(40);
    EXPECT_EQ(to.receive(to.input.wanted_slots()), result::data);
    EXPECT_EQ(to.received, transport_input::slots_in_silence);
    EXPECT_GE(to.input.wanted_slots(), 38U);
}

TEST(RestingInput, WantsRoomForABurstWhereItNeverWaits)
{
    zq_net::input_settings settings;
    settings.waits = false;
    const auto port = support::free_port();
    settings.legs.push_back({"127.0.0.1", port, "", {}, 0});
    transport_input input;
    ASSERT_TRUE(input.open(settings)) << input.error();
    const support::udp_sender sender{"127.0.0.1", port};
    for (unsigned i = 0; i < 30; ++i)
        sender.send(pattern(1316, i));
    bytes memory(transport_input::most_slots * 1316);
    EXPECT_EQ(input.receive(memory.data(), 30, 1316), result::data);
    EXPECT_EQ(input.receive(memory.data(), 30, 1316), result::nothing);
    EXPECT_GE(input.wanted_slots(), 30U);
}

TEST(RestingInput, IsInterruptedInTheRest)
{
    stand to{100'000};
    to.flow();
    std::thread other{[&] {
        std::this_thread::sleep_for(std::chrono::milliseconds{20});
        to.input.interrupt();
    }};
    // The rest may just be over, on a busy machine.
    do
        to.input.rest();
    while (to.receive() != result::interrupted);
    other.join();
}

TEST(RestingInput, DoesNotRestWhileItIsInterrupted)
{
    stand to{100'000};
    to.flow();
    to.input.interrupt();
    to.input.rest();
    EXPECT_EQ(to.receive(), result::interrupted);
}
} // namespace resting_input_test
