// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/monitor/ProgramTables.h"

#include "mpegcore/CAT.h"
#include "mpegcore/PMT.h"
#include "mpegcore/SDT.h"
#include "mpegcore/monitor/PIDState.h"
#include "mpegcore/monitor/SectionDigest.h"
#include "mpegcore/monitor/StreamKind.h"
#include "mpegcore/monitor/TableID.h"
#include "mpegcore/sections/ProgramSections.h"
#include "mpegcore/text/DVBText.h"
#include "mpegcore/text/StreamName.h"

#include <algorithm>
#include <utility>

namespace mpegcore
{
namespace
{
bool is_kept(std::uint8_t table_id)
{
    switch (table_id) {
    case TableID::PAT:
    case TableID::CAT:
    case TableID::PMT:
    case TableID::TSDT:
    case TableID::NIT_actual:
    case TableID::NIT_other:
    case TableID::SDT_actual:
    case TableID::SDT_other:
    case TableID::BAT:
        return true;
    default:
        return false;
    }
}

/// Whether update() reads it.
bool is_read(std::uint8_t table_id) { return table_id <= TableID::PMT || table_id == TableID::SDT_actual; }

TableIdentity identity_of(std::uint16_t PID, std::uint8_t table_id, std::uint16_t table_id_extension)
{
    TableIdentity identity;
    identity.PID = PID;
    identity.table_id = table_id;
    identity.table_id_extension = table_id_extension;
    return identity;
}
} // namespace

ProgramTables::ProgramTables(StreamContents& contents, const MonitorLimits& limits, MonitorListener* listener)
    : m_contents(contents),
      m_limits(limits),
      m_listener(listener),
      m_tables([this](TableNews news, const WholeTable& table) { follow(news, table); }, table_limit)
{}

void ProgramTables::put(std::uint16_t PID, const unsigned char* section, std::size_t size, std::uint64_t now)
{
    m_now = now;
    if (!is_kept(section[0]))
        return;
    if (is_read(section[0])) {
        static_cast<void>(m_tables.put(PID, section, size, now));
        return;
    }
    const SectionDigest digest(section, size);
    static_cast<void>(m_tables.put(PID, digest.bytes.data(), digest.size, now));
}

/// Reads a section into a new `Table` and hands it to `visit`.
template <class Table, class Visit>
void ProgramTables::read_section(const std::vector<unsigned char>& section, Visit visit)
{
    m_bytes_read += section.size();
    Table table(nullptr, 1); // nothing is rendered
    table.descriptor_dictionary = ZQDescriptorType::Standard;
    // Reading stores nothing.
    typename Table::Reader reader(const_cast<unsigned char*>(section.data()), section.size());
    if (table.read(reader))
        visit(table);
}

void ProgramTables::follow(TableNews news, const WholeTable& table)
{
    const TableIdentity& identity = table.identity;
    if (news == TableNews::gone || news == TableNews::forgotten) {
        m_contents.tables.erase(identity);
        return;
    }
    m_has_changed = m_has_changed || is_read(identity.table_id);
    TableVersion& version = m_contents.tables[identity];
    const std::uint8_t version_before = version.version_number;
    version.version_number = table.version_number;
    version.last_section_number = table.last_section_number;
    version.changes += news == TableNews::changed ? 1 : 0;
    version.last_change = m_now;
    if (identity.table_id == TableID::PAT) {
        if (m_contents.has_PAT && m_PAT != identity)
            m_old.insert(m_PAT);
        m_old.erase(identity);
        m_contents.has_PAT = true;
        m_PAT = identity;
    }
    if (identity.table_id == TableID::PMT && news == TableNews::changed)
        m_changed_programs.insert(identity.table_id_extension);
    if (m_listener != nullptr)
        m_listener->on_table({news, table, version_before, m_now});
}

void ProgramTables::update(std::uint64_t packets, std::uint64_t now)
{
    // A byte of a table is read in 0.1 us at most: a thirtieth of the time then, or a few us a packet, goes for
    // updates.
    constexpr std::size_t entries_a_packet = 16, bytes_a_packet = 64, always_at_once = 4;
    constexpr std::uint64_t time_a_packet = 200'000;
    m_now = now;
    m_has_changed = false;
    m_bytes_read = 0;
    set_services();
    drop_old_tables();
    set_names();
    set_kinds(now);
    const std::size_t entries = m_contents.services.size() + m_contents.PIDs.size() + m_streams;
    const std::size_t wait = entries / entries_a_packet + m_bytes_read / bytes_a_packet;
    m_next_update = packets + 1 + wait;
    m_next_update_time = now + (wait > always_at_once ? wait * time_a_packet : 0);
}

void ProgramTables::set_services()
{
    m_contents.services.clear();
    m_ECM_PIDs.clear();
    m_still_PIDs.clear();
    m_streams = 0;
    m_network_PID = null_packet_PID;
    const WholeTable* const PAT = m_contents.has_PAT ? m_tables.find(m_PAT) : nullptr;
    if (PAT == nullptr)
        return;
    m_contents.transport_stream_id = m_PAT.table_id_extension;
    std::map<std::uint16_t, std::uint16_t> programs;
    for (const auto& [number, section] : PAT->sections) {
        m_bytes_read += section.size();
        for_each_program(section.data(), section.size(),
                         [&](std::uint16_t program_number, std::uint16_t PID) { programs[program_number] = PID; });
        m_network_PID = network_PID_of(section.data(), section.size()).value_or(m_network_PID);
    }
    for (const auto& [program_number, PMT_PID] : programs) {
        if (m_contents.services.size() == most_programs)
            break;
        Service& service = m_contents.services.emplace_back();
        service.program_number = program_number;
        service.PMT_PID = PMT_PID;
        set_program(service);
    }
}

void ProgramTables::set_program(Service& service)
{
    const WholeTable* const PMT = m_tables.find(identity_of(service.PMT_PID, TableID::PMT, service.program_number));
    if (PMT == nullptr)
        return;
    service.has_PMT = true;
    service.PMT_version = PMT->version_number;
    for (const auto& [number, section] : PMT->sections)
        read_section<CPMT>(section, [&](const CPMT& table) {
            service.PCR_PID = table.PCR_PID;
            add_CA_PIDs(table.descriptors, PIDKind::ECM);
            for (const auto& [PID, stream] : table.streams) {
                if (m_streams == most_streams)
                    break;
                ++m_streams;
                service.streams.push_back(
                    {PID, stream->stream_type, kind_of(*stream), stream_name(*stream), stream_language(*stream)});
                add_CA_PIDs(stream->descriptors, PIDKind::ECM);
                if (is_still_picture(*stream))
                    m_still_PIDs.insert(PID);
            }
        });
}

Service* ProgramTables::find_service(std::uint16_t program_number)
{
    auto& services = m_contents.services;
    const auto found =
        std::lower_bound(services.begin(), services.end(), program_number,
                         [](const Service& service, std::uint16_t number) { return service.program_number < number; });
    return found != services.end() && found->program_number == program_number ? &*found : nullptr;
}

void ProgramTables::drop_old_tables()
{
    for (const auto& [identity, version] : m_contents.tables) {
        if (identity.table_id != TableID::PMT)
            continue;
        const Service* const service = find_service(identity.table_id_extension);
        if (service == nullptr || service->PMT_PID != identity.PID)
            m_old.insert(identity);
    }
    for (const TableIdentity& identity : m_old)
        m_tables.remove(identity);
    m_old.clear();
}

void ProgramTables::set_names()
{
    const WholeTable* const SDT = m_tables.find(identity_of(0x11, TableID::SDT_actual, m_contents.transport_stream_id));
    if (SDT == nullptr)
        return;
    for (const auto& [number, section] : SDT->sections)
        read_section<CSDT>(section, [this](const CSDT& table) {
            for (const auto& [service_id, described] : table.services) {
                Service* const service = find_service(service_id);
                const auto texts = described->descriptors.find<service_descriptor>();
                if (service == nullptr || texts == nullptr)
                    continue;
                service->service_type = texts->service_type;
                service->name = to_utf8(texts->service_name.data(), texts->service_name_length);
                service->provider = to_utf8(texts->service_provider_name.data(), texts->service_provider_name_length);
            }
        });
}

void ProgramTables::add_CA_PIDs(const ZQDescriptorList& descriptors, PIDKind kind)
{
    for (const auto& descriptor : descriptors) {
        const auto* const CA = dynamic_cast<const CA_descriptor*>(descriptor.get());
        if (CA == nullptr)
            continue;
        if (kind == PIDKind::ECM)
            m_ECM_PIDs.insert(CA->CA_PID);
        else
            set_kind(CA->CA_PID, kind);
    }
}

PIDState* ProgramTables::find_or_add(std::uint16_t PID)
{
    return PID == null_packet_PID ? nullptr : m_contents.PIDs.find_or_add(PID, m_limits.most_PIDs);
}

void ProgramTables::set_kind(std::uint16_t PID, PIDKind kind, std::uint8_t stream_type)
{
    PIDState* const state = find_or_add(PID);
    // The first one that names it counts; those of fixed use are theirs.
    if (state == nullptr || state->figures.is_referenced)
        return;
    state->figures.kind = kind;
    state->figures.stream_type = stream_type;
    state->figures.is_referenced = true;
}

void ProgramTables::set_kinds(std::uint64_t now)
{
    using Use = std::pair<PIDKind, bool>; // and whether it has the PCRs of a program
    std::map<std::uint16_t, Use> uses_before;
    for (const auto& state : m_contents.PIDs.states()) {
        PIDFigures& figures = state->figures;
        if (figures.is_referenced)
            uses_before.emplace(figures.PID, Use(figures.kind, state->is_PCR_PID));
        figures.kind = fixed_kind(figures.PID);
        figures.stream_type = 0;
        figures.is_referenced = figures.kind != PIDKind::unknown;
        state->has_PTS = false;
        state->is_PCR_PID = false;
    }
    for (const Service& service : m_contents.services) {
        set_kind(service.PMT_PID, PIDKind::PMT);
        const bool is_new = m_changed_programs.count(service.program_number) != 0;
        for (const ElementaryStream& stream : service.streams) {
            set_kind(stream.PID, stream.kind, stream.stream_type);
            PIDState* const state = find_or_add(stream.PID);
            if (state == nullptr)
                continue;
            const bool is_media = stream.kind == PIDKind::video || stream.kind == PIDKind::audio;
            state->has_PTS = is_media && m_still_PIDs.count(stream.PID) == 0;
            // Behind a change of the PMT a stream may begin anew.
            if (is_new)
                state->continuity.forget();
        }
    }
    for (const Service& service : m_contents.services) {
        set_kind(service.PCR_PID, PIDKind::PCR);
        if (PIDState* const state = find_or_add(service.PCR_PID); state != nullptr && service.has_PMT)
            state->is_PCR_PID = true;
    }
    for (const std::uint16_t PID : m_ECM_PIDs)
        set_kind(PID, PIDKind::ECM);
    set_kind(m_network_PID, PIDKind::NIT);
    m_changed_programs.clear();
    set_EMM_PIDs();
    for (const auto& state : m_contents.PIDs.states()) {
        const auto before = uses_before.find(state->figures.PID);
        const bool was_referenced = before != uses_before.end();
        const Use use(state->figures.kind, state->is_PCR_PID);
        // What is expected of another use is so from now on.
        if (state->figures.is_referenced && !(was_referenced && before->second == use))
            state->referenced_at = now;
        if (!state->figures.is_referenced && was_referenced)
            state->unreferenced_at = now;
    }
}

void ProgramTables::set_EMM_PIDs()
{
    for (auto at = m_contents.tables.lower_bound(identity_of(1, TableID::CAT, 0));
         at != m_contents.tables.end() && at->first.PID == 1; ++at)
    {
        const WholeTable* const CAT = m_tables.find(at->first);
        if (CAT == nullptr || at->first.table_id != TableID::CAT)
            continue;
        for (const auto& [number, section] : CAT->sections)
            read_section<CCAT>(section, [this](const CCAT& table) { add_CA_PIDs(table.descriptors, PIDKind::EMM); });
    }
}
} // namespace mpegcore
