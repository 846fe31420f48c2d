// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "support/BasebandFrames.h"
#include "support/SectionPackets.h"
#include "support/T2MI.h"

#include <algorithm>
#include <map>
#include <random>
#include <vector>

// T2-MI as it is on air: packed without gaps, with counters, descriptors and all that comes beside the frames.
namespace zqtest
{
/// T2-MI packets one behind the other in the payloads of a PID, with a pointer_field where one starts; the last payload
/// is stuffed. `flushes`: at random others too.
inline void pack(Stream& stream, unsigned PID, const std::vector<Bytes>& packets, std::mt19937* flushes = nullptr)
{
    Bytes waiting;
    std::vector<std::size_t> starts;
    const auto send = [&](std::size_t most) {
        const bool begins = !starts.empty() && starts.front() + 1 < most;
        std::size_t taken = std::min(waiting.size(), begins ? most - 1 : most);
        // A start that would just miss the pointer_field waits for the next payload.
        if (!begins && !starts.empty())
            taken = std::min(taken, starts.front());
        Bytes payload(waiting.begin(), waiting.begin() + static_cast<std::ptrdiff_t>(taken));
        if (begins)
            payload.insert(payload.begin(), static_cast<unsigned char>(starts.front()));
        stream.packet(PID, begins ? Stream::begins : Stream::goes_on, payload);
        waiting.erase(waiting.begin(), waiting.begin() + static_cast<std::ptrdiff_t>(taken));
        std::vector<std::size_t> later;
        for (const std::size_t start : starts)
            if (start >= taken)
                later.push_back(start - taken);
        starts = later;
    };
    for (const Bytes& packet : packets) {
        starts.push_back(waiting.size());
        waiting.insert(waiting.end(), packet.begin(), packet.end());
        while (waiting.size() > 400)
            send(184);
        if (flushes != nullptr && (*flushes)() % 5 == 0)
            while (!waiting.empty())
                send(184);
    }
    while (!waiting.empty())
        send(184);
}

/// Makes the T2-MI packets of one stream, which it numbers.
class T2MISender
{
public:
    explicit T2MISender(unsigned t2mi_stream_id = 0, unsigned packet_count = 0)
        : m_stream_id(t2mi_stream_id), m_packet_count(packet_count)
    {}

    Bytes packet(unsigned packet_type, const Bytes& payload)
    {
        return with_crc(Bytes{static_cast<unsigned char>(packet_type), static_cast<unsigned char>(m_packet_count++),
                              0x10, static_cast<unsigned char>(m_stream_id)} +
                        big_endian(8 * payload.size(), 2) + payload);
    }
    /// `frame` from the BBHEADER on.
    Bytes frame(unsigned plp_id, const Bytes& frame)
    {
        return packet(0x00, Bytes{0, static_cast<unsigned char>(plp_id), 0x80} + frame);
    }
    /// No packet with the next number is sent.
    void skip() { ++m_packet_count; }

private:
    unsigned m_stream_id;
    unsigned m_packet_count;
};

/// A transport packet that no other number has.
inline Bytes numbered_packet(unsigned number)
{
    Bytes packet = pattern(188, number);
    packet[0] = 0x47;
    packet[1] = 0x01;
    packet[2] = static_cast<unsigned char>(number >> 8);
    packet[3] = 0x10;
    packet[4] = static_cast<unsigned char>(number);
    return packet;
}

/// The relative timestamp and the L1-current of a satellite feed, the latter of PLP 102.
inline const Bytes timestamp_on_air{0x02, 0, 0, 0, 0, 0, 0x12, 0x76, 0x6A, 0xA0, 0};
inline const Bytes L1_on_air{0x00, 0x00, 0x00, 0x88, 0x20, 0x20, 0x00, 0x5E, 0x00, 0x13, 0xE2, 0x00, 0x00, 0x00,
                             0x30, 0x03, 0x30, 0x03, 0x02, 0x02, 0x90, 0x20, 0x8F, 0x00, 0xBF, 0x00, 0x02, 0x02,
                             0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x98, 0x8C, 0x00, 0x00, 0x89, 0x20, 0xA0, 0x08,
                             0x10, 0xFF, 0xF4, 0x7F, 0xFF, 0xFF, 0xFE, 0x00, 0x7F, 0x00, 0x00, 0x00, 0x00, 0x00,
                             0x00, 0x00, 0x01, 0xFE, 0xCC, 0x00, 0x00, 0x00, 0x29, 0xFF, 0xFE, 0x00, 0x00};

/// An elementary stream in a PMT.
struct ListedStream
{
    unsigned stream_type;
    unsigned PID;
    Bytes descriptors;
};

inline Bytes T2MI_descriptor(unsigned t2mi_stream_id = 0)
{
    return {0x7F, 0x04, 0x11, static_cast<unsigned char>(t2mi_stream_id), 0x00, 0x00};
}

/// A PAT section with (program_number, PMT_PID).
inline Bytes PAT_section(const std::vector<std::pair<unsigned, unsigned>>& programs, unsigned version = 0,
                         unsigned number = 0, unsigned last = 0)
{
    Bytes body{0, 1, static_cast<unsigned char>(0xC1 | version << 1), static_cast<unsigned char>(number),
               static_cast<unsigned char>(last)};
    for (const auto& [program_number, PID] : programs)
        body = body + big_endian(program_number, 2) + big_endian(0xE000U | PID, 2);
    return section_of(0x00, body);
}

inline Bytes PMT_section(unsigned program_number, const std::vector<ListedStream>& streams, unsigned version = 0,
                         bool is_current = true)
{
    Bytes body =
        big_endian(program_number, 2) +
        Bytes{static_cast<unsigned char>(0xC0 | version << 1 | (is_current ? 1 : 0)), 0, 0, 0xFF, 0xFF, 0xF0, 0};
    for (const auto& stream : streams)
        body = body + Bytes{static_cast<unsigned char>(stream.stream_type)} + big_endian(0xE000U | stream.PID, 2) +
               big_endian(0xF000U | stream.descriptors.size(), 2) + stream.descriptors;
    return section_of(0x02, body);
}

/// One packet of each stream in turn, those of the longer ones at the end.
inline Bytes interleaved(const std::vector<Bytes>& streams)
{
    Bytes all;
    std::size_t longest = 0;
    for (const Bytes& stream : streams)
        longest = std::max(longest, stream.size());
    for (std::size_t at = 0; at < longest; at += 188)
        for (const Bytes& stream : streams)
            if (at < stream.size())
                all = all + slice(stream, at, 188);
    return all;
}
} // namespace zqtest
