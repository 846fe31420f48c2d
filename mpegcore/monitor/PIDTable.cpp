// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/monitor/PIDState.h"

#include <algorithm>

namespace mpegcore
{
PIDTable::PIDTable() = default;
PIDTable::~PIDTable() = default;

const PIDFigures* PIDTable::find(std::uint16_t PID) const
{
    return PID < pid_count && m_by_PID[PID] != nullptr ? &m_by_PID[PID]->figures : nullptr;
}

std::vector<const PIDFigures*> PIDTable::all() const
{
    std::vector<const PIDFigures*> figures;
    figures.reserve(m_states.size());
    for (const auto& state : m_states)
        figures.push_back(&state->figures);
    std::sort(figures.begin(), figures.end(),
              [](const PIDFigures* one, const PIDFigures* other) { return one->PID < other->PID; });
    return figures;
}

PIDState* PIDTable::find_or_add(unsigned PID, std::size_t most)
{
    if (m_by_PID[PID] != nullptr)
        return m_by_PID[PID];
    if (m_states.size() >= most)
        return nullptr;
    m_states.push_back(std::make_unique<PIDState>());
    m_by_PID[PID] = m_states.back().get();
    m_by_PID[PID]->figures.PID = static_cast<std::uint16_t>(PID);
    return m_by_PID[PID];
}

void PIDTable::remove(unsigned PID)
{
    const auto found =
        std::find_if(m_states.begin(), m_states.end(), [&](const auto& state) { return state.get() == m_by_PID[PID]; });
    if (found == m_states.end())
        return;
    m_by_PID[PID] = nullptr;
    std::swap(*found, m_states.back());
    m_states.pop_back();
}

std::string_view name_of(PIDKind kind)
{
    switch (kind) {
    case PIDKind::unknown:
        return "unknown";
    case PIDKind::PAT:
        return "PAT";
    case PIDKind::CAT:
        return "CAT";
    case PIDKind::TSDT:
        return "TSDT";
    case PIDKind::NIT:
        return "NIT";
    case PIDKind::SDT_BAT:
        return "SDT/BAT";
    case PIDKind::EIT:
        return "EIT";
    case PIDKind::RST:
        return "RST";
    case PIDKind::TDT_TOT:
        return "TDT/TOT";
    case PIDKind::other_SI:
        return "other SI";
    case PIDKind::PMT:
        return "PMT";
    case PIDKind::video:
        return "video";
    case PIDKind::audio:
        return "audio";
    case PIDKind::subtitles:
        return "subtitles";
    case PIDKind::data:
        return "data";
    case PIDKind::SCTE35:
        return "SCTE 35";
    case PIDKind::T2MI:
        return "T2-MI";
    case PIDKind::PCR:
        return "PCR";
    case PIDKind::ECM:
        return "ECM";
    case PIDKind::EMM:
        return "EMM";
    case PIDKind::null:
        return "null";
    }
    return {};
}
} // namespace mpegcore
