// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "support/Multiplex.h"

#include <vector>

namespace zqbench
{
/// Packets of a multiplex in the mix that a broadcaster sends: elementary streams interleaved packet by packet, PAT and
/// PMTs ten times a second, the other tables more rarely.
class MultiplexStream
{
public:
    /// `packets_per_second` counts those of the whole multiplex.
    MultiplexStream(unsigned programmes, unsigned packets_per_second)
        : programmes_(programmes),
          second_(packets_per_second),
          picture_(packets_per_second * 18 / 20 / programmes / 25 * mpegcore::ts_payload_size),
          mux_(programmes),
          streams_(programmes * 3)
    {
        for (unsigned at = 0; at < programmes; ++at) {
            streams_[3 * at].PID = zqtest::Multiplex::video_PID(at);
            streams_[3 * at].stream_id = 0xE0;
            for (unsigned track = 0; track < 2; ++track) {
                streams_[3 * at + 1 + track].PID = zqtest::Multiplex::audio_PID(at, track);
                streams_[3 * at + 1 + track].stream_id = static_cast<unsigned char>(0xC0 + track);
            }
        }
    }

    zqtest::Bytes make(std::size_t packets)
    {
        while (out_.packets() < packets) {
            if (out_.packets() >= next_tables_) {
                tables();
                next_tables_ += second_ / 10;
            }
            const unsigned programme = mux_.below(programmes_);
            const unsigned weight = mux_.below(20);
            elementary(streams_[3 * programme + (weight < 18 ? 0 : weight - 17)]);
        }
        return out_.data;
    }

private:
    struct elementary_stream
    {
        unsigned PID = 0;
        unsigned char stream_id = 0;
        zqtest::Bytes PES;
        std::size_t sent = 0;
    };

    void elementary(elementary_stream& stream)
    {
        const bool video = stream.stream_id == 0xE0;
        if (stream.sent == stream.PES.size()) {
            const std::uint64_t now = out_.packets() * std::uint64_t{90000} / second_;
            stream.PES = mux_.PES(stream.stream_id, now + 9000,
                                  video ? picture_ / 2 + mux_.below(picture_) : 1500 + mux_.below(1500));
            stream.sent = 0;
            if (video) {
                const zqtest::Bytes first(stream.PES.begin(), stream.PES.begin() + 176);
                out_.PCR(stream.PID, now, 0, zqtest::Stream::begins, first);
                stream.sent = 176;
                return;
            }
        }
        const std::size_t size = std::min<std::size_t>(stream.PES.size() - stream.sent, mpegcore::ts_payload_size);
        out_.packet(stream.PID, stream.sent == 0 ? zqtest::Stream::begins : zqtest::Stream::goes_on,
                    stream.PES.data() + stream.sent, size);
        stream.sent += size;
    }

    /// A tenth of a second's worth.
    void tables()
    {
        out_.section(0x0000, mux_.PAT());
        for (unsigned at = 0; at < programmes_; ++at)
            out_.section(zqtest::Multiplex::PMT_PID(at), mux_.PMT(at));
        if (round_ % 10 == 0) {
            out_.section(0x0010, mux_.NIT());
            for (const auto& section : mux_.SDT())
                out_.section(0x0011, section);
            out_.section(0x0014, mux_.TDT());
        }
        for (unsigned at = 0; at < programmes_; ++at) {
            if ((at + round_) % 10 == 0) {
                out_.section(0x0012, mux_.EIT(at, 0x4E, 0, 1, 1));
                out_.section(0x0012, mux_.EIT(at, 0x4E, 1, 1, 1));
            }
            if ((at + round_) % 20 == 0)
                out_.section(0x0012, mux_.EIT(at, 0x50, round_ % 8, 7, 8));
        }
        ++round_;
    }

    unsigned programmes_;
    unsigned second_;
    unsigned picture_; ///< mean bytes of a video PES packet, 25 a second
    zqtest::Multiplex mux_;
    zqtest::Stream out_;
    std::vector<elementary_stream> streams_;
    std::size_t next_tables_ = 0;
    unsigned round_ = 0;
};

/// Only PSI and SI: a PAT and PMTs now and then, an SDT and a NIT, and nine of ten packets event information. With
/// `changing` the version of the event sections changes with every second repetition, so that a reader that filters by
/// version, and takes a table to be whole when its first section comes again, has to read each of them once.
inline zqtest::Bytes table_stream(unsigned programmes, std::size_t packets, bool changing)
{
    zqtest::Multiplex mux(programmes);
    zqtest::Stream out;
    for (unsigned round = 0; out.packets() < packets; ++round) {
        const unsigned version = changing ? round / 2 : 0;
        out.section(0x0000, mux.PAT());
        for (unsigned at = 0; at < programmes; at += 4)
            out.section(zqtest::Multiplex::PMT_PID(at), mux.PMT(at));
        for (const auto& section : mux.SDT())
            out.section(0x0011, section);
        out.section(0x0010, mux.NIT());
        out.section(0x0014, mux.TDT());
        for (unsigned at = 0; at < programmes; ++at) {
            for (unsigned section = 0; section < 2; ++section)
                out.section(0x0012, mux.EIT(at, 0x4E, section, 1, 1, version));
            for (unsigned section = 0; section < 3; ++section)
                out.section(0x0012, mux.EIT(at, 0x50, section, 2, 8, version));
        }
    }
    return out.data;
}
} // namespace zqbench
