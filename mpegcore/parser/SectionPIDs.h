// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/sections/SectionGatherer.h"
#include "mpegcore/syntax/TransportPayload.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace mpegcore
{
/// The PIDs whose sections are gathered: those of the tables with a PID of their own, those of the PMTs, those that the
/// caller wants. A PID may be wanted for several reasons.
///
/// Memory: for each of them some 300 bytes and the block of its SectionGatherer.
class SectionPIDs
{
public:
    enum Reason : std::uint8_t
    {
        table = 1,
        PMT = 2,
        caller = 4,
    };

    SectionPIDs();

    void add(unsigned short PID, Reason reason) { m_reasons[PID] = static_cast<std::uint8_t>(m_reasons[PID] | reason); }
    void remove(unsigned short PID, Reason reason);
    bool gathers(unsigned short PID) const { return m_reasons[PID] != 0; }

    /// Calls `sink` as SectionGatherer::put_unchecked does, until the PID is removed. The sink may add and remove PIDs.
    template <class Sink>
    void put(unsigned short PID, const TransportPayload& payload, Sink&& sink)
    {
        auto& gatherer = m_gatherers[PID];
        if (!gatherer)
            gatherer = std::make_unique<SectionGatherer>();
        m_busy_PID = PID;
        gatherer->put_unchecked(payload, [&](const unsigned char* section, std::size_t size) {
            if (gathers(PID))
                sink(section, size);
        });
        m_busy_PID = pid_count;
        if (!gathers(PID))
            gatherer.reset();
    }

    /// Forgets all packets, and the PIDs of PMTs.
    void clear();

private:
    std::vector<std::uint8_t> m_reasons;
    std::vector<std::unique_ptr<SectionGatherer>> m_gatherers;
    unsigned m_busy_PID = pid_count; ///< whose gatherer must stay where it is
};
} // namespace mpegcore
