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
    FFmpegPeer(const zqtest::Bytes& stream, int flags) : stream_(stream), packet_(av_packet_alloc())
    {
        av_log_set_level(AV_LOG_QUIET);
        constexpr int buffer_size = 64 * 1024;
        io_ = avio_alloc_context(static_cast<unsigned char*>(av_malloc(buffer_size)), buffer_size, 0, this, read,
                                 nullptr, nullptr);
        context_ = avformat_alloc_context();
        context_->pb = io_;
        context_->flags |= flags;
        if (avformat_open_input(&context_, "memory", av_find_input_format("mpegts"), nullptr) < 0)
            throw std::runtime_error("FFmpeg does not open the stream");
    }
    ~FFmpegPeer()
    {
        avformat_close_input(&context_);
        av_freep(&io_->buffer);
        avio_context_free(&io_);
        av_packet_free(&packet_);
    }
    FFmpegPeer(const FFmpegPeer&) = delete;
    FFmpegPeer& operator=(const FFmpegPeer&) = delete;

    /// Reads frames until another `bytes` bytes went in; returns how many did.
    std::size_t run(std::size_t bytes)
    {
        const std::size_t begin = taken_;
        while (taken_ - begin < bytes) {
            if (av_read_frame(context_, packet_) < 0)
                throw std::runtime_error("FFmpeg stops reading");
            ++frames;
            av_packet_unref(packet_);
        }
        return taken_ - begin;
    }

    unsigned streams() const { return context_->nb_streams; }
    std::size_t frames = 0;

private:
    static int read(void* opaque, std::uint8_t* out, int size)
    {
        auto& peer = *static_cast<FFmpegPeer*>(opaque);
        const std::size_t at = peer.taken_ % peer.stream_.size();
        const std::size_t count = std::min(static_cast<std::size_t>(size), peer.stream_.size() - at);
        std::memcpy(out, peer.stream_.data() + at, count);
        peer.taken_ += count;
        return static_cast<int>(count);
    }

    const zqtest::Bytes& stream_;
    std::size_t taken_ = 0;
    AVIOContext* io_ = nullptr;
    AVFormatContext* context_ = nullptr;
    AVPacket* packet_;
};
} // namespace zqbench
