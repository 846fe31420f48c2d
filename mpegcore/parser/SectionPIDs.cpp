// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/parser/SectionPIDs.h"

namespace mpegcore
{
SectionPIDs::SectionPIDs() : m_reasons(pid_count), m_gatherers(pid_count)
{
    // PAT, CAT, TSDT; NIT, SDT and BAT, EIT, RST, TDT and TOT; DIT, SIT.
    for (const unsigned short PID : {0x0000, 0x0001, 0x0002, 0x0010, 0x0011, 0x0012, 0x0013, 0x0014, 0x001E, 0x001F})
        add(PID, table);
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
