// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/TransportPacket.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <vector>

namespace zqtest
{
using Bytes = std::vector<unsigned char>;

/// The bytes of RenderTable; empty when it fails.
template <class Table>
Bytes rendered(Table& table)
{
    Bytes bytes;
    if (table.RenderTable())
        bytes.assign(table.buffer, table.buffer + table.used);
    return bytes;
}

/// Builds transport packets one behind the other, counting continuity_counter per PID.
class Stream
{
public:
    enum start : bool
    {
        goes_on = false,
        begins = true,
    };

    /// One packet; a payload shorter than 184 bytes is preceded by an adaptation field of the flags byte `flags`, the
    /// bytes `fields` and stuffing. At most 184 bytes of payload, 182 and fewer with fields.
    Stream& packet(unsigned PID, start unit_start, const unsigned char* payload, std::size_t size,
                   const Bytes& fields = {}, unsigned char flags = 0)
    {
        const bool with_field = size < mpegcore::ts_payload_size;
        unsigned char* out = append(PID, unit_start, static_cast<unsigned>(with_field ? (size == 0 ? 2 : 3) : 1));
        if (with_field) {
            const std::size_t length = mpegcore::ts_payload_size - 1 - size;
            *out++ = static_cast<unsigned char>(length);
            std::fill_n(out, length, static_cast<unsigned char>(0xFF));
            if (length > 0)
                out[0] = flags;
            if (!fields.empty())
                std::copy(fields.begin(), fields.end(), out + 1);
            out += length;
        }
        std::copy_n(payload, size, out);
        return *this;
    }

    Stream& packet(unsigned PID, start unit_start, const Bytes& payload, const Bytes& fields = {},
                   unsigned char flags = 0)
    {
        return packet(PID, unit_start, payload.data(), payload.size(), fields, flags);
    }

    /// 4 header bytes and 184 bytes as they are.
    Stream& raw(unsigned PID, start unit_start, unsigned adaptation_field_control, const Bytes& rest)
    {
        unsigned char* out = append(PID, unit_start, adaptation_field_control);
        std::fill_n(out, mpegcore::ts_payload_size, static_cast<unsigned char>(0xFF));
        std::copy_n(rest.begin(), std::min(rest.size(), std::size_t{mpegcore::ts_payload_size}), out);
        return *this;
    }

    /// A section in packets of its own: pointer_field 0, and 0xFF behind it up to the end of the last packet.
    Stream& section(unsigned PID, const Bytes& bytes)
    {
        const std::size_t whole = mpegcore::ts_payload_size;
        Bytes padded((bytes.size() + whole) / whole * whole, 0xFF);
        padded[0] = 0;
        std::copy(bytes.begin(), bytes.end(), padded.begin() + 1);
        return unit(PID, padded);
    }

    /// A payload unit in packets of its own, the last one with stuffing.
    Stream& unit(unsigned PID, const Bytes& bytes)
    {
        for (std::size_t at = 0; at < bytes.size(); at += mpegcore::ts_payload_size)
            packet(PID, at == 0 ? begins : goes_on, bytes.data() + at,
                   std::min<std::size_t>(bytes.size() - at, mpegcore::ts_payload_size));
        return *this;
    }

    /// A packet with a PCR in its adaptation field and `size` bytes of payload, at most 176.
    Stream& PCR(unsigned PID, std::uint64_t base, unsigned extension, start unit_start = goes_on,
                const Bytes& payload = Bytes(176))
    {
        return packet(PID, unit_start, payload, PCR_bytes(base, extension), 0x10);
    }

    Stream& null() { return packet(mpegcore::null_packet_PID, goes_on, Bytes(mpegcore::ts_payload_size)); }

    static Bytes PCR_bytes(std::uint64_t base, unsigned extension)
    {
        const std::uint64_t bits = base << 15 | 0x7E00U | extension;
        Bytes bytes;
        for (int shift = 40; shift >= 0; shift -= 8)
            bytes.push_back(static_cast<unsigned char>(bits >> shift));
        return bytes;
    }

    std::size_t packets() const { return data.size() / mpegcore::ts_packet_size; }

    Bytes data;

private:
    unsigned char* append(unsigned PID, start unit_start, unsigned adaptation_field_control)
    {
        const std::size_t at = data.size();
        data.resize(at + mpegcore::ts_packet_size);
        unsigned char* out = data.data() + at;
        out[0] = mpegcore::ts_sync_byte;
        out[1] = static_cast<unsigned char>((unit_start == begins ? 0x40U : 0U) | PID >> 8);
        out[2] = static_cast<unsigned char>(PID);
        out[3] = static_cast<unsigned char>(adaptation_field_control << 4 | (m_counters[PID & 0x1FFF]++ & 0x0F));
        return out + mpegcore::ts_header_size;
    }

    std::array<unsigned char, mpegcore::pid_count> m_counters{};
};
} // namespace zqtest
