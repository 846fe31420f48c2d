// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/T2MIToTS.h"

#include "mpegcore/CRC.h"
#include "mpegcore/syntax/SyntaxReader.h"
#include "mpegcore/t2mi/BasebandHeader.h"

#include <algorithm>
#include <cstring>

namespace mpegcore
{
namespace
{
using bit_reader = ZQSDK::ZQBSReaderT<unsigned char*>;

constexpr std::uint8_t private_data_stream = 0x06;
constexpr std::uint8_t payload_absent = 2;

constexpr std::uint8_t baseband_frame = 0x00;
constexpr std::uint8_t auxiliary_stream = 0x01;
constexpr std::uint8_t dvb_t2_timestamp = 0x20;

constexpr std::size_t shortest_packet = 11;
constexpr std::size_t header_and_crc = 10;

/// 0 when the bits are not all there.
template <unsigned N, class T>
void read_or_zero(bit_reader& reader, T& field)
{
    if (!reader.getBits<N>(field))
        field = 0;
}
} // namespace

CT2MIToTS::CT2MIToTS(bool use_carry)
    : CBaseMpegParser(use_carry), m_buffer(new unsigned char[buffer_size]), m_carries(new carry[carry_count])
{}

unsigned long CT2MIToTS::Process(unsigned char* data, unsigned long size)
{
    // The same bytes given a second time are another packet.
    m_taken = nullptr;
    return CBaseMpegParser::Process(data, size);
}

void CT2MIToTS::Clear()
{
    m_fill = 0;
    for (std::size_t plp = 0; plp < carry_count; ++plp)
        m_carries[plp].size = 0;
}

void CT2MIToTS::OnPMT(CBaseMpegProgram*, CPMT* pmt)
{
    if (pmt->streams.size() != 1)
        return;
    const auto& [pid, stream] = *pmt->streams.begin();
    m_state = stream->stream_type == private_data_stream ? 1 : 0;
    if (m_state == 1)
        m_T2MI_PID = pid;
}

/// One packet comes with its PMTs in ascending order, so a further call for it has a higher PMT PID.
inline bool CT2MIToTS::taken_before(unsigned short pmt_PID, const transport_packet& packet)
{
    const bool before = packet.packet == m_taken && m_taken != nullptr && pmt_PID > m_taken_by;
    m_taken = packet.packet;
    m_taken_by = pmt_PID;
    return before;
}

inline void CT2MIToTS::append(const unsigned char* data, std::size_t size)
{
    if (m_fill + size >= buffer_size) {
        m_fill = 0;
        return;
    }
    unsigned char* const end = m_buffer.get() + m_fill;
    m_fill += size;
    // A copy of fixed size takes no call, and most payloads are whole.
    if (size == ts_payload_size)
        std::memcpy(end, data, ts_payload_size);
    else
        std::copy_n(data, size, end);
}

void CT2MIToTS::OnPES(unsigned short pmt_PID, const CBaseStreamTypeMap*, transport_packet* packet)
{
    if (m_state != 1 || packet->PID != m_T2MI_PID || packet->adaptation_field_control == payload_absent ||
        packet->payload_size == 0 || taken_before(pmt_PID, *packet))
        return;
    if (packet->payload_unit_start_indicator == 0)
        append(packet->payload, packet->payload_size);
    else
        begin_packet(packet->payload, packet->payload_size);
}

/// A payload in which a T2-MI packet starts, behind the end of the one before.
void CT2MIToTS::begin_packet(const unsigned char* payload, std::size_t size)
{
    const std::size_t pointer_field = payload[0];
    const std::size_t behind = size - 1;
    if (pointer_field > behind)
        return;
    append(payload + 1, pointer_field);
    ParcerT2MI();
    m_fill = behind - pointer_field;
    std::copy_n(payload + 1 + pointer_field, m_fill, m_buffer.get());
}

void CT2MIToTS::ParcerT2MI()
{
    if (m_fill < shortest_packet)
        return;
    bit_reader reader(m_buffer.get(), m_fill);
    std::uint8_t packet_type = 0;
    std::uint16_t payload_len = 0;
    reader.getBits<8>(packet_type);
    reader.getBits(8 + 4 + 9 + 3); // packet_count, superframe_idx, rfu, t2mi_stream_id
    reader.getBits<16>(payload_len);
    if (static_cast<std::uint16_t>(m_fill - header_and_crc) < payload_len / 8 ||
        crc32_mpeg2(m_buffer.get(), m_fill) != 0)
        return;
    if (packet_type == baseband_frame)
        ParserBBFrame(&reader);
    else if (packet_type == auxiliary_stream)
        parse_auxiliary_stream(reader);
    else if (packet_type == dvb_t2_timestamp)
        parse_timestamp(reader);
}

void CT2MIToTS::parse_timestamp(bit_reader& reader)
{
    T2MITimeStamp timestamp{};
    read_or_zero<4>(reader, timestamp.rfu);
    read_or_zero<4>(reader, timestamp.bw);
    read_or_zero<40>(reader, timestamp.seconds_since_2000);
    read_or_zero<27>(reader, timestamp.subseconds);
    read_or_zero<13>(reader, timestamp.utco);
    OnTimeStamp(&timestamp);
}

void CT2MIToTS::parse_auxiliary_stream(bit_reader& reader)
{
    T2MIAuxiliaryStream auxiliary{};
    auxiliary.payload = reader.position();
    auxiliary.payload_size = reader.availableBytes();
    read_or_zero<8>(reader, auxiliary.frame_idx);
    read_or_zero<4>(reader, auxiliary.aux_id);
    read_or_zero<12>(reader, auxiliary.rfu);
    auxiliary.aux_data = reader.position();
    auxiliary.aux_data_size = reader.availableBytes();
    OnAuxiliaryStream(&auxiliary);
}

void CT2MIToTS::ParserBBFrame(bit_reader* reader)
{
    T2MIBBFrame frame{};
    if (!reader->getBits<8>(frame.frame_idx) || !reader->getBits<8>(frame.plp_id) ||
        !reader->getBits<1>(frame.intl_frame_start) || !reader->getBits<7>(frame.rfu) ||
        frame.plp_id != m_selected_PLP || reader->availableBytes() < BasebandHeader::size)
        return;
    const unsigned mode = BasebandHeader::mode_of(reader->position());
    SyntaxReader io(*reader);
    io.open_body(BasebandHeader::size);
    if (!BasebandHeader::syntax(frame, io) || mode > BasebandHeader::high_efficiency ||
        frame.DFL / 8U > reader->availableBytes())
        return;
    cut_data_field(frame, reader->position());
    OnBBFrame(&frame);
}

void CT2MIToTS::cut_data_field(const T2MIBBFrame& frame, unsigned char* data)
{
    const auto first = static_cast<std::uint16_t>(frame.SYNCD / 8);
    const auto size = static_cast<std::uint16_t>(frame.DFL / 8);
    carry* const begun = frame.plp_id < carry_count ? &m_carries[frame.plp_id] : nullptr;
    if (frame.SYNCD == BasebandHeader::no_start || first > size) {
        if (begun != nullptr)
            begun->size = 0;
        return;
    }
    if (first > 0 && begun != nullptr && begun->size + first == user_packet_size) {
        std::copy_n(data, first, begun->data.data() + begun->size);
        begun->size = 0;
        OnTS(frame.plp_id, begun->data.data(), user_packet_size);
    }
    const unsigned char* const end = data + size;
    unsigned char* packet = data + first;
    for (; end - packet >= static_cast<std::ptrdiff_t>(user_packet_size); packet += user_packet_size)
        OnTS(frame.plp_id, packet, user_packet_size);
    // Without a rest the carry deliberately stays as it is.
    if (packet != end && begun != nullptr) {
        begun->size = static_cast<std::uint8_t>(end - packet);
        std::copy_n(packet, begun->size, begun->data.data());
    }
}
} // namespace mpegcore
