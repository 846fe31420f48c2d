// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/t2mi/UserPacketReader.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <vector>

namespace mpegcore
{
/// A PLP of which a frame came.
struct T2MIPLP
{
    UserPacketReader reader;
    bool is_there = false;      ///< told to have appeared, and not to have gone
    bool is_behind_gap = false; ///< something is missing in front of its next packet
    bool told_format = false;
};

/// The PLPs of a T2-MI stream, each made when its first frame comes, up to 256 of 1 KiB. Any thread may find one for
/// its counters.
class T2MIPLPTable
{
public:
    T2MIPLPTable() = default;
    ~T2MIPLPTable();
    T2MIPLPTable(const T2MIPLPTable&) = delete;
    T2MIPLPTable& operator=(const T2MIPLPTable&) = delete;

    T2MIPLP& of(std::uint8_t plp_id)
    {
        T2MIPLP* const known = m_PLPs[plp_id].load(std::memory_order_relaxed);
        return known != nullptr ? *known : add(plp_id);
    }
    const T2MIPLP* find(std::uint8_t plp_id) const { return m_PLPs[plp_id].load(std::memory_order_acquire); }
    /// Ids in the order in which they came.
    const std::vector<std::uint8_t>& seen() const { return m_seen; }

    /// Something is missing that may be of any of them.
    void note_gap();
    void set_restore_nulls(bool restore);

private:
    T2MIPLP& add(std::uint8_t plp_id);

    bool m_restores_nulls = true;
    std::array<std::atomic<T2MIPLP*>, 256> m_PLPs{};
    std::vector<std::uint8_t> m_seen;
};
} // namespace mpegcore
