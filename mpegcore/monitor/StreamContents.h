// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/monitor/PIDTable.h"
#include "mpegcore/sections/WholeTables.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace mpegcore
{
/// An elementary stream of a service, by its PMT.
struct ElementaryStream
{
    std::uint16_t PID = 0;
    std::uint8_t stream_type = 0;
    PIDKind kind = PIDKind::data;
    std::string name;     ///< what it carries: "AVC video", "AC-3 audio"
    std::string language; ///< "deu" or "deu,eng", UTF-8; empty without
};

/// A program of the PAT, with what its PMT and the SDT say of it.
struct Service
{
    std::uint16_t program_number = 0; ///< service_id
    std::uint16_t PMT_PID = 0;
    bool has_PMT = false; ///< without, the next three are empty
    std::uint8_t PMT_version = 0;
    std::uint16_t PCR_PID = null_packet_PID; ///< null_packet_PID: it has none
    std::vector<ElementaryStream> streams;   ///< in the order of the PMT
    std::string name;                        ///< UTF-8; empty while no SDT names it
    std::string provider;
    std::uint8_t service_type = 0; ///< ETSI EN 300 468, table 87; 0 while no SDT tells it
};

/// A table that came whole: PAT, CAT, PMT, TSDT, NIT, SDT, BAT.
struct TableVersion
{
    std::uint8_t version_number = 0;
    std::uint8_t last_section_number = 0;
    std::uint64_t changes = 0;     ///< how often it became another one
    std::uint64_t last_change = 0; ///< ns of the caller's clock, when it came first or changed last
};

/// What a stream carries, as far as it has come by. Texts are valid UTF-8 and anybody's: escape them.
struct StreamContents
{
    bool has_PAT = false;
    std::uint16_t transport_stream_id = 0;
    std::vector<Service> services; ///< by program_number
    std::map<TableIdentity, TableVersion> tables;

    PIDTable PIDs;

    std::uint64_t packets = 0; ///< with a good sync byte, while synchronised
    std::uint64_t null_packets = 0;
    std::uint64_t scrambled_packets = 0;
    std::uint64_t missing_packets = 0; ///< by continuity_counter, at least; also of PIDs that are forgotten
    std::uint64_t untold_packets = 0;  ///< of PIDs beyond MonitorLimits::most_PIDs
    std::uint64_t bit_rate = 0;        ///< bits of packets a second, over the last second
    std::uint64_t null_bit_rate = 0;   ///< of these: null packets
    /// Part of null packets in the last second, 0 to 1.
    double null_share() const
    {
        return bit_rate == 0 ? 0 : static_cast<double>(null_bit_rate) / static_cast<double>(bit_rate);
    }
};
} // namespace mpegcore
