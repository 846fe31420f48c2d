// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net_source/zq_net_buffer_pool.h"

#include "zq_net_source/zq_net_pad.h"
#include "zq_net_source/zq_warm_buffer_pool.h"

#include <algorithm>

namespace
{
void buffer_pool_deleter(GstBufferPool* pool)
{
    if (gst_buffer_pool_is_active(pool))
        gst_buffer_pool_set_active(pool, FALSE);
    gst_object_unref(pool);
}

bool configure(GstBufferPool* pool, GstCaps* caps, zq_pool_limits limits)
{
    GstStructure* config = gst_buffer_pool_get_config(pool);
    if (config == nullptr)
        return false;
    gst_buffer_pool_config_set_params(config, caps, limits.size, limits.min_buffers, limits.max_buffers);
    return gst_buffer_pool_set_config(pool, config) != FALSE;
}
} // namespace

zq_pool_limits zq_own_pool_limits(zq_pool_limits proposed)
{
    zq_pool_limits limits{std::max(proposed.size, zq_least_buffer_size), proposed.min_buffers,
                          std::max(proposed.min_buffers, proposed.max_buffers)};
    if (limits.min_buffers == 0)
        limits.min_buffers = 30;
    if (limits.max_buffers == 0)
        limits.max_buffers = 40;
    return limits;
}

zq_pool_limits zq_downstream_pool_limits(zq_pool_limits proposed)
{
    if (proposed.max_buffers == 0)
        proposed.max_buffers = 30;
    return proposed;
}

std::shared_ptr<GstBufferPool> create_net_buffer_pool(std::uint32_t size, std::uint32_t min_buffers,
                                                      std::uint32_t max_buffers)
{
    // Not deactivated on release, unlike a pool of downstream's; that is meant.
    // Nothing is allocated ahead, though a minimum is told; that is meant.
    std::shared_ptr<GstBufferPool> pool{zq_warm_buffer_pool_new(), gst_object_unref};
    auto limits = zq_own_pool_limits({size, min_buffers, max_buffers});
    // GStreamer refuses a minimum above the maximum, and would leave the pool without size and limit.
    limits.min_buffers = std::min(limits.min_buffers, limits.max_buffers);
    if (configure(pool.get(), nullptr, limits))
        gst_buffer_pool_set_active(pool.get(), TRUE);
    return pool;
}

std::shared_ptr<GstBufferPool> create_reserve_pool()
{
    std::shared_ptr<GstBufferPool> pool{zq_warm_buffer_pool_new(), gst_object_unref};
    if (configure(pool.get(), nullptr, {zq_reserve_buffer_size, 0, zq_reserve_buffers}))
        gst_buffer_pool_set_active(pool.get(), TRUE);
    return pool;
}

std::shared_ptr<GstBufferPool> adopt_buffer_pool(GstBufferPool* pool, GstCaps* caps, zq_pool_limits proposed)
{
    auto limits = zq_downstream_pool_limits(proposed);
    limits.max_buffers = std::max(limits.min_buffers, limits.max_buffers);
    configure(pool, caps, limits);
    std::shared_ptr<GstBufferPool> adopted{pool, buffer_pool_deleter};
    gst_buffer_pool_set_active(pool, TRUE);
    return adopted;
}

std::shared_ptr<GstBufferPool> negotiate_buffer_pool(GstPad* pad)
{
    const auto caps = zq_net_pad::net_pad_query_caps(pad);
    const zq_query_pointer query{gst_query_new_allocation(caps.get(), TRUE)};
    if (const zq_pad_pointer peer{gst_pad_get_peer(pad)})
        gst_pad_query(peer.get(), query.get());

    GstBufferPool* pool = nullptr;
    guint size = 0, min_buffers = 0, max_buffers = 0;
    if (gst_query_get_n_allocation_pools(query.get()) > 0)
        gst_query_parse_nth_allocation_pool(query.get(), 0, &pool, &size, &min_buffers, &max_buffers);
    if (pool != nullptr)
        return adopt_buffer_pool(pool, caps.get(), {size, min_buffers, max_buffers});
    return create_net_buffer_pool(size, min_buffers, max_buffers);
}
