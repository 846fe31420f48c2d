// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "zq_net_source/zq_gst_pointers.h"

#include <cstdint>
#include <memory>

/// Size of one buffer in bytes, and how many of them a pool keeps at least and at most.
struct zq_pool_limits
{
    std::uint32_t size;
    std::uint32_t min_buffers;
    std::uint32_t max_buffers;
};

/// Smallest buffer of the element's own pool: it holds any datagram behind an almost full group of packets.
inline constexpr std::uint32_t zq_least_buffer_size = 829440;

/// Most buffers, and bytes of each, that the reserve adds to a pool which downstream has used up.
inline constexpr std::uint32_t zq_reserve_buffers = 4096;
inline constexpr std::uint32_t zq_reserve_buffer_size = 4096;

/// Limits of the element's own pool from what an allocation query proposed (0: no wish). The result may name a
/// minimum above its maximum: (0, 0, 20) gives 30 and 20.
[[nodiscard]] zq_pool_limits zq_own_pool_limits(zq_pool_limits proposed);

/// Limits for a pool that downstream proposed: size and minimum are kept, a maximum of 0 becomes 30.
[[nodiscard]] zq_pool_limits zq_downstream_pool_limits(zq_pool_limits proposed);

/// An active pool of the element's own. Releasing the last reference is enough to end it. A pool that could not be
/// configured or activated is returned all the same: it hands out no buffers.
[[nodiscard]] std::shared_ptr<GstBufferPool> create_net_buffer_pool(std::uint32_t size, std::uint32_t min_buffers,
                                                                    std::uint32_t max_buffers);

/// An active pool of small buffers, none of them allocated before it is asked for.
[[nodiscard]] std::shared_ptr<GstBufferPool> create_reserve_pool();

/// Takes over the reference to a pool that downstream proposed: configures it for `caps` and activates it. Releasing
/// the result deactivates the pool.
[[nodiscard]] std::shared_ptr<GstBufferPool> adopt_buffer_pool(GstBufferPool* pool, GstCaps* caps,
                                                               zq_pool_limits proposed);

/// Asks whoever is linked to `pad` for a pool and adopts it, or makes one of the element's own.
[[nodiscard]] std::shared_ptr<GstBufferPool> negotiate_buffer_pool(GstPad* pad);
