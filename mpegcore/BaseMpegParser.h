// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/BAT.h"
#include "mpegcore/BasePID.h"
#include "mpegcore/CAT.h"
#include "mpegcore/EIT.h"
#include "mpegcore/NIT.h"
#include "mpegcore/PAT.h"
#include "mpegcore/PMT.h"
#include "mpegcore/PacketWrapper.h"
#include "mpegcore/SDT.h"
#include "mpegcore/TDT.h"
#include "mpegcore/TOT.h"
#include "mpegcore/TSDT.h"
#include "mpegcore/TransportPacket.h"
#include "zqsdk/ZQAlignMemory.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>

namespace mpegcore
{
class PacketParser;

/// Parser and demultiplexer of one transport stream (ISO/IEC 13818-1, 2.4): finds the packets, collects the payload
/// units of every PID, reads the PSI/SI tables and reports all of it through the callbacks, which a subclass
/// overrides and which run inside Process, on its thread.
///
/// Rules for callbacks: they must not call Process, ParserData or Clear, must not change the contents of the tables
/// they are given (unless `m_editableTables`; RenderTable, AddData and SetValid are no such change), and must not
/// throw. What one writes into a packet's record is there for the callbacks behind it, and gone with the packet. Packet
/// pointers hold during the call. Table pointers hold until the next section of the same kind (for a PMT: on the same
/// PID) was read, or until Clear; they are never the callback's to delete.
///
/// By design there is no filter for versions or repetitions, and no check of continuity_counter,
/// transport_error_indicator or transport_scrambling_control. The section is taken to begin right behind the
/// pointer_field, whatever its value; one section is read from each payload unit, and it is reported again for every
/// further packet of that unit. A section with the same bytes as before is reported like any other, though mostly
/// without reading it again.
///
/// Memory: a parser's payload units together take at most `unit_memory_limit`, one unit at most
/// CBasePID::max_unit_size; what would pass a limit is discarded up to the PID's next unit start. The sections of its
/// PMTs together have at most `PMT_limit` bytes, which become descriptors of up to 200 times that size; one that would
/// pass it is not read. Tables that are kept because their sections come again and again take about
/// `known_tables_limit` at most for each of the members below, those of EIT schedules about `known_schedule_limit`.
class CBaseMpegParser
{
public:
    static constexpr std::size_t unit_memory_limit = std::size_t{256} << 20;
    static constexpr std::size_t PMT_limit = std::size_t{1} << 20;
    static constexpr std::size_t known_tables_limit = std::size_t{1} << 20;
    static constexpr std::size_t known_schedule_limit = std::size_t{11} << 20;

    /// With `use_carry` the bytes of an incomplete packet at the end of the data are put in front of the next call's
    /// data; without it they are dropped.
    explicit CBaseMpegParser(bool use_carry);
    virtual ~CBaseMpegParser();
    CBaseMpegParser(const CBaseMpegParser&) = delete;
    CBaseMpegParser& operator=(const CBaseMpegParser&) = delete;

    /// Back to the state of a new parser, but for the buffers and bit rates of the PIDs, which stay.
    virtual void Clear();

    /// Before anything is done with a packet; the number is always 0.
    virtual void OnPreProcess(unsigned int, const transport_packet&) {}
    /// After everything was done with a packet, also with one that was dropped for its adaptation field.
    virtual void OnProcess(unsigned int, transport_packet&) {}
    virtual void OnPAT(CPAT*) {}
    /// With the PAT's entry for the PID that carried the PMT.
    virtual void OnPMT(CBaseMpegProgram*, CPMT*) {}
    virtual void OnCAT(CCAT*) {}
    virtual void OnTSDT(CTSDT*) {}
    virtual void OnSDT(CSDT*) {}
    virtual void OnEIT(CEIT*) {}
    virtual void OnNIT(CNIT*) {}
    virtual void OnTDT(CTDT*) {}
    virtual void OnTOT(CTOT*) {}
    /// Packet of an elementary stream: PID of the PMT that lists it, its entry there. The entry is null for a packet
    /// on a PCR_PID that is none of the program's streams.
    virtual void OnPES(unsigned short pmt_PID, const CBaseStreamTypeMap* stream, transport_packet* packet);
    /// Payload unit that the packet completed, in front of the other two forms; never empty.
    virtual void OnPES(unsigned short pmt_PID, CBaseStreamTypeMap* stream, unsigned char* data, unsigned long size);
    /// Packet of an elementary stream, with the program_number.
    virtual void OnPES(unsigned short pmt_PID, unsigned short program_number, const CBaseStreamTypeMap* stream,
                       transport_packet* packet);
    /// Packet with a PCR, on any PID.
    virtual void OnPCR(transport_packet*) {}
    virtual void OnEMM(transport_packet*) {}
    virtual void OnECM(transport_packet*) {}
    virtual void OnBAT(CBAT*) {}
    virtual void OnNULL(transport_packet*) {}
    /// Every packet, once a PAT is known, that carries neither a table nor null data; after the other callbacks.
    virtual void onOtherPid(transport_packet*) {}
    /// With sections by the standard: a whole section, header and CRC_32 included, whose CRC_32 is good or whose kind
    /// has none, in front of the callback of its table. It holds during the call.
    virtual void OnSection(unsigned short, const unsigned char*, unsigned long) {}
    /// The same for a section whose CRC_32 is wrong; nothing else is done with it.
    virtual void OnSectionCRCFailed(unsigned short, const unsigned char*, unsigned long) {}

