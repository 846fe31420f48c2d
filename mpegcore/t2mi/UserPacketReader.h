// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/t2mi/BasebandHeader.h"
#include "mpegcore/t2mi/RelaxedCounter.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace mpegcore
{
/// What reading the baseband frames of one PLP came to; any thread may read them.
struct UserPacketCounters
{
    RelaxedCounter frames;              ///< all that were put in
    RelaxedCounter packets;             ///< handed out, null packets put back among them
    RelaxedCounter restored_nulls;      ///< null packets put back
    RelaxedCounter header_errors;       ///< frames dropped: CRC-8 of the BBHEADER, or fields that do not fit
    RelaxedCounter other_formats;       ///< frames that carry no transport stream (GFPS, GCS, GSE)
    RelaxedCounter SYNCD_disagreements; ///< frames that begin a packet elsewhere than the one before let expect
    RelaxedCounter CRC_8_errors;        ///< packets of normal mode whose CRC-8 disagrees; they are handed out
    RelaxedCounter dropped_parts;       ///< packets begun that did not become whole
};

/// One packet of the transport stream of a PLP; what the pointers lead to holds during the call.
struct UserPacket
{
    const unsigned char* data; ///< 188 bytes, the sync byte first
    const unsigned char* ISSY; ///< the input stream synchroniser's field of this packet, or null
    std::uint8_t ISSY_size;    ///< 0, 2 or 3 bytes
    bool is_restored_null;     ///< deleted by the sender, put back here
};

/// Cuts the baseband frames of one PLP into the packets of its transport stream (ETSI EN 302 755, 5.1), in normal and
/// in high efficiency mode, with and without ISSY and deleted null packets. A packet that goes on in the next frame is
/// kept until its last byte is there; one whose next part is missing or elsewhere is dropped, and only that.
class UserPacketReader
{
public:
    /// Whether null packets that the sender deleted (NPD) are put back; on at first.
    void set_restore_nulls(bool restore) { m_restores_nulls = restore; }

    /// Takes the frame of `size` bytes at `frame`, from the BBHEADER on, padding included, and calls
    /// `sink(const UserPacket&)` for each packet that ends in it. The bytes are written to: sync bytes take the place
    /// of what was read. False when the frame was dropped: a bad BBHEADER, or one that is not of a transport stream.
    template <class Sink>
    bool put(unsigned char* frame, std::size_t size, Sink&& sink)
    {
        if (!open(frame, size))
            return false;
        if (m_data == m_end)
            return true;
        unsigned char* at = m_data;
        if (finish_part(at))
            hand_out(m_part.data(), m_part_ISSY, sink);
        for (at += m_first; static_cast<std::size_t>(m_end - at) >= m_stride; at += m_stride)
            hand_out(at - m_sync_missing, std::exchange(m_frame_ISSY, {}), sink);
        keep_part(at);
        return true;
    }

    /// Frames may have been lost: what was begun is dropped.
    void drop_part();

    const UserPacketCounters& counters() const { return m_counters; }

private:
    static constexpr std::size_t longest_ISSY = 3;
    static constexpr std::size_t packet_size = 188;
    static constexpr unsigned char sync_byte = 0x47;
    /// CRC-8 or sync byte, 187 bytes, ISSY, DNP.
    static constexpr std::size_t longest_user_packet = 188 + longest_ISSY + 1;

    struct Format
    {
        bool high_efficiency = false;
        bool has_ISSY = false;
        bool has_DNP = false;
        std::uint8_t ISSY_size = 0; ///< in the data field; 0 in high efficiency mode
        bool operator==(const Format& other) const
        {
            return high_efficiency == other.high_efficiency && has_ISSY == other.has_ISSY && has_DNP == other.has_DNP &&
                   ISSY_size == other.ISSY_size;
        }
    };

    /// ISSY of a frame in high efficiency mode; it belongs to the first packet that starts in it.
    struct FrameISSY
    {
        bool is_there = false;
        std::array<unsigned char, longest_ISSY> bytes{};
    };

    bool open(unsigned char* frame, std::size_t size);
    Format format_of(const BasebandHeader& header, bool high_efficiency) const;
    std::uint8_t ISSY_size_of(const BasebandHeader& header) const;
    bool CRC_8_fits(std::size_t stride) const;
    void use(const Format& format);
    /// Adds what stands in front of the first packet start; true when that made a packet whole.
    bool finish_part(const unsigned char* data);
    void keep_part(const unsigned char* at);
    void check_CRC_8(const unsigned char* packet);

    /// `packet`: its sync place.
    template <class Sink>
    void hand_out(unsigned char* packet, const FrameISSY& frame_ISSY, Sink& sink)
    {
        if (!m_format.high_efficiency)
            check_CRC_8(packet);
        if (m_format.has_DNP && m_restores_nulls)
            for (unsigned left = packet[m_sync_missing + m_stride - 1]; left != 0; --left)
                restore_null(sink);
        packet[0] = sync_byte;
        ++m_counters.packets;
        if (m_format.ISSY_size != 0)
            sink(UserPacket{packet, packet + packet_size, m_format.ISSY_size, false});
        else if (frame_ISSY.is_there)
            sink(UserPacket{packet, frame_ISSY.bytes.data(), longest_ISSY, false});
        else
            sink(UserPacket{packet, nullptr, 0, false});
    }

    template <class Sink>
    void restore_null(Sink& sink)
    {
        ++m_counters.packets;
        ++m_counters.restored_nulls;
        sink(UserPacket{null_packet(), nullptr, 0, true});
    }

    static const unsigned char* null_packet();

    bool m_restores_nulls = true;
    Format m_format;
    std::size_t m_stride = 0;        ///< bytes of a user packet in the data field
    std::size_t m_sync_missing = 0;  ///< 1 where the user packets come without a byte in the sync place
    unsigned char* m_data = nullptr; ///< the data field of the frame at hand
    unsigned char* m_end = nullptr;
    std::size_t m_first = 0; ///< bytes in front of the first packet that starts in it
    bool m_field_has_start = false;
    bool m_in_step = false;     ///< the next byte of the PLP is the one behind m_part
    bool m_knows_CRC_8 = false; ///< of the packet before
    std::uint8_t m_CRC_8 = 0;
    FrameISSY m_frame_ISSY; ///< not handed out yet
    FrameISSY m_part_ISSY;
    std::size_t m_part_size = 0;                             ///< bytes of the packet begun, without the sync place
    std::array<unsigned char, longest_user_packet> m_part{}; ///< it, from its sync place on
    UserPacketCounters m_counters;
};
} // namespace mpegcore
