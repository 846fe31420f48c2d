// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/log.h>
}

#include "support/Stream.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace zqbench
{
/// FFmpeg's mpegts demuxer over a stream in memory that never ends.
class FFmpegPeer
{
public:
    FFmpegPeer(const zqtest::Bytes& stream, int flags) : m_stream(stream), m_packet(av_packet_alloc())
    {
        av_log_set_level(AV_LOG_QUIET);
        constexpr int buffer_size = 64 * 1024;
        m_io = avio_alloc_context(static_cast<unsigned char*>(av_malloc(buffer_size)), buffer_size, 0, this, read,
                                  nullptr, nullptr);
        m_context = avformat_alloc_context();
        m_context->pb = m_io;
        m_context->flags |= flags;
        if (avformat_open_input(&m_context, "memory", av_find_input_format("mpegts"), nullptr) < 0)
            throw std::runtime_error("FFmpeg does not open the stream");
    }
    ~FFmpegPeer()
    {
        avformat_close_input(&m_context);
        av_freep(&m_io->buffer);
        avio_context_free(&m_io);
        av_packet_free(&m_packet);
    }
    FFmpegPeer(const FFmpegPeer&) = delete;
    FFmpegPeer& operator=(const FFmpegPeer&) = delete;

    /// Reads frames until another `bytes` bytes went in; returns how many did.
    std::size_t run(std::size_t bytes)
    {
        const std::size_t begin = m_taken;
        while (m_taken - begin < bytes) {
            if (av_read_frame(m_context, m_packet) < 0)
                throw std::runtime_error("FFmpeg stops reading");
            ++frames;
            av_packet_unref(m_packet);
        }
        return m_taken - begin;
    }

    unsigned streams() const { return m_context->nb_streams; }
    std::size_t frames = 0;

private:
    static int read(void* opaque, std::uint8_t* out, int size)
    {
        auto& peer = *static_cast<FFmpegPeer*>(opaque);
        const std::size_t at = peer.m_taken % peer.m_stream.size();
        const std::size_t count = std::min(static_cast<std::size_t>(size), peer.m_stream.size() - at);
        std::memcpy(out, peer.m_stream.data() + at, count);
        peer.m_taken += count;
        return static_cast<int>(count);
    }

    const zqtest::Bytes& m_stream;
    std::size_t m_taken = 0;
    AVIOContext* m_io = nullptr;
    AVFormatContext* m_context = nullptr;
    AVPacket* m_packet;
};
} // namespace zqbench
