// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstddef>

namespace mpegcore
{
class CBasePID;

/// Bytes that the payload units of many PIDs may take together, beyond the first two buffers of each PID.
///
/// When they run short, first what nobody waits for any more is given back: completed units and empty buffers. Units
/// that are being collected go last, and only those of PIDs that had no packet for long, counted in refusals.
class PayloadUnitBudget
{
public:
    explicit PayloadUnitBudget(std::size_t bytes) : m_left(bytes) {}

    /// The PIDs that share the budget; they must outlive it. Without them nothing can be given back.
    void share_among(CBasePID* PIDs, std::size_t count);

    /// True when `bytes` are left, if need be after others gave back theirs. What `asking` holds stays.
    [[nodiscard]] bool make_room(std::size_t bytes, const CBasePID& asking);
    /// False, and nothing taken, when fewer than `bytes` are left.
    [[nodiscard]] bool take(std::size_t bytes);
    void give_back(std::size_t bytes) { m_left += bytes; }
    std::size_t left() const { return m_left; }

    /// Refusals after which a unit is given up whose PID had no packet since as many refusals before.
    static constexpr std::size_t patience = 8192;

private:
    void release_idle(const CBasePID& asking);
    void give_up_silent(const CBasePID& asking);

    std::size_t m_left;
    CBasePID* m_PIDs = nullptr;
    std::size_t m_count = 0;
    std::size_t m_refused = 0;
};
} // namespace mpegcore
