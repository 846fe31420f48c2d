// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net_source/zq_net_buffer_pool.h"

#include "support/element.h"

#include <gtest/gtest.h>

#include <malloc.h>

namespace zq_net_buffer_pool_test
{
struct configured
{
    guint size = 0, min_buffers = 0, max_buffers = 0;
    bool has_caps = false;
};

configured configuration_of(GstBufferPool* pool)
{
    configured result;
    GstCaps* caps = nullptr;
    GstStructure* config = gst_buffer_pool_get_config(pool);
    gst_buffer_pool_config_get_params(config, &caps, &result.size, &result.min_buffers, &result.max_buffers);
    result.has_caps = caps != nullptr;
    gst_structure_free(config);
    return result;
}

void expect_limits(zq_pool_limits limits, std::uint32_t size, std::uint32_t min_buffers, std::uint32_t max_buffers)
{
    EXPECT_EQ(limits.size, size);
    EXPECT_EQ(limits.min_buffers, min_buffers);
    EXPECT_EQ(limits.max_buffers, max_buffers);
}

/// A source pad linked to a sink that answers the allocation query with `pool`.
class linked_to_pool
{
public:
    linked_to_pool(GstBufferPool* pool, guint size, guint min_buffers, guint max_buffers)
        : m_sink{{},
                 [=](GstQuery* query) {
                     if (GST_QUERY_TYPE(query) != GST_QUERY_ALLOCATION)
                         return false;
                     gst_query_add_allocation_pool(query, pool, size, min_buffers, max_buffers);
                     return true;
                 }},
          pad{GST_PAD(gst_object_ref_sink(gst_pad_new("src", GST_PAD_SRC)))}
    {
        gst_pad_link(pad.get(), m_sink.pad());
    }

private:
    support::test_sink m_sink;

public:
    zq_pad_pointer pad;
};

TEST(OwnPoolLimits, WithoutWishesAre829440Bytes30And40)
{
    expect_limits(zq_own_pool_limits({0, 0, 0}), 829440, 30, 40);
}

TEST(OwnPoolLimits, KeepAMaximumBelowTheDefaultMinimum)
{
    expect_limits(zq_own_pool_limits({0, 0, 20}), 829440, 30, 20);
}

TEST(OwnPoolLimits, KeepALargerBuffer) { expect_limits(zq_own_pool_limits({829441, 0, 0}), 829441, 30, 40); }

TEST(OwnPoolLimits, RaiseTheMaximumToTheMinimumAsked) { expect_limits(zq_own_pool_limits({0, 50, 7}), 829440, 50, 50); }

TEST(DownstreamPoolLimits, TurnAMaximumOfZeroInto30)
{
    expect_limits(zq_downstream_pool_limits({4096, 2, 0}), 4096, 2, 30);
    expect_limits(zq_downstream_pool_limits({4096, 2, 5}), 4096, 2, 5);
}

TEST(OwnPool, AllocatesABufferWhenOneIsAskedFor)
{
    std::shared_ptr<GstBufferPool> pool;
    const auto taken = [](const auto& action) {
        const auto before = mallinfo2();
        action();
        const auto behind = mallinfo2();
        return behind.hblkhd + behind.uordblks - before.hblkhd - before.uordblks;
    };
    EXPECT_LT(taken([&] { pool = create_net_buffer_pool(0, 0, 0); }), zq_least_buffer_size);
    GstBuffer* buffer = nullptr;
    EXPECT_LT(taken([&] { gst_buffer_pool_acquire_buffer(pool.get(), &buffer, nullptr); }), 2 * zq_least_buffer_size);
    gst_buffer_unref(buffer);
}

TEST(OwnPool, IsActiveWithoutCapsAndHandsOutBuffersOfItsSize)
{
    const auto pool = create_net_buffer_pool(0, 0, 0);
    ASSERT_TRUE(gst_buffer_pool_is_active(pool.get()));
    const auto config = configuration_of(pool.get());
    EXPECT_FALSE(config.has_caps);
    EXPECT_EQ(config.size, 829440U);
    EXPECT_EQ(config.min_buffers, 30U);
    EXPECT_EQ(config.max_buffers, 40U);
    GstBuffer* buffer = nullptr;
    ASSERT_EQ(gst_buffer_pool_acquire_buffer(pool.get(), &buffer, nullptr), GST_FLOW_OK);
    EXPECT_EQ(gst_buffer_get_size(buffer), 829440U);
    gst_buffer_unref(buffer);
}

TEST(OwnPool, LowersTheMinimumThatGStreamerWouldRefuse)
{
    const auto pool = create_net_buffer_pool(0, 0, 20);
    EXPECT_TRUE(gst_buffer_pool_is_active(pool.get()));
    EXPECT_EQ(configuration_of(pool.get()).min_buffers, 20U);
    EXPECT_EQ(configuration_of(pool.get()).max_buffers, 20U);
}

TEST(PoolNegotiation, TakesDownstreamsPoolWithAMaximumOf30ForNone)
{
    GstBufferPool* const offered = gst_buffer_pool_new();
    {
        const linked_to_pool linked{offered, 4096, 2, 0};
        const auto pool = negotiate_buffer_pool(linked.pad.get());
        EXPECT_EQ(pool.get(), offered);
        EXPECT_TRUE(gst_buffer_pool_is_active(offered));
        const auto config = configuration_of(offered);
        EXPECT_TRUE(config.has_caps);
        EXPECT_EQ(config.size, 4096U);
        EXPECT_EQ(config.min_buffers, 2U);
        EXPECT_EQ(config.max_buffers, 30U);
    }
    EXPECT_FALSE(gst_buffer_pool_is_active(offered)) << "releasing downstream's pool deactivates it";
    gst_object_unref(offered);
}

TEST(PoolNegotiation, RaisesTheMaximumThatGStreamerWouldRefuse)
{
    GstBufferPool* const offered = gst_buffer_pool_new();
    {
        const linked_to_pool linked{offered, 4096, 35, 0};
        const auto pool = negotiate_buffer_pool(linked.pad.get());
        EXPECT_TRUE(gst_buffer_pool_is_active(offered));
        EXPECT_EQ(configuration_of(offered).max_buffers, 35U);
    }
    gst_object_unref(offered);
}

TEST(PoolNegotiation, MakesAnOwnPoolFromDownstreamsWishesWhenItOffersNone)
{
    const linked_to_pool linked{nullptr, 1000000, 3, 8};
    const auto pool = negotiate_buffer_pool(linked.pad.get());
    const auto config = configuration_of(pool.get());
    EXPECT_EQ(config.size, 1000000U);
    EXPECT_EQ(config.min_buffers, 3U);
    EXPECT_EQ(config.max_buffers, 8U);
}

TEST(PoolNegotiation, MakesAnOwnPoolWhenDownstreamDoesNotAnswer)
{
    const support::test_sink sink;
    const zq_pad_pointer pad{GST_PAD(gst_object_ref_sink(gst_pad_new("src", GST_PAD_SRC)))};
    gst_pad_link(pad.get(), sink.pad());
    EXPECT_EQ(configuration_of(negotiate_buffer_pool(pad.get()).get()).size, 829440U);
}
} // namespace zq_net_buffer_pool_test
