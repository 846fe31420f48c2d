// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstddef>

namespace mpegcore
{
class CBasePID;

/// The PIDs that share a budget, as the budget sees them.
class BudgetSharers
{
public:
    /// Gives back what nobody waits for any more: completed units and empty buffers.
    virtual void release_idle(const CBasePID& asking) = 0;
    /// Gives up the units being collected on PIDs that had no packet since the last call.
    virtual void give_up_silent(const CBasePID& asking) = 0;
    /// Is told when one of them gets its first buffers.
    virtual void got_buffers(const CBasePID& PID) = 0;

protected:
    ~BudgetSharers() = default;
};

/// Bytes that the payload units of many PIDs may take together, beyond the first two buffers of each PID.
///
/// When they run short, first what nobody waits for any more is given back. Units that are being collected go last, and
/// only those of PIDs that had no packet for long, counted in refusals.
class PayloadUnitBudget
{
public:
    explicit PayloadUnitBudget(std::size_t bytes) : m_left(bytes) {}

    /// They must outlive the budget. Without them nothing can be given back.
    void share_among(BudgetSharers& sharers) { m_sharers = &sharers; }

    /// True when `bytes` are left, if need be after others gave back theirs. What `asking` holds stays.
    [[nodiscard]] bool make_room(std::size_t bytes, const CBasePID& asking);
    /// False, and nothing taken, when fewer than `bytes` are left.
    [[nodiscard]] bool take(std::size_t bytes);
    void give_back(std::size_t bytes) { m_left += bytes; }
    std::size_t left() const { return m_left; }
    void got_buffers(const CBasePID& PID)
    {
        if (m_sharers != nullptr)
            m_sharers->got_buffers(PID);
    }

    /// Refusals after which a unit is given up whose PID had no packet since as many refusals before.
    static constexpr std::size_t refusals_until_silent = 8192;

private:
    std::size_t m_left;
    BudgetSharers* m_sharers = nullptr;
    std::size_t m_refused = 0;
};
} // namespace mpegcore
