// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/BaseMpegProgram.h"
#include "mpegcore/PMT.h"
#include "mpegcore/PacketWrapper.h"
#include "mpegcore/parser/PIDRoutes.h"
#include "mpegcore/parser/SectionPIDs.h"
#include "mpegcore/sections/WholeTables.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>

namespace mpegcore
{
/// The programs of a stream by all sections of its PAT, with the routes that all sections of their PMTs give, and the
/// EMM routes by all sections of the CAT.
///
/// A program of a new PAT section is there at once; one that the PAT no longer has goes when all sections of the new
/// PAT are there. The routes of a program change when all sections of its PMT are there.
///
/// Memory: a PAT has at most 65535 programs; the sections of the PMTs take at most PMT_memory_limit.
class StandardPrograms
{
public:
    static constexpr std::size_t PMT_memory_limit = std::size_t{2} << 20;
    static constexpr std::size_t PAT_memory_limit = std::size_t{2} << 20;

    StandardPrograms(PIDRoutes& routes, SectionPIDs& PIDs);
    StandardPrograms(const StandardPrograms&) = delete;
    StandardPrograms& operator=(const StandardPrograms&) = delete;

    /// A good section with table_id 0 of PID 0 that is current.
    void take_PAT(const unsigned char* section, std::size_t size);
    /// A good section with table_id 1 of PID 1 that is current.
    void take_CAT(const unsigned char* section, std::size_t size);
    /// A good section with table_id 2 that is current. The program whose PMT it is, or null when the PAT does not
    /// expect that on this PID. `is_last`: the section before it on the PID that gave no null had the same bytes.
    CBaseMpegProgram* take_PMT(unsigned short PID, std::uint16_t program_number, const unsigned char* section,
                               std::size_t size, bool is_last);
    /// Forgets all, but for the routes.
    void clear();

private:
    struct Program
    {
        CBaseMpegProgram entry;
        bool is_settled = false; ///< the section of its PMT that came last would, if it came again, change nothing
        // The second leads to the first.
        std::unique_ptr<CPacketWrapper<CPMT>> whole; ///< its current table: all sections of the PMT together
        std::unique_ptr<CarriedPMT> carried;
    };
    using Programs = std::map<std::uint16_t, Program>; ///< by program_number

    void set_program(std::uint16_t program_number, unsigned short PID);
    Programs::iterator drop(Programs::iterator at);
    void leave_PID(unsigned short PID, std::uint16_t program_number);
    void follow_PAT(TableNews news, const WholeTable& table);
    void follow_CAT(TableNews news, const WholeTable& table);
    void follow_PMT(TableNews news, const WholeTable& table);

    PIDRoutes& m_routes;
    SectionPIDs& m_PIDs;
    Programs m_programs;
    std::map<unsigned short, std::uint32_t> m_programs_on; ///< how many have their PMT on a PID
    std::uint16_t m_transport_stream_id = 0;
    WholeTables m_PATs;
    WholeTables m_CATs;
    WholeTables m_PMTs;
};
} // namespace mpegcore
