// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/parser/SectionPIDs.h"
#include "mpegcore/parser/StandardPrograms.h"

namespace mpegcore
{
/// What a parser holds to gather sections by the standard.
struct StandardSections
{
    explicit StandardSections(PIDRoutes& routes) : programs(routes, PIDs) {}

    void clear()
    {
        programs.clear();
        PIDs.clear();
    }

    SectionPIDs PIDs;
    StandardPrograms programs;
};
} // namespace mpegcore
