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
        : m_programmes(programmes),
          m_second(packets_per_second),
          m_picture(packets_per_second * 18 / 20 / programmes / 25 * mpegcore::ts_payload_size),
          m_mux(programmes),
          m_streams(programmes * 3)
    {
        for (unsigned at = 0; at < programmes; ++at) {
            m_streams[3 * at].PID = zqtest::Multiplex::video_PID(at);
            m_streams[3 * at].stream_id = 0xE0;
            for (unsigned track = 0; track < 2; ++track) {
                m_streams[3 * at + 1 + track].PID = zqtest::Multiplex::audio_PID(at, track);
                m_streams[3 * at + 1 + track].stream_id = static_cast<unsigned char>(0xC0 + track);
            }
        }
    }

    zqtest::Bytes make(std::size_t packets)
    {
        while (m_out.packets() < packets) {
            if (m_out.packets() >= m_next_tables) {
                tables();
                m_next_tables += m_second / 10;
            }
            const unsigned programme = m_mux.below(m_programmes);
            const unsigned weight = m_mux.below(20);
            elementary(m_streams[3 * programme + (weight < 18 ? 0 : weight - 17)]);
        }
        return m_out.data;
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
            const std::uint64_t now = m_out.packets() * std::uint64_t{90000} / m_second;
            stream.PES = m_mux.PES(stream.stream_id, now + 9000,
                                   video ? m_picture / 2 + m_mux.below(m_picture) : 1500 + m_mux.below(1500));
            stream.sent = 0;
            if (video) {
                const zqtest::Bytes first(stream.PES.begin(), stream.PES.begin() + 176);
                m_out.PCR(stream.PID, now, 0, zqtest::Stream::begins, first);
                stream.sent = 176;
                return;
            }
        }
        const std::size_t size = std::min<std::size_t>(stream.PES.size() - stream.sent, mpegcore::ts_payload_size);
        m_out.packet(stream.PID, stream.sent == 0 ? zqtest::Stream::begins : zqtest::Stream::goes_on,
                     stream.PES.data() + stream.sent, size);
        stream.sent += size;
    }

    /// A tenth of a second's worth.
    void tables()
    {
        m_out.section(0x0000, m_mux.PAT());
        for (unsigned at = 0; at < m_programmes; ++at)
            m_out.section(zqtest::Multiplex::PMT_PID(at), m_mux.PMT(at));
        if (m_round % 10 == 0) {
            m_out.section(0x0010, m_mux.NIT());
            for (const auto& section : m_mux.SDT())
                m_out.section(0x0011, section);
            m_out.section(0x0014, m_mux.TDT());
        }
        for (unsigned at = 0; at < m_programmes; ++at) {
            if ((at + m_round) % 10 == 0) {
                m_out.section(0x0012, m_mux.EIT(at, 0x4E, 0, 1, 1));
                m_out.section(0x0012, m_mux.EIT(at, 0x4E, 1, 1, 1));
            }
            if ((at + m_round) % 20 == 0)
                m_out.section(0x0012, m_mux.EIT(at, 0x50, m_round % 8, 7, 8));
        }
        ++m_round;
    }

    unsigned m_programmes;
    unsigned m_second;
    unsigned m_picture; ///< mean bytes of a video PES packet, 25 a second
    zqtest::Multiplex m_mux;
    zqtest::Stream m_out;
    std::vector<elementary_stream> m_streams;
    std::size_t m_next_tables = 0;
    unsigned m_round = 0;
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
