// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "zq_net_source/zq_net_pad.h"
#include "zq_net_source/zq_net_statistics.h"

#include <cstdint>
#include <memory>

/// Gathers received bytes in pool buffers and pushes each buffer on the pad as soon as it holds 7 packets (1316
/// bytes) or more. For one thread. A partly filled buffer waits for more data; what is left in it at the end of the
/// provider's life is dropped.
class zq_data_provider
{
public:
    /// `pad` and `statistics` must outlive the provider. `pool` may be empty: then nothing can be delivered.
    zq_data_provider(zq_net_pad& pad, std::shared_ptr<GstBufferPool> pool, zq_net_statistics& statistics);
    virtual ~zq_data_provider();
    zq_data_provider(const zq_data_provider&) = delete;
    zq_data_provider& operator=(const zq_data_provider&) = delete;

    /// `whole`: appends all `size` bytes, never splitting them over two buffers. Otherwise `data` is a transport
    /// packet without its sync byte: 0x47 is put in front, and at most 188 bytes are taken.
    /// `timestamp`, in nanoseconds, becomes PTS and DTS of a buffer that is opened here.
    /// False when no buffer could be had; the data is dropped and the last error set. A push that fails sets the
    /// last error too, drops its buffer and returns true.
    virtual bool push_data(std::uint64_t timestamp, unsigned char* data, std::uint64_t size, bool whole);

    /// A buffer of `pool`, waiting for one if need be; null when the pool is empty (as a pointer) or refuses.
    [[nodiscard]] static GstBuffer* get_free_buffer(std::shared_ptr<GstBufferPool>& pool);

private:
    GstBuffer* take_buffer();
    bool open_buffer(std::uint64_t timestamp);
    bool make_room(std::uint64_t need);
    void unmap();
    void push_buffer();

    static constexpr std::uint64_t packet_size = 188;
    static constexpr std::uint64_t packets_per_buffer = 7;
    static constexpr std::uint64_t group_size = packets_per_buffer * packet_size;

    zq_net_pad& m_pad;
    std::shared_ptr<GstBufferPool> m_pool;
    std::shared_ptr<GstBufferPool> m_reserve; // made when the pool first runs dry
    GstBuffer* m_buffer = nullptr;
    bool m_mapped = false;
    GstMapInfo m_map{};
    std::uint64_t m_fill = 0;
    std::uint64_t m_next_offset = 0;
    zq_net_statistics& m_statistics;
};
