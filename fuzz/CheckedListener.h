// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "mpegcore/CRC.h"
#include "mpegcore/t2mi/T2MIDemultiplexer.h"

#include <bitset>
#include <cstdint>
#include <cstdlib>

namespace t2mi_fuzz
{
inline void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// Aborts at what no input may make of a T2MIDemultiplexer, and looks at every byte that it gets.
class CheckedListener : public mpegcore::T2MIDemultiplexer::Listener
{
public:
    void on_packet(std::uint8_t plp_id, const mpegcore::UserPacket& packet, bool is_behind_gap) override
    {
        require(m_is_there[plp_id]);
        require(packet.data[0] == mpegcore::ts_sync_byte);
        require(packet.ISSY_size <= 3 && (packet.ISSY_size == 0) == (packet.ISSY == nullptr));
        add(plp_id);
        add(is_behind_gap ? 1 : 0);
        add(packet.data, mpegcore::ts_packet_size);
        add(packet.ISSY, packet.ISSY_size);
    }
    void on_PLP_appeared(std::uint8_t plp_id) override
    {
        require(!m_is_there[plp_id]);
        m_is_there.set(plp_id);
    }
    void on_PLP_gone(std::uint8_t plp_id) override
    {
        require(m_is_there[plp_id]);
        m_is_there.reset(plp_id);
    }
    void on_L1_changed(const mpegcore::L1Current& L1) override
    {
        require(L1.L1CONF.PLPs.size() == L1.L1CONF.NUM_PLP);
        add(static_cast<unsigned char>(L1.superframe_periods()));
    }
    void on_T2MI_packet(const mpegcore::T2MIHeader& header, const unsigned char* payload, std::size_t size) override
    {
        require(size == (header.payload_len + std::size_t{7}) / 8);
        add(payload, size);
    }

    [[nodiscard]] std::uint32_t sum() const { return m_sum; } ///< of all that came

protected:
    void add(unsigned char byte) { add(&byte, 1); }
    void add(const unsigned char* data, std::size_t size) { m_sum = mpegcore::crc32_mpeg2(data, size, m_sum); }

private:
    std::uint32_t m_sum = 0xFFFFFFFF;
    std::bitset<256> m_is_there;
};
} // namespace t2mi_fuzz
