// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/SpliceInfoSection.h"
#include "mpegcore/sections/WholeTables.h"

#include <cstdint>
#include <optional>

namespace mpegcore
{
/// A table that became whole or changed.
struct TableChange
{
    TableNews news;              ///< complete or changed
    const WholeTable& table;     ///< of NIT, SDT other, BAT and TSDT only header and CRC_32 of each section
    std::uint8_t version_before; ///< of the table before, for `changed`
    std::uint64_t time;          ///< ns of the caller's clock
};

/// A splice_info_section (ANSI/SCTE 35) whose CRC_32 is good. A command that is repeated comes again.
struct SpliceNews
{
    std::uint16_t PID;
    std::uint16_t program_number;
    const CSpliceInfoSection& section;
    std::uint64_t time; ///< of its arrival, ns of the caller's clock
    /// When to splice, 90 kHz modulo 2^33, pts_adjustment added; none without a time, as in an immediate splice.
    std::optional<std::uint64_t> pts_time;
    /// How far that is ahead of the last PCR of the program, ns; negative: it is over. None without either.
    std::optional<std::int64_t> ahead;
};

/// Who is told what a StreamMonitor finds. Called inside its functions that are not const, none of which it may call;
/// what references lead to holds during the call.
class MonitorListener
{
public:
    virtual ~MonitorListener() = default;
    virtual void on_table(const TableChange&) {}
    virtual void on_splice(const SpliceNews&) {}
};
} // namespace mpegcore
