// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/BaseMpegParser.h"
#include "zqsdk/ZQBSReader.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace mpegcore
{
/// Payload of a T2-MI packet of type 0x20 (TS 102 773, 5.2.7). A field that the packet is too short for is 0.
struct T2MITimeStamp
{
    std::uint8_t rfu;                 ///< 4 bits
    std::uint8_t bw;                  ///< 4 bits
    std::uint64_t seconds_since_2000; ///< 40 bits
    std::uint32_t subseconds;         ///< 27 bits, in units that bw gives
    std::uint16_t utco;               ///< 13 bits
};

/// Payload of a T2-MI packet of type 0x01 (TS 102 773, 5.2.2). Both ranges deliberately run to the end of the packet,
/// its 4 CRC bytes included.
struct T2MIAuxiliaryStream
{
    std::uint8_t frame_idx;
    std::uint8_t aux_id; ///< 4 bits
    std::uint16_t rfu;   ///< 12 bits
    unsigned char* payload;
    unsigned long payload_size;
    unsigned char* aux_data; ///< behind the three fields
    unsigned long aux_data_size;
};

/// Head of a T2-MI packet of type 0x00 (TS 102 773, 5.2.1) with its BBHEADER (EN 302 755, 5.1.7), without the data
/// field.
struct T2MIBBFrame
{
    std::uint8_t frame_idx;
    std::uint8_t plp_id;
    std::uint8_t intl_frame_start; ///< 1 bit
    std::uint8_t rfu;              ///< 7 bits
    std::uint8_t TS_GS;            ///< 2 bits
    std::uint8_t SIS_MIS;          ///< 1 bit
    std::uint8_t CCM_ACM;          ///< 1 bit
    std::uint8_t ISSYI;            ///< 1 bit
    std::uint8_t NPD;              ///< 1 bit
    std::uint8_t EXT;              ///< 2 bits
    std::uint8_t ISI;
    std::uint16_t UPL;
    std::uint16_t DFL; ///< in bits
    std::uint8_t SYNC;
    std::uint16_t SYNCD; ///< in bits
    std::uint8_t CRC_8;  ///< as received, the mode included
};

/// Turns a transport stream that carries T2-MI (TS 102 773) into the transport stream of one PLP. The T2-MI packets
/// are found on the stream of type 0x06 of the program that has no other stream. Callbacks run inside Process; what
/// their pointers lead to holds during the call, during which neither Process nor Clear may be called.
///
/// Faulty input is dropped without a word: packets that are too short, disagree with their length or fail the CRC,
/// other packet types, frames with a bad BBHEADER. packet_count is deliberately not followed. A T2-MI packet is all
/// that lies between two packet starts, so it is looked at when the next one starts, and bytes behind its CRC make it
/// fail. The two parts of a packet that straddles frames are joined when their lengths fit, so where frames were lost
/// parts of different packets can come out as one.
class CT2MIToTS : private CBaseMpegParser
{
public:
    /// The flag is that of CBaseMpegParser. All buffers are allocated here.
    explicit CT2MIToTS(bool use_carry);

    /// Chooses the PLP to rebuild by the id in its frames; 0 at first.
    void SetPLPID(unsigned char plp_id) { m_selected_PLP = plp_id; }
    /// Takes any piece of the transport stream; the result is that of CBaseMpegParser::Process.
    unsigned long Process(unsigned char* data, unsigned long size);
    /// Forgets the T2-MI packet and the user packets that were begun. The PLP, the PID and all that the parser
    /// knows deliberately stay.
    void Clear() override;

    /// A packet of the PLP: 187 bytes, the sync byte is missing.
    virtual void OnTS(unsigned char /*plp_id*/, unsigned char* /*data*/, unsigned long /*size*/) {}
    /// Every frame of the PLP with a good header, after its packets.
    virtual void OnBBFrame(T2MIBBFrame*) {}
    virtual void OnTimeStamp(T2MITimeStamp*) {}
    virtual void OnAuxiliaryStream(T2MIAuxiliaryStream*) {}

    void OnPAT(CPAT*) override {}
    /// The last program with exactly one stream decides: type 0x06 names the T2-MI PID, any other type ends the
    /// gathering of packets.
    void OnPMT(CBaseMpegProgram*, CPMT* pmt) override;
    /// Gathers the T2-MI packets. A packet is taken once, however many programs list its PID.
    void OnPES(unsigned short pmt_PID, const CBaseStreamTypeMap*, transport_packet* packet) override;
    /// Looks at the packet that was gathered.
    void ParcerT2MI();
    /// Looks at a baseband frame, from frame_idx on.
    void ParserBBFrame(ZQSDK::ZQBSReaderT<unsigned char*>* reader);

protected:
    /// To be switched off by a subclass that leaves the form of OnPES with payload units alone.
    using CBaseMpegParser::collect_units;
    using CBaseMpegParser::only_read_adaptation_fields;
    using CBaseMpegParser::OnPES;

private:
    static constexpr std::size_t buffer_size = 65535;
    static constexpr std::size_t user_packet_size = 187;
    static constexpr std::size_t carry_count = 255; // PLP 255 has none

    struct carry
    {
        std::array<unsigned char, user_packet_size> data;
        std::uint8_t size = 0;
    };

    bool taken_before(unsigned short pmt_PID, const transport_packet& packet);
    void append(const unsigned char* data, std::size_t size);
    void begin_packet(const unsigned char* payload, std::size_t size);
    void cut_data_field(const T2MIBBFrame& frame, unsigned char* data);
    void parse_timestamp(ZQSDK::ZQBSReaderT<unsigned char*>& reader);
    void parse_auxiliary_stream(ZQSDK::ZQBSReaderT<unsigned char*>& reader);

    std::uint32_t m_state = 0; // 1: the T2-MI PID is known
    std::uint16_t m_T2MI_PID = 0;
    std::uint8_t m_selected_PLP = 0;
    unsigned short m_taken_by = 0;          // PMT PID with which the last packet came
    const unsigned char* m_taken = nullptr; // its bytes, within one Process
    std::unique_ptr<unsigned char[]> m_buffer;
    std::size_t m_fill = 0;
    std::unique_ptr<carry[]> m_carries;
};
} // namespace mpegcore
