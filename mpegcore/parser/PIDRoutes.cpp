// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/parser/PIDRoutes.h"
#include "mpegcore/zqdescriptorlist.h"

#include <cstring>
#include <utility>

namespace mpegcore
{
// The checked containers of libstdc++ are larger.
constexpr bool checked_containers = sizeof(std::vector<int>) > 3 * sizeof(void*);
static_assert(sizeof(PIDRoute) == alignof(PIDRoute) || checked_containers,
              "every packet would need a second cache line");

namespace
{
constexpr unsigned char CA_descriptor_tag = 9;

template <class Visit>
void for_each_CA_PID(const ZQDescriptorList& descriptors, Visit visit)
{
    for (const auto& descriptor : descriptors) {
        if (descriptor->descriptor_tag != CA_descriptor_tag)
            continue;
        // A list filled by hand may hold another class under this tag.
        if (const auto* ca = dynamic_cast<const CA_descriptor*>(descriptor.get()))
            visit(static_cast<unsigned short>(ca->CA_PID & (pid_count - 1)));
    }
}
} // namespace

void CarriedPMT::attach(CPacketWrapper<CPMT>& wrapper)
{
    if (m_wrapper != nullptr) {
        m_wrapper->m_watcher = nullptr;
        wrapper_goes();
    }
    if (wrapper.m_watcher != nullptr) // it came here from another PID
        wrapper.m_watcher->wrapper_goes();
    wrapper.m_watcher = this;
    m_wrapper = &wrapper;
}

void CarriedPMT::set_section(const unsigned char* bytes, std::size_t size)
{
    m_routes.m_PMT_bytes += size - m_section.size();
    m_section.assign(bytes, bytes + size);
}

void CarriedPMT::wrapper_goes()
{
    m_wrapper = nullptr;
    set_section(nullptr, 0);
    m_routes.lose_PMT(m_key);
}

void PIDRoutes::set_PAT(const CPAT& pat)
{
    forget_plain();
    for (const unsigned short PID : m_PMT_PIDs)
        m_routes[PID].carries_PMT = false;
    m_PMT_PIDs.clear();
    for (const auto& entry : pat.programs) {
        m_PMT_PIDs.push_back(entry.first);
        used(entry.first).carries_PMT = true;
    }
}

void PIDRoutes::set_CAT(const CCAT& cat)
{
    forget_plain();
    for (const unsigned short PID : m_EMM_PIDs)
        m_routes[PID].EMM_count = 0;
    m_EMM_PIDs.clear();
    for_each_CA_PID(cat.descriptors, [this](unsigned short PID) {
        m_EMM_PIDs.push_back(PID);
        ++used(PID).EMM_count;
    });
}

void PIDRoutes::set_carries_PMT(unsigned short PID, bool carries_PMT)
{
    forget_plain();
    used(PID).carries_PMT = carries_PMT;
}

void PIDRoutes::set_PMT(ProgramKey key, const CarriedPMT& pmt)
{
    forget_plain();
    drop_lost_PMTs();
    // Most PMTs change in other things than their PIDs, so what stays is not taken out and put in again.
    auto& PIDs = m_program_PIDs[key];
    const auto PIDs_before = std::exchange(PIDs, {});
    for (const unsigned short PID : PIDs_before)
        if (ProgramRoute* const route = find(PID, key))
            *route = ProgramRoute{};
    const CPMT& table = *pmt.wrapper()->current;
    const auto route_of = [&](unsigned short PID) -> ProgramRoute& {
        auto& programs = used(PID).programs;
        if (!programs)
            programs = std::make_unique<ProgramRoutes>();
        ProgramRoute& route = (*programs)[key];
        if (route.pmt == nullptr)
            PIDs.push_back(PID);
        route.pmt = &pmt;
        route.program_number = table.program_number;
        return route;
    };
    for (const auto& entry : table.streams)
        route_of(entry.first).stream = entry.second;
    route_of(table.PCR_PID).is_PCR_PID = true;
    for_each_CA_PID(table.descriptors, [&](unsigned short PID) { ++route_of(PID).CA_count; });
    for (const unsigned short PID : PIDs_before)
        if (const ProgramRoute* const route = find(PID, key); route != nullptr && route->pmt == nullptr)
            remove(PID, key);
}

void PIDRoutes::lose_PMT(ProgramKey key)
{
    const auto PIDs = m_program_PIDs.find(key);
    if (PIDs == m_program_PIDs.end())
        return;
    forget_plain();
    m_lost_PMTs.push_back(key);
    for (const unsigned short PID : PIDs->second) {
        ProgramRoute* const route = find(PID, key);
        if (route == nullptr)
            continue;
        route->pmt = nullptr;
        if (route->stream)
            m_lost_streams.push_back(std::move(route->stream));
    }
}

void PIDRoutes::drop_lost_PMTs()
{
    for (const ProgramKey key : m_lost_PMTs)
        remove_PMT(key);
    m_lost_PMTs.clear();
    m_lost_streams.clear();
}

void PIDRoutes::clear()
{
    forget_plain();
    for (const unsigned short PID : m_used)
        m_routes[PID] = PIDRoute{};
    m_used.clear();
    m_PMT_PIDs.clear();
    m_EMM_PIDs.clear();
    m_program_PIDs.clear();
    m_PMT_bytes = 0;
    m_lost_PMTs.clear();
    m_lost_streams.clear();
}

CarriedPMT& PIDRoutes::carried_PMT(unsigned short PID)
{
    auto& pmt = used(PID).pmt;
    if (!pmt)
        pmt = std::make_unique<CarriedPMT>(*this, program_key(PID));
    return *pmt;
}

void PIDRoutes::set_plain(unsigned short PID, std::uint32_t header, bool collects, const transport_packet& record)
{
    PIDRoute& route = m_routes[PID];
    if (route.plain_header == no_plain_header)
        m_plain.push_back(PID);
    route.plain_header = header;
    route.collects = collects;
    std::memcpy(route.plain_fields.data(), &record, route.plain_fields.size());
    route.stream = nullptr;
    if (!route.programs || route.programs->size() != 1 || route.EMM_count != 0 || PID == null_packet_PID)
        return;
    const auto& [key, program] = *route.programs->begin();
    route.pmt_PID = pmt_PID_of(key);
    route.program_number = program.program_number;
    route.stream = program.stream.get();
}

void PIDRoutes::forget_plain()
{
    for (const unsigned short PID : m_plain) {
        m_routes[PID].plain_header = no_plain_header;
        m_routes[PID].stream = nullptr; // also for the packet being reported
    }
    m_plain.clear();
}

PIDRoute& PIDRoutes::used(unsigned short PID)
{
    PIDRoute& route = m_routes[PID];
    if (!route.is_used)
        m_used.push_back(PID);
    route.is_used = true;
    return route;
}

ProgramRoute* PIDRoutes::find(unsigned short PID, ProgramKey key)
{
    const auto& programs = m_routes[PID].programs;
    if (!programs)
        return nullptr;
    const auto found = programs->find(key);
    return found == programs->end() ? nullptr : &found->second;
}

void PIDRoutes::remove_PMT(ProgramKey key)
{
    const auto PIDs = m_program_PIDs.find(key);
    if (PIDs == m_program_PIDs.end())
        return;
    for (const unsigned short PID : PIDs->second)
        remove(PID, key);
    m_program_PIDs.erase(PIDs);
}

void PIDRoutes::remove(unsigned short PID, ProgramKey key)
{
    auto& programs = m_routes[PID].programs;
    if (programs && programs->erase(key) != 0 && programs->empty())
        programs = nullptr;
}
} // namespace mpegcore