    /// Handles every whole packet; false starts are searched byte by byte for the next sync byte. Returns the bytes
    /// consumed, those carried over from the call before included. (nullptr, 0) is legal.
    unsigned long Process(unsigned char* data, unsigned long size);
    /// One packet. False when it is dropped: PID above 8191, or a bad adaptation field.
    bool ParserData(transport_packet& packet);
    /// Reads packet.adaptation_field. False, with the field left zero, when its length exceeds 183 or its private
    /// data 188 bytes.
    static bool ParserAdaptationField(transport_packet& packet);
    /// Does nothing.
    void ParcerPESPacket(unsigned char*) {}

    /// Sections by the standard (ISO/IEC 13818-1, 2.4.4), off by default. With it, sections are found behind any
    /// pointer_field, several in a unit too, the continuity_counter is followed, damaged and scrambled packets are left
    /// out, and each section is reported once, when its last byte is there: to OnSection on all table PIDs, the PIDs of
    /// PMTs and those of add_section_PID, and to the callback of its table unless its current_next_indicator is 0 or
    /// its table_id is none of the PID's. PAT, PMT and CAT of several sections count as one table: packets are told
    /// apart by all sections of the current version, and a program that a new PAT no longer has, or whose PMT is on
    /// another PID, loses its streams; several programs may share the PID of their PMTs. Tables are read with
    /// ZQDescriptorType::Standard. Table PIDs collect no payload units.
    ///
    /// Memory: up to 4.5 kB for each PID whose sections are gathered, and a second copy of the PMTs with a limit of its
    /// own as large as PMT_limit.
    ///
    /// Not to be called from callbacks; a change forgets tables, routes and carried bytes as Clear does.
    void set_sections_by_the_standard(bool on);
    bool sections_by_the_standard() const;
    /// The sections of this PID are to be reported, whatever else its packets are. At any time, from callbacks too; it
    /// stays so through Clear. False for a PID that has more than 13 bits or is that of null packets.
    [[nodiscard]] bool add_section_PID(unsigned short PID);
    /// Takes back add_section_PID, for the rest of a packet whose section is being reported too. Table PIDs and those
    /// of PMTs stay.
    void remove_section_PID(unsigned short PID);

    CPacketWrapper<CPAT> m_PAT;
    CPacketWrapper<CCAT> m_CAT;
    CPacketWrapper<CTSDT> m_TSDT;
    CPacketWrapper<CEIT> m_EITpfActual;
    CPacketWrapper<CEIT> m_EITpfOther;
    CPacketWrapper<CEIT> m_EITschActual;
    CPacketWrapper<CEIT> m_EITschOther;
    CPacketWrapper<CSDT> m_SDTActual;
    CPacketWrapper<CSDT> m_SDTOther;
    CPacketWrapper<CBAT> m_BAT;
    CPacketWrapper<CNIT> m_NITActual;
    CPacketWrapper<CNIT> m_NITOther;
    CPacketWrapper<CTDT> m_TDT;
    CPacketWrapper<CTOT> m_TOT;
    /// By the PID that carries the PMT. Deliberately kept when a later PAT no longer lists the PID. An entry may be
    /// erased or replaced at any time, also in a callback: from then on no packet is reported for its PMT, until one
    /// was read on the PID again.
    std::map<unsigned short, std::unique_ptr<CPacketWrapper<CPMT>>> m_PMTs;
    /// 8192, by PID. One that had no packet for 2^20 to 2^21 packets of the stream and that is in no table has its
    /// buffers taken away until the next unit starts.
    std::unique_ptr<CBasePID[]> m_PIDs;
    ZQSDK::ZQAlignMemory<unsigned char> m_carryBuffer;
    std::size_t m_carry = 0; ///< bytes held in m_carryBuffer
    bool m_useCarry;
    /// True lets callbacks change the tables they are given, for the price of reading every section anew. Packets of
    /// elementary streams, ECMs and EMMs are still told apart by the tables as they were read.
    bool m_editableTables = false;

protected:
    /// The part of Clear that leaves the PIDs as they are.
    void clear_tables();
    /// Whether payload units of PIDs that a PMT names are collected, as they are at first. Without, the form of OnPES
    /// that takes them is not called for units that complete from then on, and they are missing in m_PIDs. For a
    /// subclass that looks at neither; at any time, from callbacks too.
    void collect_units(bool on);
    /// For a subclass whose callbacks write nothing into the adaptation fields of packet records, which then need not
    /// be cleared for every packet. What they write all the same shows up in later records.
    void only_read_adaptation_fields() { m_adaptation_fields_are_written = false; }

private:
    friend class PacketParser;

    void append_to_carry(const unsigned char* data, std::size_t size);
    void carry_over(const unsigned char* data, std::size_t size);

    bool m_collects_units = true;
    bool m_adaptation_fields_are_written = true;
    std::unique_ptr<PacketParser> m_packets; ///< leads to the members above
};
} // namespace mpegcore
