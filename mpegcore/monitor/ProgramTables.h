// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/monitor/MonitorLimits.h"
#include "mpegcore/monitor/MonitorListener.h"
#include "mpegcore/monitor/StreamContents.h"
#include "mpegcore/sections/WholeTables.h"

#include <cstddef>
#include <cstdint>
#include <set>

namespace mpegcore
{
/// Keeps services, versions of tables and kinds of PIDs of a StreamContents by the tables of the stream.
///
/// What a table changes is written down by update(), which takes as long as there are programs and streams, and bytes
/// of their tables: needs_update says when it is worth it, so that the time grows with the packets or with the clock,
/// and not with what tables say.
///
/// Memory: table_limit bytes of sections, by the estimate of WholeTables, and what their contents take, which the two
/// bounds limit. Of tables that only versions are told of, the header and the CRC_32 of each section are kept.
class ProgramTables
{
public:
    static constexpr std::size_t table_limit = std::size_t{384} << 10;

    /// Of the PAT, by number; the others are not looked at.
    static constexpr std::size_t most_programs = 1024;
    /// Of the PMTs of all programs.
    static constexpr std::size_t most_streams = 4096;

    ProgramTables(StreamContents& contents, const MonitorLimits& limits, MonitorListener* listener);

    /// A good section of PAT, CAT, PMT, TSDT, NIT, SDT or BAT; others are left alone.
    void put(std::uint16_t PID, const unsigned char* section, std::size_t size, std::uint64_t now);
    /// Something changed, and `packets`, those of the stream so far, or the time are enough to look at it.
    bool needs_update(std::uint64_t packets, std::uint64_t now) const
    {
        return m_has_changed && (packets >= m_next_update || now >= m_next_update_time);
    }
    void update(std::uint64_t packets, std::uint64_t now);
    /// There may be more programs or streams than are looked at.
    bool is_at_a_bound() const { return m_contents.services.size() == most_programs || m_streams == most_streams; }

private:
    void follow(TableNews news, const WholeTable& table);
    Service* find_service(std::uint16_t program_number);
    void drop_old_tables();
    void set_services();
    void set_program(Service& service);
    void set_names();
    void set_kinds(std::uint64_t now);
    void set_EMM_PIDs();
    template <class Table, class Visit>
    void read_section(const std::vector<unsigned char>& section, Visit visit);
    void set_kind(std::uint16_t PID, PIDKind kind, std::uint8_t stream_type = 0);
    void add_CA_PIDs(const ZQDescriptorList& descriptors, PIDKind kind);
    PIDState* find_or_add(std::uint16_t PID);

    StreamContents& m_contents;
    const MonitorLimits& m_limits;
    MonitorListener* m_listener;
    WholeTables m_tables;
    std::uint64_t m_now = 0;
    bool m_has_changed = false;
    std::uint64_t m_next_update = 0, m_next_update_time = 0;
    std::size_t m_bytes_read = 0;                  ///< of sections, by the last update
    std::size_t m_streams = 0;                     ///< of all services
    std::uint16_t m_network_PID = null_packet_PID; ///< of the PAT; null_packet_PID without
    TableIdentity m_PAT;                           ///< if m_contents.has_PAT
    std::set<TableIdentity> m_old;                 ///< to be dropped
    std::set<std::uint16_t> m_changed_programs;    ///< whose PMT did
    std::set<std::uint16_t> m_ECM_PIDs, m_still_PIDs;
};
} // namespace mpegcore
