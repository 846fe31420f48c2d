// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/t2mi/T2MIPLPTable.h"

#include <memory>

namespace mpegcore
{
T2MIPLPTable::~T2MIPLPTable()
{
    for (auto& plp : m_PLPs)
        delete plp.load(std::memory_order_relaxed);
}

T2MIPLP& T2MIPLPTable::add(std::uint8_t plp_id)
{
    auto plp = std::make_unique<T2MIPLP>();
    plp->reader.set_restore_nulls(m_restores_nulls);
    m_seen.push_back(plp_id);
    m_PLPs[plp_id].store(plp.get(), std::memory_order_release);
    return *plp.release();
}

void T2MIPLPTable::note_gap()
{
    for (const std::uint8_t plp_id : m_seen) {
        T2MIPLP& plp = of(plp_id);
        plp.reader.drop_part();
        plp.is_behind_gap = true;
    }
}

void T2MIPLPTable::set_restore_nulls(bool restore)
{
    m_restores_nulls = restore;
    for (const std::uint8_t plp_id : m_seen)
        of(plp_id).reader.set_restore_nulls(restore);
}
} // namespace mpegcore
