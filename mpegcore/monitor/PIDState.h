// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/monitor/AbsenceTimer.h"
#include "mpegcore/monitor/ContinuityCheck.h"
#include "mpegcore/monitor/PCRCheck.h"
#include "mpegcore/monitor/PIDTable.h"
#include "mpegcore/sections/SectionGatherer.h"

#include <cstdint>
#include <memory>

namespace mpegcore
{
/// What is remembered of one PID.
struct PIDState
{
    PIDFigures figures;

    /// What its packets are looked at for, beside their headers.
    bool has_sections = false;
    bool has_PTS = false; ///< video or audio, no still pictures
    bool is_T2MI = false;
    bool is_PCR_PID = false;
    bool looks_closer = false; ///< any of these, or PCRs
    ContinuityCheck continuity;

    std::unique_ptr<SectionGatherer> sections;
    std::unique_ptr<PCRCheck> PCR;
    AbsenceTimer PMT; ///< sections with table_id 2, on the PID of a PMT
    AbsenceTimer PTS;

    std::uint64_t referenced_at = 0;   ///< when tables began to name it for what it is now
    std::uint64_t unreferenced_at = 0; ///< when its first packet came that no table had named it for
    bool is_absent = false;            ///< told so
    bool is_stray = false;             ///< told to be unreferenced
    std::uint64_t packets_before = 0;  ///< when the last second began
};
} // namespace mpegcore
