// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/TransportPacket.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace mpegcore
{
/// What comes behind a section in the packet where it ends.
enum class SectionFill
{
    stuffing, ///< 0xFF; every section begins in a packet of its own
    packing,  ///< the next section
};

/// Cuts sections into the packets of one PID (ISO/IEC 13818-1, 2.4.4): pointer_field, stuffing, continuity_counter from
/// 0 on. With packing, a header may be split over two packets.
class SectionPacketizer
{
public:
    /// `PID` has 13 bits.
    explicit SectionPacketizer(std::uint16_t PID, SectionFill fill = SectionFill::stuffing) : m_PID(PID), m_fill(fill)
    {}

    /// Calls `sink(const unsigned char* packet)` for each finished packet of 188 bytes, which holds during the call.
    /// With packing the last bytes, fewer than a payload, wait. False, and nothing is taken, when the bytes are not one
    /// section by their section_length, or its table_id is 0xFF.
    template <class Sink>
    [[nodiscard]] bool put(const unsigned char* section, std::size_t size, Sink&& sink)
    {
        if (!is_section(section, size))
            return false;
        if (!has_room_for_start())
            send(sink);
        start_section();
        while (size > 0) {
            const std::size_t part = append(section, size);
            section += part;
            size -= part;
            if (is_full())
                send(sink);
        }
        if (m_fill == SectionFill::stuffing)
            flush(sink);
        return true;
    }

    /// Sends the bytes that wait, with stuffing behind them.
    template <class Sink>
    void flush(Sink&& sink)
    {
        if (m_waiting_size > 0)
            send(sink);
    }

    /// Whether put would take these bytes.
    [[nodiscard]] static bool is_section(const unsigned char* section, std::size_t size);

private:
    std::size_t capacity() const { return ts_payload_size - (m_starts ? 1 : 0); }
    bool is_full() const { return m_waiting_size == capacity(); }
    /// For a pointer_field, if there is none, and the first byte of a section.
    bool has_room_for_start() const { return m_starts || m_waiting_size + 1 < ts_payload_size; }
    void start_section();
    std::size_t append(const unsigned char* bytes, std::size_t size);
    void finish_packet();

    template <class Sink>
    void send(Sink& sink)
    {
        finish_packet();
        sink(static_cast<const unsigned char*>(m_packet.data()));
    }

    std::uint16_t m_PID;
    SectionFill m_fill;
    std::uint8_t m_continuity_counter = 0;
    bool m_starts = false;                                      ///< a section begins among the bytes that wait
    std::size_t m_waiting_size = 0;                             ///< the pointer_field not counted
    std::array<unsigned char, 1 + ts_payload_size> m_waiting{}; ///< its first byte is kept free for the pointer_field
    std::array<unsigned char, ts_packet_size> m_packet{};
};
} // namespace mpegcore
