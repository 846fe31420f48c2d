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
/// What a table changes is written down by update(), which takes as long as there are programs and streams:
/// needs_update says when it is worth it, so that the time does not grow faster than the packets.
///
/// Memory: table_limit bytes of sections, by the estimate of WholeTables, and what their contents take.
class ProgramTables
{
public:
    static constexpr std::size_t table_limit = std::size_t{384} << 10;

    /// Of the PAT, by number; the others are not looked at.
    static constexpr std::size_t most_programs = 1024;

    ProgramTables(StreamContents& contents, const MonitorLimits& limits, MonitorListener* listener);

    /// A good section of PAT, CAT, PMT, TSDT, NIT, SDT or BAT; others are left alone.
    void put(std::uint16_t PID, const unsigned char* section, std::size_t size, std::uint64_t now);
    /// Something changed, and `packets`, those of the stream so far, are enough to look at it.
    bool needs_update(std::uint64_t packets) const { return m_has_changed && packets >= m_next_update; }
    bool has_changed() const { return m_has_changed; }
    void update(std::uint64_t packets, std::uint64_t now);

private:
    void follow(TableNews news, const WholeTable& table);
    Service* find_service(std::uint16_t program_number);
    void drop_old_tables();
    void set_services();
    void set_program(Service& service);
    void set_names();
    void set_kinds(std::uint64_t now);
    void set_EMM_PIDs();
    void set_kind(std::uint16_t PID, PIDKind kind, std::uint8_t stream_type = 0);
    void add_CA_PIDs(const ZQDescriptorList& descriptors, PIDKind kind);
    PIDState* find_or_add(std::uint16_t PID);

    StreamContents& m_contents;
    const MonitorLimits& m_limits;
    MonitorListener* m_listener;
    WholeTables m_tables;
    std::uint64_t m_now = 0;
    bool m_has_changed = false;
    std::uint64_t m_next_update = 0;
    TableIdentity m_PAT;                        ///< if m_contents.has_PAT
    std::set<TableIdentity> m_old;              ///< to be dropped
    std::set<std::uint16_t> m_changed_programs; ///< whose PMT did
    std::set<std::uint16_t> m_ECM_PIDs, m_still_PIDs;
};
} // namespace mpegcore
