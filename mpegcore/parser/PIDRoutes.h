// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/CAT.h"
#include "mpegcore/PAT.h"
#include "mpegcore/PMT.h"
#include "mpegcore/PacketWrapper.h"
#include "mpegcore/TransportPacket.h"
#include "mpegcore/parser/KnownTables.h"

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace mpegcore
{
class PIDRoutes;

/// What was read on a PID that carries a PMT, into a wrapper that others may destroy at any time.
class CarriedPMT final : private PacketWrapperWatcher
{
public:
    CarriedPMT(PIDRoutes& routes, unsigned short PID) : m_routes(routes), m_PID(PID) {}
    ~CarriedPMT()
    {
        if (m_wrapper != nullptr)
            m_wrapper->watcher = nullptr;
    }
    CarriedPMT(const CarriedPMT&) = delete;
    CarriedPMT& operator=(const CarriedPMT&) = delete;

    CPacketWrapper<CPMT>* wrapper() const { return m_wrapper; }
    /// From now on the PMT is read into this one, which nothing is known of.
    void attach(CPacketWrapper<CPMT>& wrapper);
    /// That wrapper()->current was read from; empty before.
    const std::vector<unsigned char>& section() const { return m_section; }
    void set_section(const unsigned char* bytes, std::size_t size);

    TableAsRead<CPMT> as_read;
    bool may_be_edited = false; ///< since

private:
    void wrapper_goes() override;

    PIDRoutes& m_routes;
    CPacketWrapper<CPMT>* m_wrapper = nullptr;
    const unsigned short m_PID;
    std::vector<unsigned char> m_section;
};

/// What one PMT says of one PID. The first of these that holds for a packet decides, as in the order below.
struct ProgramRoute
{
    unsigned short program_number = 0;
    const CarriedPMT* pmt = nullptr;            ///< what was read on that PID; null once its wrapper is gone
    std::shared_ptr<CBaseStreamTypeMap> stream; ///< its stream entry, when the PID is an elementary_PID
    bool is_PCR_PID = false;
    std::uint32_t CA_count = 0; ///< CA descriptors of the program loop that name the PID
};

/// By pmt_PID, in whose order they are reported. A tree: thousands of PMTs may name one PID, and change all the time.
using ProgramRoutes = std::map<unsigned short, ProgramRoute>;

/// Before the first plain packet; with the bits of a continuity_counter set, it is no packet's.
constexpr std::uint32_t no_plain_header = 0xFFFFFFFF;

/// What PAT, PMTs and CAT together say of one PID. One cache line, which is all that a plain packet needs.
struct alignas(64) PIDRoute
{
    bool is_used = false;
    bool carries_PMT = false;                ///< in the PAT
    bool collects = true;                    ///< plain packets into payload units
    std::uint32_t EMM_count = 0;             ///< CA descriptors of the CAT that name the PID
    std::unique_ptr<ProgramRoutes> programs; ///< null: no PMT names the PID
    std::unique_ptr<CarriedPMT> pmt;         ///< if the PID ever was in the PAT
    /// The header, continuity_counter apart, of the last plain packet, with which nothing is to be done but to collect
    /// and to report it. What follows holds for those packets.
    std::uint32_t plain_header = no_plain_header;
    std::array<unsigned char, 8> plain_fields{}; ///< of their records, sync_byte to adaptation_field_control
    // Of the one program that names the PID, if it lists it as a stream and no table else names it.
    unsigned short pmt_PID = 0;
    unsigned short program_number = 0;
    CBaseStreamTypeMap* stream = nullptr; ///< null if it is not like that
};

/// The way from a PID to everything that the current tables say of it, kept up when a table changes so that no packet
/// has to walk the tables.
class PIDRoutes
{
public:
    PIDRoutes() : m_routes(pid_count) {}

    PIDRoute& operator[](unsigned short PID) { return m_routes[PID]; }
    const PIDRoute& operator[](unsigned short PID) const { return m_routes[PID]; }

    void set_PAT(const CPAT& pat);
    void set_CAT(const CCAT& cat);
    /// Follows the current table of the PMT's wrapper, in place of what an earlier PMT on the same PID said.
    void set_PMT(unsigned short pmt_PID, const CarriedPMT& pmt);
    /// From now on no packet is reported for the PMT on this PID. Also while a packet is: nothing moves until
    /// drop_lost_PMTs().
    void lose_PMT(unsigned short pmt_PID);
    bool has_lost_PMTs() const { return !m_lost_PMTs.empty(); }
    /// To be called between packets.
    void drop_lost_PMTs();
    /// Notes what there is to do with packets that have this header (continuity_counter apart) and `record`; it holds
    /// until one of the tables changes.
    void set_plain(unsigned short PID, std::uint32_t header, bool collects, const transport_packet& record);
    void clear();
    /// What there is of the PMT on this PID.
    CarriedPMT& carried_PMT(unsigned short PID);
    /// Bytes of the sections that the current PMTs were read from.
    std::size_t PMT_bytes() const { return m_PMT_bytes; }

private:
    friend class CarriedPMT;

    ProgramRoute* find(unsigned short PID, unsigned short pmt_PID);
    void remove_PMT(unsigned short pmt_PID);
    void remove(unsigned short PID, unsigned short pmt_PID);

    PIDRoute& used(unsigned short PID);
    void forget_plain();

    std::vector<PIDRoute> m_routes;
    std::vector<unsigned short> m_used;  ///< what clear() has to look at
    std::vector<unsigned short> m_plain; ///< PIDs with a plain_header
    // What to take back when the next table of the same kind comes.
    std::vector<unsigned short> m_PMT_PIDs;
    std::vector<unsigned short> m_EMM_PIDs;
    std::map<unsigned short, std::vector<unsigned short>> m_program_PIDs;
    std::size_t m_PMT_bytes = 0;
    std::vector<unsigned short> m_lost_PMTs;
    std::vector<std::shared_ptr<CBaseStreamTypeMap>> m_lost_streams; ///< may be on their way to a callback
};
} // namespace mpegcore
