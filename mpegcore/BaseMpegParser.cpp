// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/BaseMpegParser.h"

#include "mpegcore/parser/AdaptationField.h"
#include "mpegcore/parser/PacketParser.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace mpegcore
{
namespace
{
constexpr std::size_t longest_partial_packet = ts_packet_size - 1;
constexpr unsigned long carry_alignment = 8;
} // namespace

CBaseMpegParser::CBaseMpegParser(bool use_carry)
    : m_PIDs(new CBasePID[pid_count]), m_useCarry(use_carry), m_packets(std::make_unique<PacketParser>(*this))
{
    m_carryBuffer.alloc(longest_partial_packet, carry_alignment);
}

CBaseMpegParser::~CBaseMpegParser() = default;

void CBaseMpegParser::Clear()
{
    clear_tables();
    for (unsigned PID = 0; PID < pid_count; ++PID)
        m_PIDs[PID].clear();
}

void CBaseMpegParser::clear_tables()
{
    m_packets->clear();
    m_carryBuffer = {};
    m_carry = 0;
}

void CBaseMpegParser::OnPES(unsigned short, const CBaseStreamTypeMap*, transport_packet*) {}
void CBaseMpegParser::OnPES(unsigned short, CBaseStreamTypeMap*, unsigned char*, unsigned long) {}
void CBaseMpegParser::OnPES(unsigned short, unsigned short, const CBaseStreamTypeMap*, transport_packet*) {}

unsigned long CBaseMpegParser::Process(unsigned char* data, unsigned long size)
{
    if (!m_useCarry || m_carry == 0) {
        const unsigned long consumed = m_packets->process(data, size, size);
        carry_over(data + consumed, size - consumed);
        return consumed;
    }
    // Only what a packet that began in the carried bytes can reach is joined to them; the rest stays where it is.
    const unsigned long carried = m_carry;
    const unsigned long joined = std::min<unsigned long>(size, longest_partial_packet);
    append_to_carry(data, joined);
    m_carry = 0;
    const unsigned long position = m_packets->process(m_carryBuffer.data(), carried + joined, carried);
    if (position < carried) { // not even one packet: all of the data was joined
        carry_over(m_carryBuffer.data() + position, carried + joined - position);
        return position;
    }
    const unsigned long behind = position - carried;
    const unsigned long consumed = behind + m_packets->process(data + behind, size - behind, size - behind);
    carry_over(data + consumed, size - consumed);
    return carried + consumed;
}

void CBaseMpegParser::append_to_carry(const unsigned char* data, std::size_t size)
{
    if (m_carry + size > m_carryBuffer.capacity()) {
        ZQSDK::ZQAlignMemory<unsigned char> larger;
        larger.alloc(2 * longest_partial_packet, carry_alignment);
        std::copy_n(m_carryBuffer.data(), m_carry, larger.data());
        m_carryBuffer = larger;
    }
    std::copy_n(data, size, m_carryBuffer.data() + m_carry);
}

void CBaseMpegParser::carry_over(const unsigned char* data, std::size_t size)
{
    if (!m_useCarry || size == 0)
        return;
    m_carryBuffer.alloc(longest_partial_packet, carry_alignment);
    std::memmove(m_carryBuffer.data(), data, size);
    m_carry = size;
}

bool CBaseMpegParser::ParserData(transport_packet& packet) { return m_packets->process(packet); }

bool CBaseMpegParser::ParserAdaptationField(transport_packet& packet)
{
    adaptation_field_record record{};
    if (!read_adaptation_field(packet, record))
        return false;
    packet.adaptation_field = record;
    return true;
}

void CBaseMpegParser::set_sections_by_the_standard(bool on)
{
    if (on == m_packets->is_by_the_standard())
        return;
    clear_tables();
    m_packets->set_by_the_standard(on);
}

bool CBaseMpegParser::sections_by_the_standard() const { return m_packets->is_by_the_standard(); }

void CBaseMpegParser::collect_units(bool on)
{
    m_collects_units = on;
    m_packets->forget_plain();
}

bool CBaseMpegParser::add_section_PID(unsigned short PID) { return m_packets->add_section_PID(PID); }

void CBaseMpegParser::remove_section_PID(unsigned short PID) { m_packets->remove_section_PID(PID); }
} // namespace mpegcore
