// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/t2mi/T2MIPrograms.h"

#include "mpegcore/sections/ProgramSections.h"
#include "mpegcore/sections/TablePID.h"

#include <algorithm>

namespace mpegcore
{
namespace
{
constexpr std::uint8_t program_association_table_id = 0, program_map_table_id = 2;

/// The t2mi_stream_id of the T2-MI descriptor among the descriptors, if there is one.
std::optional<std::uint8_t> described_stream_id(const unsigned char* descriptors, std::size_t size)
{
    constexpr unsigned char extension_tag = 0x7F, T2_MI_tag_extension = 0x11;
    for (std::size_t at = 0; at + 2 <= size;) {
        const std::size_t length = descriptors[at + 1];
        const unsigned char* const body = descriptors + at + 2;
        if (length > size - at - 2)
            break;
        if (descriptors[at] == extension_tag && length >= 2 && body[0] == T2_MI_tag_extension)
            return static_cast<std::uint8_t>(body[1] & 7U);
        at += 2 + length;
    }
    return std::nullopt;
}

bool names_stream(const T2MIPrograms::Stream& stream, int t2mi_stream_id)
{
    return stream.has_descriptor && (t2mi_stream_id < 0 || stream.t2mi_stream_id == t2mi_stream_id);
}
} // namespace

T2MIPrograms::T2MIPrograms()
    : m_PATs([this](TableNews news, const WholeTable& table) { follow_PAT(news, table); }, PAT_limit),
      m_PMTs([this](TableNews news, const WholeTable& table) { follow_PMT(news, table); }, PMT_limit)
{
    watch_PMTs();
}

void T2MIPrograms::clear()
{
    m_programs.clear();
    m_gatherers.clear();
    m_PATs.clear();
    m_PMTs.clear();
    m_PAT.reset();
    watch_PMTs();
}

bool T2MIPrograms::put(std::uint16_t PID, const unsigned char* packet)
{
    m_has_changed = false;
    m_gatherers[PID].put(packet, [this, PID](const unsigned char* section, std::size_t size, SectionCheck check) {
        if (check == SectionCheck::good)
            take_section(PID, section, size);
    });
    if (m_has_changed)
        watch_PMTs();
    return m_has_changed;
}

void T2MIPrograms::take_section(std::uint16_t PID, const unsigned char* section, std::size_t size)
{
    const SectionHeader header(section, size);
    if (!header.has_extension() || !header.current_next_indicator())
        return;
    if (PID == TablePID::PAT && header.table_id() == program_association_table_id)
        m_PATs.put(PID, section, size);
    if (PID != TablePID::PAT && header.table_id() == program_map_table_id) {
        const auto program = m_programs.find(header.table_id_extension());
        if (program != m_programs.end() && program->second.PMT_PID == PID)
            m_PMTs.put(PID, section, size);
    }
    forget_old_tables();
}

void T2MIPrograms::follow_PAT(TableNews news, const WholeTable& table)
{
    if (news != TableNews::complete && news != TableNews::changed)
        return;
    m_has_changed = true;
    // A stream has one PAT: one with another transport_stream_id takes its place.
    if (m_PAT && *m_PAT != table.identity)
        m_old.push_back(*m_PAT);
    m_PAT = table.identity;
    std::map<std::uint16_t, Program> programs;
    for (const auto& section : table.sections)
        for_each_program(section.second.data(), section.second.size(),
                         [&](std::uint16_t program_number, std::uint16_t PID) {
                             if (PID != TablePID::PAT && programs.size() < program_limit)
                                 programs[program_number].PMT_PID = PID;
                         });
    for (auto& [program_number, before] : m_programs) {
        const auto now = programs.find(program_number);
        if (now != programs.end() && now->second.PMT_PID == before.PMT_PID) {
            now->second = std::move(before);
            continue;
        }
        TableIdentity identity;
        identity.PID = before.PMT_PID;
        identity.table_id = program_map_table_id;
        identity.table_id_extension = program_number;
        m_old.push_back(identity);
    }
    m_programs = std::move(programs);
}

void T2MIPrograms::follow_PMT(TableNews news, const WholeTable& table)
{
    const auto found = m_programs.find(table.identity.table_id_extension);
    if ((news != TableNews::complete && news != TableNews::changed) || found == m_programs.end())
        return;
    m_has_changed = true;
    found->second.is_known = true;
    auto& streams = found->second.streams;
    streams.clear();
    for (const auto& section : table.sections)
        for_each_elementary_stream(
            section.second.data(), section.second.size(),
            [&streams](std::uint8_t stream_type, std::uint16_t PID, const unsigned char* descriptors,
                       std::size_t size) {
                const auto stream_id = described_stream_id(descriptors, size);
                streams.push_back({PID, stream_type, stream_id.has_value(), stream_id.value_or(std::uint8_t{0})});
            });
}

/// The PAT's PID and those of its PMTs are gathered, no others.
void T2MIPrograms::watch_PMTs()
{
    m_PIDs.reset();
    m_PIDs.set(TablePID::PAT);
    for (const auto& program : m_programs)
        m_PIDs.set(program.second.PMT_PID);
    for (auto gatherer = m_gatherers.begin(); gatherer != m_gatherers.end();)
        gatherer = m_PIDs[gatherer->first] ? std::next(gatherer) : m_gatherers.erase(gatherer);
}

void T2MIPrograms::forget_old_tables()
{
    for (const auto& identity : m_old)
        (identity.PID == TablePID::PAT ? m_PATs : m_PMTs).remove(identity);
    m_old.clear();
}

bool T2MIPrograms::is_complete() const
{
    return m_PAT && std::all_of(m_programs.begin(), m_programs.end(),
                                [](const auto& program) { return program.second.is_known; });
}

std::vector<T2MIPrograms::Stream> T2MIPrograms::streams() const
{
    std::vector<Stream> all;
    for (const auto& program : m_programs)
        all.insert(all.end(), program.second.streams.begin(), program.second.streams.end());
    return all;
}

bool T2MIPrograms::lists(std::uint16_t PID) const
{
    const auto all = streams();
    return std::any_of(all.begin(), all.end(), [PID](const Stream& stream) { return stream.PID == PID; });
}

bool T2MIPrograms::describes(std::uint16_t PID, int t2mi_stream_id) const
{
    const auto all = streams();
    return std::any_of(all.begin(), all.end(),
                       [&](const Stream& stream) { return stream.PID == PID && names_stream(stream, t2mi_stream_id); });
}

std::optional<std::uint16_t> T2MIPrograms::described_PID(int t2mi_stream_id) const
{
    const auto all = streams();
    for (const int wanted : {t2mi_stream_id, -1}) {
        const auto found = std::find_if(all.begin(), all.end(),
                                        [wanted](const Stream& stream) { return names_stream(stream, wanted); });
        if (found != all.end())
            return found->PID;
    }
    return std::nullopt;
}
} // namespace mpegcore
