// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/BasePID.h"
#include "mpegcore/parser/PayloadUnitBudget.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace mpegcore
{
/// What the payload units of a stream's PIDs hold: kept within a budget, and given back by PIDs that had no packet for
/// long. Errors in packet headers make PIDs that are seen once, in the end all there are.
class PIDMemory final : private BudgetSharers
{
public:
    /// Packets of the stream after which a PID that had none of them is silent; with twice as many it is found to be.
    static constexpr std::size_t packets_until_silent = std::size_t{1} << 20;

    /// The PIDs must outlive it. `most_bytes` are those of all units together, first buffers included.
    PIDMemory(CBasePID* PIDs, std::size_t count, std::size_t most_bytes);
    PIDMemory(const PIDMemory&) = delete;
    PIDMemory& operator=(const PIDMemory&) = delete;

    PayloadUnitBudget& budget() { return m_budget; }
    /// Counts packets of the stream, by their bytes; whether it is time to sweep().
    [[nodiscard]] bool passed(std::size_t bytes) { return (m_bytes_since += bytes) >= bytes_until_silent; }
    /// Takes the buffers of silent PIDs, with what is in them. Of those for which `is_named`, called with the PID, is
    /// true, only what nobody waits for: a table names them, so that their next packet may complete a unit.
    template <class IsNamed>
    void sweep(IsNamed is_named)
    {
        m_bytes_since = 0;
        const auto has_none = [&](unsigned short PID) {
            m_PIDs[PID].release_if_silent(is_named(PID));
            return m_PIDs[PID].completed == nullptr;
        };
        m_with_buffers.erase(std::remove_if(m_with_buffers.begin(), m_with_buffers.end(), has_none),
                             m_with_buffers.end());
    }

private:
    static constexpr std::size_t bytes_until_silent = packets_until_silent * ts_packet_size;

    void release_idle(const CBasePID& asking) override;
    void give_up_silent(const CBasePID& asking) override;
    void got_buffers(const CBasePID& PID) override;

    CBasePID* const m_PIDs;
    PayloadUnitBudget m_budget;
    std::vector<unsigned short> m_with_buffers;
    std::size_t m_bytes_since = 0;
};
} // namespace mpegcore
