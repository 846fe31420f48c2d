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
#include <cstring>
#include <map>
#include <memory>
#include <vector>

namespace mpegcore
{
class PIDRoutes;

/// Tells the programs apart whose PMTs name PIDs, in the order in which they are reported: first the PID of the PMT,
/// then, where several may share that, the program_number.
using ProgramKey = std::uint32_t;
constexpr ProgramKey program_key(unsigned short pmt_PID, unsigned short program_number = 0)
{
    return static_cast<ProgramKey>(pmt_PID) << 16 | program_number;
}
constexpr unsigned short pmt_PID_of(ProgramKey key) { return static_cast<unsigned short>(key >> 16); }

/// What was read on a PID that carries a PMT, into a wrapper that others may destroy at any time.
class CarriedPMT final : private PacketWrapperWatcher
{
public:
    CarriedPMT(PIDRoutes& routes, ProgramKey key) : m_routes(routes), m_key(key) {}
    ~CarriedPMT()
    {
        if (m_wrapper != nullptr)
            m_wrapper->m_watcher = nullptr;
    }
    CarriedPMT(const CarriedPMT&) = delete;
    CarriedPMT& operator=(const CarriedPMT&) = delete;

    CPacketWrapper<CPMT>* wrapper() const { return m_wrapper; }
    /// From now on the PMT is read into this one, which nothing is known of.
    void attach(CPacketWrapper<CPMT>& wrapper);
    /// That wrapper()->current was read from; empty before.
    const std::vector<unsigned char>& section() const { return m_section; }
    void set_section(const unsigned char* bytes, std::size_t size);
    /// Whether section() is what the `size` bytes begin with.
    bool was_read_from(const unsigned char* bytes, std::size_t size) const
    {
        return !m_section.empty() && m_section.size() <= size &&
               std::memcmp(m_section.data(), bytes, m_section.size()) == 0;
    }

    TableAsRead<CPMT> as_read;
    bool may_be_edited = false; ///< since

private:
    void wrapper_goes() override;

    PIDRoutes& m_routes;
    CPacketWrapper<CPMT>* m_wrapper = nullptr;
    const ProgramKey m_key;
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

/// A tree: thousands of PMTs may name one PID, and change all the time.
using ProgramRoutes = std::map<ProgramKey, ProgramRoute>;

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
    /// In place of set_PAT, for one PID.
    void set_carries_PMT(unsigned short PID, bool carries_PMT);
    /// Follows the current table of the PMT's wrapper, in place of what an earlier PMT with the same key said.
    void set_PMT(ProgramKey key, const CarriedPMT& pmt);
    /// From now on no packet is reported for the PMT with this key. Also while a packet is: nothing moves until
    /// drop_lost_PMTs().
    void lose_PMT(ProgramKey key);
    bool has_lost_PMTs() const { return !m_lost_PMTs.empty(); }
    /// To be called between packets.
    void drop_lost_PMTs();
    /// Notes what there is to do with packets that have this header (continuity_counter apart) and `record`; it holds
    /// until one of the tables changes.
    void set_plain(unsigned short PID, std::uint32_t header, bool collects, const transport_packet& record);
    /// The next packet of every PID is looked at anew.
    void forget_plain();
    void clear();
    /// What there is of the PMT on this PID.
    CarriedPMT& carried_PMT(unsigned short PID);
    /// Bytes of the sections that the current PMTs were read from.
    std::size_t PMT_bytes() const { return m_PMT_bytes; }

private:
    friend class CarriedPMT;

    ProgramRoute* find(unsigned short PID, ProgramKey key);
    void remove_PMT(ProgramKey key);
    void remove(unsigned short PID, ProgramKey key);

    PIDRoute& used(unsigned short PID);

    std::vector<PIDRoute> m_routes;
    std::vector<unsigned short> m_used;  ///< what clear() has to look at
    std::vector<unsigned short> m_plain; ///< PIDs with a plain_header
    // What to take back when the next table of the same kind comes.
    std::vector<unsigned short> m_PMT_PIDs;
    std::vector<unsigned short> m_EMM_PIDs;
    std::map<ProgramKey, std::vector<unsigned short>> m_program_PIDs;
    std::size_t m_PMT_bytes = 0;
    std::vector<ProgramKey> m_lost_PMTs;
    std::vector<std::shared_ptr<CBaseStreamTypeMap>> m_lost_streams; ///< may be on their way to a callback
};
} // namespace mpegcore
