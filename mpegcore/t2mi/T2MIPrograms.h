// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/sections/SectionGatherer.h"
#include "mpegcore/sections/WholeTables.h"

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

namespace mpegcore
{
/// What PAT and PMTs say about the PIDs that carry T2-MI (ETSI EN 300 468, 6.4.14). Follows their changes; sections
/// of a version to come, damaged ones and PMTs that are not whole do not count.
///
/// Memory: PAT_limit and PMT_limit bytes of sections; the first program_limit programs of the PAT are followed.
class T2MIPrograms
{
public:
    static constexpr std::size_t PAT_limit = std::size_t{64} << 10;
    static constexpr std::size_t PMT_limit = std::size_t{512} << 10;
    static constexpr std::size_t program_limit = 256;

    /// An elementary stream of a program.
    struct Stream
    {
        std::uint16_t PID = 0;
        std::uint8_t stream_type = 0;
        bool has_descriptor = false;     ///< T2-MI descriptor
        std::uint8_t t2mi_stream_id = 0; ///< that it names
    };

    T2MIPrograms();
    T2MIPrograms(const T2MIPrograms&) = delete;
    T2MIPrograms& operator=(const T2MIPrograms&) = delete;

    /// Whether put() wants the packets of the PID.
    bool wants(std::uint16_t PID) const { return m_PIDs[PID]; }
    /// Takes a transport packet of 188 bytes. True when what is known has changed.
    bool put(std::uint16_t PID, const unsigned char* packet);
    /// Back to the beginning.
    void clear();

    /// The PAT and the PMTs of all its programs are whole.
    bool is_complete() const;
    /// Whether a program lists the PID as an elementary stream.
    bool lists(std::uint16_t PID) const;
    /// Whether a T2-MI descriptor stands for the PID; with a `t2mi_stream_id` from 0 on, one that names it.
    bool describes(std::uint16_t PID, int t2mi_stream_id) const;
    /// The PID that a T2-MI descriptor stands for, of the first program by number that has one; with a
    /// `t2mi_stream_id` from 0 on, one that names it if there is any.
    std::optional<std::uint16_t> described_PID(int t2mi_stream_id) const;
    /// All elementary streams.
    std::vector<Stream> streams() const;

private:
    struct Program
    {
        std::uint16_t PMT_PID = 0;
        bool is_known = false;
        std::vector<Stream> streams;
    };

    void take_section(std::uint16_t PID, const unsigned char* section, std::size_t size);
    void follow_PAT(TableNews news, const WholeTable& table);
    void follow_PMT(TableNews news, const WholeTable& table);
    void watch_PMTs();
    void forget_old_tables();

    std::map<std::uint16_t, Program> m_programs; ///< by program_number
    std::map<std::uint16_t, SectionGatherer> m_gatherers;
    std::bitset<8192> m_PIDs;
    WholeTables m_PATs;
    WholeTables m_PMTs;
    std::vector<TableIdentity> m_old; ///< no longer wanted, once the report is over
    std::optional<TableIdentity> m_PAT;
    bool m_has_changed = false;
};
} // namespace mpegcore
