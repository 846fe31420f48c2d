// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/syntax/TransportPayload.h"
#include "mpegcore/t2mi/RelaxedCounter.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace mpegcore
{
/// What gathering the T2-MI packets of one PID came to; any thread may read them.
struct T2MIGathererCounters
{
    RelaxedCounter transport_packets; ///< with a payload
    RelaxedCounter repeated;          ///< of these: sent a second time, left out
    RelaxedCounter transport_errors;  ///< of these: with transport_error_indicator, left out
    RelaxedCounter scrambled;         ///< of these: left out
    RelaxedCounter continuity_errors; ///< jumps of the continuity_counter
    RelaxedCounter packets;           ///< T2-MI packets handed out
    RelaxedCounter CRC_32_errors;     ///< T2-MI packets left out for their CRC-32
    RelaxedCounter pointer_errors;    ///< packet starts elsewhere than the packet before let expect
};

/// Puts the T2-MI packets of one PID together (ETSI TS 102 773, 5.1 and 6.1): by payload_len, any number of them in a
/// transport packet. The pointer_field serves to get in step, and as a check.
///
/// What is lost or damaged costs the T2-MI packet begun; the next one comes from the next packet start on.
///
/// Memory: one block of 32 KiB, made with the object.
class T2MIPacketGatherer
{
public:
    /// The longest T2-MI packet that payload_len can announce.
    static constexpr std::size_t longest_packet = 6 + 8192 + 4;

    T2MIPacketGatherer() : m_buffer(new unsigned char[buffer_size]) {}

    /// Takes a transport packet of 188 bytes. Calls `sink(unsigned char* packet, std::size_t size)` for each T2-MI
    /// packet with a good CRC-32 that ends in it, from packet_type to crc32; the bytes hold during the call and may be
    /// written to. Calls `lost()` where something is missing in front of what comes next. Neither may call put or
    /// reset.
    template <class Sink, class Lost>
    void put(const unsigned char* packet, Sink&& sink, Lost&& lost)
    {
        TransportPayload payload;
        if (!payload.read(packet))
            return;
        bool is_gap = false;
        const bool is_taken = follow(payload, is_gap);
        if (is_gap)
            lost();
        if (!is_taken)
            return;
        const unsigned char* data = payload.data;
        std::size_t size = payload.size;
        if (payload.payload_unit_start_indicator) {
            if (size == 0 || data[0] > size - 1) {
                ++m_counters.pointer_errors;
                if (size == 0 || !m_in_step) {
                    lose_step();
                    lost();
                    return;
                }
                // Lengths and CRC-32s know better.
                append(data + 1, size - 1);
            } else {
                const std::size_t pointer_field = *data++;
                --size;
                append(data, size);
                if (!reach(m_end - size + pointer_field, sink))
                    lost();
            }
        } else {
            append(data, size);
        }
        if (!m_in_step)
            m_begin = m_end;
        while (const std::size_t packet_size = whole_packet()) {
            // Only a payload with a pointer_field may have a start in it.
            const bool goes_on_within = !payload.payload_unit_start_indicator && m_begin + packet_size != m_end;
            if (!take(packet_size, sink))
                lost();
            if (goes_on_within) {
                lose_step();
                break;
            }
        }
        if (m_begin == m_end)
            m_begin = m_end = 0;
    }

    /// As if there had been no packet. The counters stay.
    void reset();
    /// Goes on where `other` stands, which then is as if reset; its counters are added to these.
    void take_over(T2MIPacketGatherer& other);

    const T2MIGathererCounters& counters() const { return m_counters; }

private:
    static constexpr std::size_t buffer_size = std::size_t{32} << 10;
    static_assert(buffer_size >= 2 * longest_packet);

    /// False when the payload is not to be looked at.
    bool follow(const TransportPayload& payload, bool& is_gap);
    void append(const unsigned char* data, std::size_t size);
    void lose_step();
    /// Bytes of the packet at m_begin if it is whole, else 0.
    std::size_t whole_packet() const;

    /// Hands out what ends at `start`, where a packet starts. False when something else stood in front of it.
    template <class Sink>
    bool reach(std::size_t start, Sink& sink)
    {
        bool agrees = true;
        if (m_in_step && m_begin != start) {
            const std::size_t packet_size = whole_packet();
            const bool ends_there = packet_size != 0 && m_begin + packet_size == start;
            if (!ends_there)
                ++m_counters.pointer_errors;
            agrees = packet_size != 0 && take(packet_size, sink);
            // A packet with a good CRC-32 knows better than the pointer where it ends.
            if (agrees && !ends_there)
                return true;
        }
        m_begin = start;
        m_in_step = true;
        return agrees;
    }

    template <class Sink>
    bool take(std::size_t packet_size, Sink& sink)
    {
        unsigned char* const packet = m_buffer.get() + m_begin;
        m_begin += packet_size;
        if (!CRC_32_holds(packet, packet_size))
            return false;
        ++m_counters.packets;
        sink(packet, packet_size);
        return true;
    }

    bool CRC_32_holds(const unsigned char* packet, std::size_t size);

    std::unique_ptr<unsigned char[]> m_buffer;
    std::size_t m_begin = 0; ///< of the packet begun, in m_buffer
    std::size_t m_end = 0;
    bool m_in_step = false; ///< a packet starts at m_begin
    ContinuityFollower m_continuity;
    T2MIGathererCounters m_counters;
};
} // namespace mpegcore
