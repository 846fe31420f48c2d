// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net_source/zq_warm_buffer_pool.h"

#include "support/watchdog.h"

#include <gtest/gtest.h>

#include <sys/syscall.h>
#include <unistd.h>

#include <fstream>
#include <future>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace zq_warm_buffer_pool_test
{
constexpr guint size = 1316;

std::shared_ptr<GstBufferPool> active_pool(guint max_buffers)
{
    std::shared_ptr<GstBufferPool> pool{zq_warm_buffer_pool_new(), gst_object_unref};
    GstStructure* const config = gst_buffer_pool_get_config(pool.get());
    gst_buffer_pool_config_set_params(config, nullptr, size, 1, max_buffers);
    EXPECT_TRUE(gst_buffer_pool_set_config(pool.get(), config));
    EXPECT_TRUE(gst_buffer_pool_set_active(pool.get(), TRUE));
    return pool;
}

/// Null when there is none.
GstBuffer* taken_at_once(const std::shared_ptr<GstBufferPool>& pool)
{
    GstBufferPoolAcquireParams params{};
    params.flags = GST_BUFFER_POOL_ACQUIRE_FLAG_DONTWAIT;
    GstBuffer* buffer = nullptr;
    gst_buffer_pool_acquire_buffer(pool.get(), &buffer, &params);
    return buffer;
}

bool sleeps(pid_t thread)
{
    std::ifstream stat{"/proc/self/task/" + std::to_string(thread) + "/stat"};
    std::string line;
    std::getline(stat, line);
    const auto name_end = line.rfind(") ");
    return name_end != std::string::npos && line.compare(name_end + 2, 1, "S") == 0;
}

TEST(WarmBufferPool, HandsOutTheBufferThatCameBackLast)
{
    const auto pool = active_pool(4);
    GstBuffer* const first = taken_at_once(pool);
    GstBuffer* const second = taken_at_once(pool);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    gst_buffer_unref(second);
    gst_buffer_unref(first);
    EXPECT_EQ(taken_at_once(pool), first);
    EXPECT_EQ(taken_at_once(pool), second);
    gst_buffer_unref(first);
    gst_buffer_unref(second);
}

TEST(WarmBufferPool, MakesNoMoreBuffersThanItsMaximum)
{
    const auto pool = active_pool(3);
    std::set<GstBuffer*> taken;
    while (GstBuffer* const buffer = taken_at_once(pool))
        taken.insert(buffer);
    EXPECT_EQ(taken.size(), 3U);
    for (GstBuffer* const buffer : taken)
        gst_buffer_unref(buffer);
}

TEST(WarmBufferPool, GivesABufferOfWholeSizeWithoutTimeAndFlagsAgain)
{
    const auto pool = active_pool(1);
    GstBuffer* const buffer = taken_at_once(pool);
    gst_buffer_resize(buffer, 0, 188);
    GST_BUFFER_PTS(buffer) = 5;
    GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_DISCONT);
    gst_buffer_unref(buffer);
    GstBuffer* const again = taken_at_once(pool);
    ASSERT_EQ(again, buffer);
    EXPECT_EQ(gst_buffer_get_size(again), size);
    EXPECT_EQ(GST_BUFFER_PTS(again), GST_CLOCK_TIME_NONE);
    EXPECT_FALSE(GST_BUFFER_FLAG_IS_SET(again, GST_BUFFER_FLAG_DISCONT));
    gst_buffer_unref(again);
}

TEST(WarmBufferPool, ReplacesABufferWhoseMemoryIsGone)
{
    const auto pool = active_pool(1);
    GstBuffer* const buffer = taken_at_once(pool);
    gst_buffer_remove_all_memory(buffer);
    gst_buffer_unref(buffer);
    GstBuffer* const again = taken_at_once(pool);
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(gst_buffer_get_size(again), size);
    gst_buffer_unref(again);
}

TEST(WarmBufferPool, ReplacesABufferWhoseMemoryAnotherOneShares)
{
    const auto pool = active_pool(1);
    GstBuffer* const buffer = taken_at_once(pool);
    GstBuffer* const sharing = gst_buffer_copy(buffer);
    gst_buffer_unref(buffer);
    GstBuffer* const again = taken_at_once(pool);
    ASSERT_NE(again, nullptr);
    EXPECT_NE(gst_buffer_peek_memory(again, 0), gst_buffer_peek_memory(sharing, 0));
    gst_buffer_unref(again);
    gst_buffer_unref(sharing);
}

