// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net_source/zq_data_provider.h"

#include "zq_net_source/zq_net_buffer_pool.h"
#include "zq_net_source/zq_udp_source.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace
{
/// GST_FLOW_EOS: all buffers are in use.
GstFlowReturn acquire_without_waiting(GstBufferPool* pool, GstBuffer*& buffer)
{
    GstBufferPoolAcquireParams params{};
    params.flags = GST_BUFFER_POOL_ACQUIRE_FLAG_DONTWAIT;
    return gst_buffer_pool_acquire_buffer(pool, &buffer, &params);
}
} // namespace

zq_data_provider::zq_data_provider(zq_net_pad& pad, std::shared_ptr<GstBufferPool> pool, zq_net_statistics& statistics)
    : m_pad{pad}, m_pool{std::move(pool)}, m_statistics{statistics}
{}

zq_data_provider::~zq_data_provider()
{
    if (m_buffer != nullptr) {
        unmap();
        gst_buffer_unref(m_buffer);
    }
}

GstBuffer* zq_data_provider::get_free_buffer(std::shared_ptr<GstBufferPool>& pool)
{
    GstBuffer* buffer = nullptr;
    if (!pool || gst_buffer_pool_acquire_buffer(pool.get(), &buffer, nullptr) != GST_FLOW_OK)
        return nullptr;
    return buffer;
}

/// Some elements hold more buffers than a pool has before they pass any on: a file sink alone waits for 64 KiB. A pool
/// that has run dry is therefore extended by the reserve; only when that is used up too does the thread wait.
GstBuffer* zq_data_provider::take_buffer()
{
    GstBuffer* buffer = nullptr;
    if (!m_pool)
        return nullptr;
    if (const auto flow = acquire_without_waiting(m_pool.get(), buffer); flow != GST_FLOW_EOS)
        return flow == GST_FLOW_OK ? buffer : nullptr;
    if (!m_reserve)
        m_reserve = create_reserve_pool();
    if (acquire_without_waiting(m_reserve.get(), buffer) == GST_FLOW_OK)
        return buffer;
    return get_free_buffer(m_pool);
}

bool zq_data_provider::push_data(std::uint64_t timestamp, unsigned char* data, std::uint64_t size, bool whole)
{
    const std::uint64_t sync_size = whole ? 0 : 1;
    const std::uint64_t copied = whole ? size : std::min(size, packet_size);
    if ((m_buffer == nullptr && !open_buffer(timestamp)) || !make_room(sync_size + copied)) {
        m_statistics.set_last_error("No free buffers in the buffer pool");
        return false;
    }
    if (!whole)
        m_map.data[m_fill] = 0x47;
    std::memcpy(m_map.data + m_fill + sync_size, data, copied);
    m_fill += sync_size + copied;
    if (m_fill >= group_size)
        push_buffer();
    return true;
}

bool zq_data_provider::open_buffer(std::uint64_t timestamp)
{
    GstBuffer* buffer = take_buffer();
    if (buffer == nullptr)
        return false;
    m_buffer = gst_buffer_make_writable(buffer);
    GST_BUFFER_FLAG_SET(m_buffer, GST_BUFFER_FLAG_LIVE);
    GST_BUFFER_PTS(m_buffer) = timestamp;
    GST_BUFFER_DTS(m_buffer) = timestamp;
    GST_BUFFER_DURATION(m_buffer) = GST_CLOCK_TIME_NONE;
    // The offsets count groups of 7 packets, whatever a buffer finally holds; that is meant.
    GST_BUFFER_OFFSET(m_buffer) = m_next_offset;
    m_next_offset += group_size;
    GST_BUFFER_OFFSET_END(m_buffer) = m_next_offset;
    m_mapped = gst_buffer_map(m_buffer, &m_map, GST_MAP_WRITE) != FALSE;
    return true;
}

/// Moves on in a larger buffer of our own when the pool's is too small or cannot be written.
bool zq_data_provider::make_room(std::uint64_t need)
{
    if (m_mapped && m_fill + need <= m_map.size)
        return true;
    const auto size = std::max<std::uint64_t>(m_fill + need, group_size + zq_udp_source::max_datagram);
    zq_buffer_pointer larger{gst_buffer_new_allocate(nullptr, size, nullptr)};
    GstMapInfo larger_map{};
    if (!larger || !gst_buffer_map(larger.get(), &larger_map, GST_MAP_WRITE))
        return false;
    if (m_fill > 0)
        std::memcpy(larger_map.data, m_map.data, m_fill);
    unmap();
    gst_buffer_copy_into(larger.get(), m_buffer, GST_BUFFER_COPY_METADATA, 0, static_cast<gsize>(-1));
    // The pool's buffer counts as used as long as the larger one lives, so the pool's limit holds for both.
    gst_buffer_add_parent_buffer_meta(larger.get(), m_buffer);
    gst_buffer_unref(m_buffer);
    m_buffer = larger.release();
    m_map = larger_map;
    m_mapped = true;
    return true;
}

void zq_data_provider::unmap()
{
    if (m_mapped)
        gst_buffer_unmap(m_buffer, &m_map);
    m_mapped = false;
}

void zq_data_provider::push_buffer()
{
    unmap();
    gst_buffer_resize(m_buffer, 0, static_cast<gssize>(m_fill));
    GstBuffer* full = std::exchange(m_buffer, nullptr);
    m_fill = 0;
    const GstFlowReturn flow = gst_pad_push(m_pad.pad.get(), full);
    if (flow != GST_FLOW_OK)
        m_statistics.set_last_error("Can't push buffer, err = " + std::to_string(static_cast<int>(flow)));
}
