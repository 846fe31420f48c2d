// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/transport_input.h"

#include "support/RTP.h"
#include "support/net_sandbox.h"
#include "support/udp_sender.h"
#include "support/watchdog.h"

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <thread>
#include <vector>

namespace input_in_a_crowd_test
{
using support::pattern;
using zq_net::ms;
using zq_net::transport_input;
using result = transport_input::result;

/// Inputs on free ports of the loopback, that of the tests among them.
struct crowd_of
{
    explicit crowd_of(unsigned count)
    {
        while (inputs.size() < count)
            join();
    }
    void join(zq_net::input_settings settings = {})
    {
        settings.legs.push_back({"127.0.0.1", support::free_port(), "", {}, 0});
        inputs.push_back(std::make_unique<transport_input>());
        EXPECT_TRUE(inputs.back()->open(settings)) << inputs.back()->error();
    }
    transport_input& first() const { return *inputs.front(); }
    void receive_one()
    {
        support::udp_sender{"127.0.0.1", first().address().port()}.send(pattern(1316));
        std::vector<unsigned char> memory(2 * 2048);
        EXPECT_EQ(first().receive(memory.data(), 1, 2048), result::data);
    }

    support::watchdog guard;
    std::vector<std::unique_ptr<transport_input>> inputs;
};

constexpr unsigned enough = zq_net::crowd::least;

TEST(InputInACrowd, MayLetADatagramLieForEightMillisecondsInPlaceOfOne)
{
    crowd_of all{enough - 1};
    EXPECT_EQ(all.first().batch_wait(), 1 * ms);
    all.join();
    EXPECT_EQ(all.inputs.back()->batch_wait(), 8 * ms);
    EXPECT_EQ(all.first().batch_wait(), 1 * ms) << "until it has received, so that what it says holds";
    all.receive_one();
    EXPECT_EQ(all.first().batch_wait(), 8 * ms);
    all.inputs.back()->close();
    all.receive_one();
    EXPECT_EQ(all.first().batch_wait(), 1 * ms);
}

TEST(InputInACrowd, IsNoneOfItAnyMoreWhenItIsOpenedAnewWithABatchTime)
{
    crowd_of all{enough};
    zq_net::input_settings other;
    other.batch_time = 1;
    other.legs.push_back({"127.0.0.1", support::free_port(), "", {}, 0});
    ASSERT_TRUE(all.inputs.back()->open(other));
    all.receive_one();
    EXPECT_EQ(all.first().batch_wait(), 1 * ms);
}

TEST(InputInACrowd, IsNoneOfItWithABatchTimeOrWithoutWaiting)
{
    crowd_of all{enough - 1};
    zq_net::input_settings other;
    other.batch_time = 1;
    all.join(other);
    EXPECT_EQ(all.inputs.back()->batch_wait(), 1 * ms);
    other.batch_time = 0;
    other.waits = false;
    all.join(other);
    EXPECT_EQ(all.inputs.back()->batch_wait(), 0U);
    EXPECT_EQ(all.first().batch_wait(), 1 * ms);
}

TEST(InputInACrowd, TakesSeveralDatagramsOfAModestStreamAtOnceAndLosesNone)
{
    const crowd_of all{enough};
    const support::udp_sender to{"127.0.0.1", all.first().address().port()};
    constexpr unsigned count = 300;
    const auto begin = std::chrono::steady_clock::now();
    auto sending = std::async(std::launch::async, [&] {
        // By the clock, so that on a busy machine the pace is the same.
        auto due = std::chrono::steady_clock::now();
        for (unsigned i = 0; i < count; ++i) {
            to.send(pattern(1316, i));
            std::this_thread::sleep_until(due += std::chrono::milliseconds{1});
        }
    });
    std::vector<unsigned char> memory(transport_input::most_slots * 2048);
    std::vector<unsigned char> out, sent;
    unsigned reads = 0;
    for (; out.size() < std::size_t{1316} * count; ++reads) {
        ASSERT_NE(all.first().receive(memory.data(), all.first().wanted_slots(), all.first().wanted_slot_size()),
                  result::failed);
        for (const auto& piece : all.first().pieces())
            out.insert(out.end(), piece.data, piece.data + piece.size);
    }
    sending.get();
    for (unsigned i = 0; i < count; ++i) {
        const auto datagram = pattern(1316, i);
        sent.insert(sent.end(), datagram.begin(), datagram.end());
    }
    EXPECT_EQ(out, sent);
    if (std::chrono::steady_clock::now() - begin > count * std::chrono::milliseconds{2})
        GTEST_SKIP() << "what a busy machine sent was too thin";
    EXPECT_LT(reads, count * 2 / 3) << "one alone takes each as it comes";
}

TEST(InputInACrowd, IsInterruptedWhileItRests)
{
    const crowd_of all{enough};
    const support::udp_sender to{"127.0.0.1", all.first().address().port()};
    std::vector<unsigned char> memory(transport_input::most_slots * 2048);
    std::atomic<bool> done{false};
    std::thread sending{[&] {
        while (!done) {
            to.send(pattern(1316));
            std::this_thread::sleep_for(std::chrono::milliseconds{1});
        }
    }};
    for (int round = 0; round < 20; ++round) {
        auto received = std::async(std::launch::async, [&] {
            while (all.first().receive(memory.data(), 16, 1316) != result::interrupted) {
            }
        });
        std::this_thread::sleep_for(std::chrono::milliseconds{10});
        all.first().interrupt();
        received.get();
        all.first().resume();
    }
    done = true;
    sending.join();
}
} // namespace input_in_a_crowd_test
