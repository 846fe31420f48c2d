// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/parser/SectionPIDs.h"

#include "mpegcore/parser/TableRegistry.h"

namespace mpegcore
{
SectionPIDs::SectionPIDs() : m_reasons(pid_count), m_gatherers(pid_count)
{
    table_places::for_each_PID([this](unsigned short PID) { add(PID, table); });
}

void SectionPIDs::remove(unsigned short PID, Reason reason)
{
    m_reasons[PID] = static_cast<std::uint8_t>(m_reasons[PID] & ~static_cast<unsigned>(reason));
    if (m_reasons[PID] == 0 && PID != m_busy_PID)
        m_gatherers[PID].reset();
}

void SectionPIDs::clear()
{
    for (unsigned PID = 0; PID < pid_count; ++PID) {
        m_gatherers[PID].reset();
        remove(static_cast<unsigned short>(PID), PMT);
    }
}
} // namespace mpegcore
