// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "tools/t2mi/t2mi_options.h"
#include "tools/t2mi/t2mi_packet.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace t2mi
{
/// Cuts the transport stream of one PLP into baseband frames (EN 302 755, 5.1.6 and 5.1.7): each packet loses its sync
/// byte, in normal mode to the CRC-8 of the packet before, gets what the options ask for, and runs across the frames'
/// borders.
class baseband_framer
{
public:
    /// Of the options, those about baseband frames count.
    explicit baseband_framer(std::uint8_t plp_id, const t2mi_options& options = {})
        : m_plp_id(plp_id),
          m_normal_mode(options.normal_mode),
          m_ISSY_bytes(options.ISSY_bytes),
          m_delete_nulls(options.delete_nulls),
          m_user_packet_bytes(options.user_packet_bytes())
    {}

    std::uint8_t plp_id() const { return m_plp_id; }
    /// No frame is being filled; the next one is begun with open.
    bool closed() const { return m_capacity == 0; }
    bool full() const { return !closed() && m_filled == m_capacity; }
    /// Everything that was put in has left with a closed frame.
    bool idle() const { return m_filled == 0 && m_rest.empty(); }

    /// Begins a frame whose data field takes `data_field_bytes`, 187 or more. The rest of a user packet that began in
    /// the frame before goes in first.
    void open(std::size_t data_field_bytes);
    /// Puts a packet of 188 bytes in. The frame must not be full; what it cannot take goes into the next one. `ISCR` is
    /// the time at which the packet came, in elementary periods, of which ISSY keeps the low 15 or 22 bits. A null
    /// packet that is left out is told to the receiver with the next packet that is none.
    void put(const unsigned char* packet, std::uint64_t ISCR = 0);

    /// Null packets that were left out have not been told yet.
    bool owes_nulls() const { return m_deleted != 0; }
    /// Sends the last of them, `null_packet`, with what tells of the others. The frame must not be full.
    void put_owed_null(const unsigned char* null_packet, std::uint64_t ISCR = 0);

    /// A frame of this PLP without data, with as much padding: made like that of close(). One may be being filled.
    std::vector<unsigned char> empty_frame(std::size_t padding_bytes, std::uint8_t frame_idx, bool intl_frame_start,
                                           bool single_input) const;

    /// Ends the frame: a data field that is not full is made shorter in DFL and padded with zeros. When it holds
    /// nothing but the rest of one user packet, SYNCD equals DFL. The bytes have room for the T2-MI header in front
    /// of the payload and hold until the next open.
    std::vector<unsigned char>& close(std::uint8_t frame_idx, bool intl_frame_start, bool single_input);

private:
    void add(const unsigned char* packet, std::uint64_t ISCR);
    void make_user_packet(const unsigned char* packet, std::uint64_t ISCR);

    std::uint8_t m_plp_id;
    bool m_normal_mode;
    unsigned m_ISSY_bytes;
    bool m_delete_nulls;
    std::size_t m_user_packet_bytes;
    std::vector<unsigned char> m_user_packet; // as it goes into the data field
    unsigned char m_CRC_8 = 0;                // of the one before
    unsigned char m_deleted = 0;              // null packets since then
    bool m_starts = false;                    // a packet has begun in the open frame
    std::array<unsigned char, 3> m_ISSY{};    // of that packet
    std::size_t m_capacity = 0;               // of the open frame's data field
    std::size_t m_filled = 0;                 // bytes in the data field
    std::uint16_t m_syncd_bytes = 0;
    std::vector<unsigned char> m_packet;
    std::vector<unsigned char> m_rest; // of the user packet that did not fit
};
} // namespace t2mi