TEST(WarmBufferPool, WakesWhoWaitsForABuffer)
{
    const auto pool = active_pool(1);
    for (int i = 0; i < 200; ++i) {
        GstBuffer* const buffer = taken_at_once(pool);
        ASSERT_NE(buffer, nullptr);
        std::promise<void> begun;
        std::thread waiting{[&] {
            GstBuffer* waited_for = nullptr;
            begun.set_value();
            EXPECT_EQ(gst_buffer_pool_acquire_buffer(pool.get(), &waited_for, nullptr), GST_FLOW_OK);
            gst_buffer_unref(waited_for);
        }};
        begun.get_future().wait();
        gst_buffer_unref(buffer);
        waiting.join();
    }
}

TEST(WarmBufferPool, KeepsItsMaximumWhileSeveralThreadsTakeAndGive)
{
    const auto pool = active_pool(3);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&pool] {
            for (int round = 0; round < 500; ++round) {
                GstBuffer* buffer = nullptr;
                ASSERT_EQ(gst_buffer_pool_acquire_buffer(pool.get(), &buffer, nullptr), GST_FLOW_OK);
                gst_buffer_unref(buffer);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    std::vector<GstBuffer*> taken;
    while (GstBuffer* const buffer = taken_at_once(pool))
        taken.push_back(buffer);
    EXPECT_EQ(taken.size(), 3U);
    for (GstBuffer* const buffer : taken)
        gst_buffer_unref(buffer);
}

TEST(WarmBufferPool, HasNothingWhileItIsNotActiveAndAllWhenItIsAgain)
{
    const auto pool = active_pool(2);
    gst_buffer_unref(taken_at_once(pool));
    ASSERT_TRUE(gst_buffer_pool_set_active(pool.get(), FALSE));
    EXPECT_EQ(taken_at_once(pool), nullptr);
    ASSERT_TRUE(gst_buffer_pool_set_active(pool.get(), TRUE));
    GstBuffer* const first = taken_at_once(pool);
    GstBuffer* const second = taken_at_once(pool);
    EXPECT_NE(first, nullptr);
    EXPECT_NE(second, nullptr);
    EXPECT_EQ(taken_at_once(pool), nullptr);
    gst_buffer_unref(first);
    gst_buffer_unref(second);
}

TEST(WarmBufferPool, HandsOutNothingWhileItIsFlushing)
{
    const auto pool = active_pool(2);
    gst_buffer_unref(taken_at_once(pool));
    gst_buffer_pool_set_flushing(pool.get(), TRUE);
    GstBuffer* buffer = nullptr;
    EXPECT_EQ(gst_buffer_pool_acquire_buffer(pool.get(), &buffer, nullptr), GST_FLOW_FLUSHING);
    gst_buffer_pool_set_flushing(pool.get(), FALSE);
    buffer = taken_at_once(pool);
    ASSERT_NE(buffer, nullptr);
    gst_buffer_unref(buffer);
}

TEST(WarmBufferPool, EndsTheWaitForABufferWhenItIsFlushed)
{
    const auto pool = active_pool(1);
    GstBuffer* const held = taken_at_once(pool);
    std::promise<pid_t> id;
    std::thread waiting{[&] {
        GstBuffer* buffer = nullptr;
        id.set_value(static_cast<pid_t>(::syscall(SYS_gettid)));
        EXPECT_EQ(gst_buffer_pool_acquire_buffer(pool.get(), &buffer, nullptr), GST_FLOW_FLUSHING);
    }};
    EXPECT_TRUE(support::eventually([thread = id.get_future().get()] { return sleeps(thread); }));
    gst_buffer_pool_set_flushing(pool.get(), TRUE);
    waiting.join();
    gst_buffer_unref(held);
}

TEST(WarmBufferPool, TakesABufferBackThatOutlivedItsOwner)
{
    auto pool = active_pool(2);
    GstBuffer* const kept = taken_at_once(pool);
    pool.reset();
    EXPECT_EQ(gst_buffer_get_size(kept), size);
    gst_buffer_unref(kept); // the last reference to the pool goes with it
}

TEST(WarmBufferPool, FreesABufferThatComesBackBehindItsEnd)
{
    const auto pool = active_pool(2);
    GstBuffer* const kept = taken_at_once(pool);
    gst_buffer_pool_set_active(pool.get(), FALSE);
    gst_buffer_unref(kept);
    ASSERT_TRUE(gst_buffer_pool_set_active(pool.get(), TRUE));
    GstBuffer* const fresh = taken_at_once(pool);
    EXPECT_NE(fresh, nullptr);
    gst_buffer_unref(fresh);
}
} // namespace zq_warm_buffer_pool_test
