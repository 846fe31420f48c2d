// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/T2MIToTS.h"
#include "support/ByteTable.h"
#include "support/Stream.h"
#include "support/descriptor_loops.h"

#include <array>
#include <cstdint>
#include <vector>

// T2-MI made by hand, byte after byte, without the library's writers.
namespace zqtest
{
constexpr unsigned PAT_PID = 0x0000;
constexpr unsigned PMT_PID = 0x0100;
constexpr unsigned T2MI_PID = 0x1000;

inline Bytes big_endian(std::uint64_t value, unsigned size)
{
    Bytes bytes;
    for (unsigned at = size; at-- > 0;)
        bytes.push_back(static_cast<unsigned char>(value >> (8 * at)));
    return bytes;
}

/// A packet of TS 102 773, 5.1, with a payload_len in bits that agrees with the payload or is given.
inline Bytes t2mi_packet(unsigned packet_type, const Bytes& payload, int payload_len = -1)
{
    const auto bits = payload_len < 0 ? 8 * payload.size() : static_cast<std::size_t>(payload_len);
    return with_crc(Bytes{static_cast<unsigned char>(packet_type), 0x55, 0x10, 0x00} + big_endian(bits, 2) + payload);
}

/// CRC-8 of EN 302 755, Annex F, bit by bit.
inline unsigned char crc_8(const Bytes& bytes)
{
    unsigned crc = 0;
    for (const unsigned char byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 0x80) != 0 ? (crc << 1 ^ 0xD5) & 0xFF : crc << 1;
    }
    return static_cast<unsigned char>(crc);
}

/// A baseband frame in its T2-MI packet, with all that tests vary.
struct Frame
{
    unsigned plp_id = 0;
    unsigned SYNCD = 0; // bits
    Bytes data;
    int DFL = -1;      // bits; below 0: those of data
    unsigned mode = 1; // XORed to the CRC-8
    Bytes head = {3};  // frame_idx

    Bytes payload() const
    {
        const auto dfl = DFL < 0 ? 8 * data.size() : static_cast<std::size_t>(DFL);
        Bytes header = Bytes{0xF0, 0x00, 0x00, 0x00} + big_endian(dfl, 2) + Bytes{0x00} + big_endian(SYNCD, 2);
        header.push_back(static_cast<unsigned char>(crc_8(header) ^ mode));
        return head + Bytes{static_cast<unsigned char>(plp_id), 0x80} + header + data;
    }
    Bytes packet() const { return t2mi_packet(0x00, payload()); }
};

/// `size` bytes that differ from those of other seeds.
inline Bytes pattern(std::size_t size, unsigned seed = 0)
{
    Bytes bytes(size);
    for (std::size_t at = 0; at < size; ++at)
        bytes[at] = static_cast<unsigned char>(at * 7 + seed * 31 + at / 187);
    return bytes;
}

inline Bytes slice(const Bytes& bytes, std::size_t at, std::size_t size)
{
    return {bytes.begin() + static_cast<std::ptrdiff_t>(at), bytes.begin() + static_cast<std::ptrdiff_t>(at + size)};
}

inline Bytes PAT_of(const std::vector<unsigned>& pmt_PIDs)
{
    Bytes body{0, 1, 0xC1, 0, 0};
    for (std::size_t at = 0; at < pmt_PIDs.size(); ++at)
        body = body + big_endian(at + 1, 2) + big_endian(0xE000U | pmt_PIDs[at], 2);
    return section_of(0x00, body);
}

struct PMT_stream
{
    unsigned stream_type;
    unsigned PID;
};

inline Bytes PMT_of(const std::vector<PMT_stream>& streams)
{
    Bytes body{0, 1, 0xC1, 0, 0, 0xFF, 0xFF, 0xF0, 0};
    for (const auto& stream : streams)
        body = body + Bytes{static_cast<unsigned char>(stream.stream_type)} + big_endian(0xE000U | stream.PID, 2) +
               Bytes{0xF0, 0};
    return section_of(0x02, body);
}

/// A stream in which the T2-MI PID is known.
inline Stream known_stream()
{
    Stream stream;
    stream.section(PAT_PID, PAT_of({PMT_PID})).section(PMT_PID, PMT_of({{0x06, T2MI_PID}}));
    return stream;
}

/// A T2-MI packet in transport packets of its own, the last one stuffed in its adaptation field.
inline void put(Stream& stream, const Bytes& packet) { stream.unit(T2MI_PID, Bytes{0} + packet); }

/// The start of a packet that never ends, at which the one before is looked at.
inline void end(Stream& stream) { put(stream, {0xFF}); }

inline Stream stream_of(const std::vector<Bytes>& packets)
{
    Stream stream = known_stream();
    for (const auto& packet : packets)
        put(stream, packet);
    end(stream);
    return stream;
}

/// All that came out of a decapsulator.
struct Recording
{
    struct auxiliary
    {
        mpegcore::T2MIAuxiliaryStream fields;
        Bytes payload;
        Bytes aux_data;
    };

    /// All packets, each behind a sync byte.
    Bytes transport_stream() const
    {
        Bytes bytes;
        for (const auto& packet : packets) {
            bytes.push_back(0x47);
            bytes.insert(bytes.end(), packet.begin(), packet.end());
        }
        return bytes;
    }

    std::vector<Bytes> packets;
    std::vector<unsigned char> plp_ids;
    std::vector<mpegcore::T2MIBBFrame> frames;
    std::vector<std::size_t> packets_at_frame; ///< packets that had come when each frame was told
    std::vector<mpegcore::T2MITimeStamp> timestamps;
    std::vector<auxiliary> auxiliaries;
};

class RecordingDecapsulator : public mpegcore::CT2MIToTS, public Recording
{
public:
    explicit RecordingDecapsulator(unsigned char plp_id = 0) : CT2MIToTS(true) { SetPLPID(plp_id); }

    void OnTS(unsigned char plp_id, unsigned char* data, unsigned long size) override
    {
        packets.emplace_back(data, data + size);
        plp_ids.push_back(plp_id);
    }
    void OnBBFrame(mpegcore::T2MIBBFrame* frame) override
    {
        frames.push_back(*frame);
        packets_at_frame.push_back(packets.size());
    }
    void OnTimeStamp(mpegcore::T2MITimeStamp* timestamp) override { timestamps.push_back(*timestamp); }
    void OnAuxiliaryStream(mpegcore::T2MIAuxiliaryStream* a) override
    {
        auxiliaries.push_back(
            {*a, {a->payload, a->payload + a->payload_size}, {a->aux_data, a->aux_data + a->aux_data_size}});
    }

    /// In pieces of exactly their size, so that a sanitizer sees a read past one.
    void feed(const Bytes& data, std::size_t piece = std::size_t{1} << 30)
    {
        for (std::size_t at = 0; at < data.size(); at += piece) {
            Bytes part = slice(data, at, std::min(piece, data.size() - at));
            Process(part.data(), part.size());
        }
    }
};

/// What comes out of a whole stream for one PLP.
inline Recording decapsulated_stream(const Bytes& data, unsigned plp_id = 0, std::size_t piece = std::size_t{1} << 30)
{
    RecordingDecapsulator decapsulator(static_cast<unsigned char>(plp_id));
    decapsulator.feed(data, piece);
    return static_cast<Recording&>(decapsulator);
}

/// A frame with one user packet.
inline Frame one_packet_frame(unsigned seed = 0)
{
    Frame frame;
    frame.data = pattern(187, seed);
    return frame;
}
} // namespace zqtest
