// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/sections/SectionHeader.h"
#include "mpegcore/syntax/TransportPayload.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace mpegcore
{
enum class SectionCheck
{
    good,       ///< also when its kind has no CRC_32
    CRC_failed, ///< also when it is too short for its CRC_32
};

/// Puts the sections of one PID together from its packets (ISO/IEC 13818-1, 2.4.4).
///
/// A packet that repeats the one before it is dropped. The section begun is dropped when the continuity_counter jumps
/// without a discontinuity_indicator, when a packet is damaged or scrambled, and when the bytes up to the next section
/// do not end it. A section begins only in a packet with payload_unit_start_indicator; the stuffing behind the last
/// one ends the payload. A packet without payload changes nothing.
///
/// Memory: from the first section on that goes over packets, a block of 1024 bytes, or of 4098 once one is longer.
class SectionGatherer
{
public:
    /// Calls `sink(const unsigned char* section, std::size_t size, SectionCheck check)` for every section that ends in
    /// the packet of 188 bytes. The section lies in the packet if it began there; it holds during the call. The sink
    /// may call reset().
    template <class Sink>
    void put(const unsigned char* packet, Sink&& sink)
    {
        TransportPayload fields;
        if (fields.read(packet))
            put(fields, sink);
    }

    /// The same for a packet that was read; there is a payload.
    template <class Sink>
    void put(const TransportPayload& packet, Sink&& sink)
    {
        put_unchecked(packet, [&sink](const unsigned char* section, std::size_t size) {
            sink(section, size, section_CRC_is_good(section, size) ? SectionCheck::good : SectionCheck::CRC_failed);
        });
    }

    /// The same, `sink(section, size)` being called without a look at the CRC_32.
    template <class Sink>
    void put_unchecked(const TransportPayload& packet, Sink&& sink)
    {
        if (!follow(packet))
            return;
        const unsigned char* at = packet.data;
        const unsigned char* const end = at + packet.size;
        if (!packet.payload_unit_start_indicator) {
            go_on(at, end, sink);
            return;
        }
        if (at == end || *at > end - at - 1) {
            drop();
            return;
        }
        const unsigned char* const first = at + 1 + *at;
        go_on(at + 1, first, sink);
        drop();
        take_sections(first, end, sink);
    }

    /// As if there had been no packet.
    void reset();

private:
    static constexpr std::size_t first_capacity = 1024; // few sections are longer

    /// Follows the continuity_counter; false when the payload is not to be looked at.
    [[nodiscard]] bool follow(const TransportPayload& packet)
    {
        // What stands in such a packet, its counter included, is not to be relied on.
        if (!packet.is_usable()) {
            drop();
            return false;
        }
        const Continuity continuity = m_continuity.follow(packet);
        if (continuity == Continuity::jumped)
            drop();
        return continuity != Continuity::repeated;
    }
    void begin(const unsigned char* at, const unsigned char* end);
    /// Adds to the section begun; true when it is whole.
    [[nodiscard]] bool append(const unsigned char* at, const unsigned char* end);
    void drop() { m_gathered = 0; }

    template <class Sink>
    void go_on(const unsigned char* at, const unsigned char* end, Sink& sink)
    {
        if (m_gathered == 0 || !append(at, end))
            return;
        m_gathered = 0;
        sink(static_cast<const unsigned char*>(m_section.get()), m_size);
    }

    template <class Sink>
    void take_sections(const unsigned char* at, const unsigned char* end, Sink& sink)
    {
        while (at != end && *at != section_stuffing_byte) {
            const auto left = static_cast<std::size_t>(end - at);
            if (left < section_header_size || SectionHeader(at, left).announced_size() > left) {
                begin(at, end);
                return;
            }
            const std::size_t size = SectionHeader(at, left).announced_size();
            sink(at, size);
            at += size;
        }
    }

    std::unique_ptr<unsigned char[]> m_section; ///< with a room of m_capacity bytes; null: none was needed yet
    std::size_t m_capacity = 0;
    std::size_t m_gathered = 0; ///< bytes of the section begun; 0: there is none
    std::size_t m_size = 0;     ///< that it announces, once its header is there
    ContinuityFollower m_continuity;
};
} // namespace mpegcore
