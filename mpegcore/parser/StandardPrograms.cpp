// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/parser/StandardPrograms.h"

#include "mpegcore/CAT.h"
#include "mpegcore/sections/ProgramSections.h"

#include <algorithm>
#include <iterator>
#include <vector>

namespace mpegcore
{
namespace
{
ZQSDK::ZQBSReaderT<unsigned char*> reader_over(const std::vector<unsigned char>& section)
{
    // The reader takes a pointer to bytes that may be written, and writes none.
    return {const_cast<unsigned char*>(section.data()), section.size()};
}

/// Makes one PMT of all sections the wrapper's current one. False when a section was refused.
bool read_whole(CPacketWrapper<CPMT>& wrapper, const WholeTable& table)
{
    auto section = table.sections.begin();
    auto first = reader_over(section->second);
    if (wrapper.Parser(first) == 0)
        return false;
    while (++section != table.sections.end()) {
        auto reader = reader_over(section->second);
        wrapper.work->Clear();
        if (!wrapper.work->read(reader))
            return false;
        for (const auto& stream : wrapper.work->streams)
            wrapper.current->streams[stream.first] = stream.second;
        for (const auto& descriptor : wrapper.work->descriptors)
            wrapper.current->descriptors.append(descriptor);
    }
    return true;
}

/// Whether the section is in the table that came last.
bool is_known(const WholeTables& tables, std::uint16_t PID, const unsigned char* section, std::size_t size)
{
    const SectionHeader header(section, size);
    const WholeTable* const table = tables.find(TableIdentity::of(PID, header));
    if (table == nullptr)
        return false;
    const auto found = table->sections.find(header.section_number());
    return found != table->sections.end() &&
           std::equal(found->second.begin(), found->second.end(), section, section + size);
}
} // namespace

StandardPrograms::StandardPrograms(PIDRoutes& routes, SectionPIDs& PIDs)
    : m_routes(routes),
      m_PIDs(PIDs),
      m_PATs([this](TableNews news, const WholeTable& table) { follow_PAT(news, table); }, PAT_memory_limit),
      m_CATs([this](TableNews news, const WholeTable& table) { follow_CAT(news, table); }, PMT_memory_limit),
      m_PMTs([this](TableNews news, const WholeTable& table) { follow_PMT(news, table); }, PMT_memory_limit)
{}

void StandardPrograms::take_PAT(const unsigned char* section, std::size_t size)
{
    const std::uint16_t transport_stream_id = SectionHeader(section, size).table_id_extension();
    if (transport_stream_id != m_transport_stream_id)
        m_PATs.clear(); // another stream's PAT is no part of this one
    m_transport_stream_id = transport_stream_id;
    if (!is_known(m_PATs, 0, section, size))
        for_each_program(section, size, [this](std::uint16_t number, unsigned short PID) { set_program(number, PID); });
    m_PATs.put(0, section, size);
}

void StandardPrograms::take_CAT(const unsigned char* section, std::size_t size) { m_CATs.put(1, section, size); }

CBaseMpegProgram* StandardPrograms::take_PMT(unsigned short PID, std::uint16_t program_number,
                                             const unsigned char* section, std::size_t size, bool is_last)
{
    const auto found = m_programs.find(program_number);
    if (found == m_programs.end() || found->second.entry.PID != PID)
        return nullptr;
    Program& program = found->second;
    if (!is_last || !program.is_settled)
        program.is_settled = m_PMTs.put(PID, section, size);
    return &program.entry;
}

void StandardPrograms::clear()
{
    m_programs.clear();
    m_programs_on.clear();
    m_PATs.clear();
    m_CATs.clear();
    m_PMTs.clear();
}

void StandardPrograms::set_program(std::uint16_t program_number, unsigned short PID)
{
    const auto [at, is_new] = m_programs.try_emplace(program_number);
    CBaseMpegProgram& entry = at->second.entry;
    if (!is_new && entry.PID == PID)
        return;
    if (!is_new)
        leave_PID(entry.PID, program_number);
    entry.program_number = program_number;
    entry.reserved = 7;
    entry.PID = PID;
    if (m_programs_on[PID]++ != 0)
        return;
    m_PIDs.add(PID, SectionPIDs::PMT);
    m_routes.set_carries_PMT(PID, true);
}

StandardPrograms::Programs::iterator StandardPrograms::drop(Programs::iterator at)
{
    leave_PID(at->second.entry.PID, at->first);
    return m_programs.erase(at);
}

void StandardPrograms::leave_PID(unsigned short PID, std::uint16_t program_number)
{
    TableIdentity PMT;
    PMT.PID = PID;
    PMT.table_id = 2;
    PMT.table_id_extension = program_number;
    m_PMTs.remove(PMT);
    if (--m_programs_on[PID] != 0)
        return;
    m_programs_on.erase(PID);
    m_PIDs.remove(PID, SectionPIDs::PMT);
    m_routes.set_carries_PMT(PID, false);
}

void StandardPrograms::follow_PAT(TableNews news, const WholeTable& table)
{
    if (news != TableNews::complete && news != TableNews::changed)
        return;
    std::map<std::uint16_t, unsigned short> programs;
    for (const auto& [number, section] : table.sections)
        for_each_program(section.data(), section.size(),
                         [&](std::uint16_t program_number, unsigned short PID) { programs[program_number] = PID; });
    for (auto at = m_programs.begin(); at != m_programs.end();)
        at = programs.count(at->first) != 0 ? std::next(at) : drop(at);
    for (const auto& [program_number, PID] : programs)
        set_program(program_number, PID);
}

void StandardPrograms::follow_CAT(TableNews news, const WholeTable& table)
{
    CCAT whole(nullptr, section_buffer_size<CCAT>);
    if (news == TableNews::complete || news == TableNews::changed)
        for (const auto& [number, section] : table.sections) {
            CCAT one(nullptr, section_buffer_size<CCAT>);
            one.descriptor_dictionary = ZQDescriptorType::Standard;
            auto reader = reader_over(section);
            if (!one.read(reader))
                continue;
            for (const auto& descriptor : one.descriptors)
                whole.descriptors.append(descriptor);
        }
    m_routes.set_CAT(whole);
}

void StandardPrograms::follow_PMT(TableNews news, const WholeTable& table)
{
    const auto found = m_programs.find(table.identity.table_id_extension);
    if (found == m_programs.end())
        return;
    const ProgramKey key = program_key(table.identity.PID, found->first);
    Program& program = found->second;
    if (news != TableNews::complete && news != TableNews::changed) {
        program.is_settled = false;
        program.whole.reset();
        program.carried.reset();
        m_routes.drop_lost_PMTs(); // no packet is being reported: this one carries tables
        return;
    }
    if (!program.carried) {
        program.whole = std::make_unique<CPacketWrapper<CPMT>>();
        program.whole->set_dictionary(ZQDescriptorType::Standard);
        program.carried = std::make_unique<CarriedPMT>(m_routes, key);
        program.carried->attach(*program.whole);
    }
    if (read_whole(*program.whole, table))
        m_routes.set_PMT(key, *program.carried);
}
} // namespace mpegcore
