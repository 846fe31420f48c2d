// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/hot_spares.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace hot_spares_test
{
struct thing
{
    thing() { ++alive; }
    ~thing() { --alive; }
    thing(const thing&) = delete;
    thing& operator=(const thing&) = delete;

    int number = 0;
    std::atomic<bool> in_hand{false};
    static inline std::atomic<int> alive{0};
};

/// On a thread that stays where it runs, since what is given is kept there.
template <class work>
void on_one_processor(const work& done)
{
    std::thread{[&done] {
        cpu_set_t here;
        CPU_ZERO(&here);
        CPU_SET(static_cast<std::size_t>(::sched_getcpu()), &here);
        ASSERT_EQ(::sched_setaffinity(0, sizeof(here), &here), 0);
        done();
    }}.join();
}

TEST(HotSpares, AreFreshWhenNoneIsKept)
{
    static zq_net::hot_spares<thing> spares;
    const auto one = spares.take();
    const auto other = spares.take();
    EXPECT_NE(one.get(), other.get());
    EXPECT_EQ(one->number, 0);
}

TEST(HotSpares, GiveTheOneThatCameBackAsItWasLeft)
{
    static zq_net::hot_spares<thing> spares;
    on_one_processor([] {
        auto one = spares.take();
        const thing* const given = one.get();
        one->number = 7;
        spares.give(std::move(one));
        const auto again = spares.take();
        EXPECT_EQ(again.get(), given);
        EXPECT_EQ(again->number, 7);
    });
}

TEST(HotSpares, KeepOneAndFreeTheOneBefore)
{
    static zq_net::hot_spares<thing> spares;
    on_one_processor([] {
        auto one = spares.take();
        auto other = spares.take();
        const thing* const last = other.get();
        const int both = thing::alive;
        spares.give(std::move(one));
        spares.give(std::move(other));
        EXPECT_EQ(thing::alive, both - 1);
        EXPECT_EQ(spares.take().get(), last);
    });
}

TEST(HotSpares, AreNeverInTwoHands)
{
    static zq_net::hot_spares<thing> spares;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            for (int turn = 0; turn < 10'000; ++turn) {
                auto one = spares.take();
                ASSERT_FALSE(one->in_hand.exchange(true));
                ++one->number;
                one->in_hand = false;
                spares.give(std::move(one));
            }
        });
    for (auto& thread : threads)
        thread.join();
}
} // namespace hot_spares_test
