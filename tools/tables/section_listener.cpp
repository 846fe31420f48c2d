// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/tables/section_listener.h"

#include "mpegcore/parser/TableRegistry.h"
#include "mpegcore/sections/TablePID.h"

#include <utility>

namespace tables
{
namespace
{
constexpr std::uint8_t PAT_table_id = 0x00;
constexpr std::uint8_t PMT_table_id = 0x02;

constexpr std::uint16_t word(const unsigned char* at) { return static_cast<std::uint16_t>(at[0] << 8 | at[1]); }
} // namespace

section_listener::section_listener(report on_section) : m_on_section(std::move(on_section))
{
    mpegcore::table_places::for_each_PID(
        [this](std::uint16_t PID) { m_gatherers[PID] = std::make_unique<mpegcore::SectionGatherer>(); });
}

void section_listener::listen(std::uint16_t PID) { m_new_PIDs.push_back(PID & 0x1FFFU); }

void section_listener::put(const unsigned char* packet)
{
    for (const auto PID : m_new_PIDs)
        if (m_gatherers[PID] == nullptr)
            m_gatherers[PID] = std::make_unique<mpegcore::SectionGatherer>();
    m_new_PIDs.clear();
    const auto PID = static_cast<std::uint16_t>(word(packet + 1) & 0x1FFFU);
    if (auto* const gatherer = m_gatherers[PID].get())
        gatherer->put(packet, [&](const unsigned char* section, std::size_t size, mpegcore::SectionCheck check) {
            if (check != mpegcore::SectionCheck::good) {
                ++m_damaged_sections;
                return;
            }
            follow(PID, section, size);
            m_on_section({m_packets, PID, section, size});
        });
    ++m_packets;
}

void section_listener::follow(std::uint16_t PID, const unsigned char* section, std::size_t size)
{
    const mpegcore::SectionHeader header(section, size);
    if (!header.has_extension() || !header.current_next_indicator())
        return;
    if (PID == mpegcore::TablePID::PAT && header.table_id() == PAT_table_id)
        for_each_program(section, size, [this](std::uint16_t /*program*/, std::uint16_t map_PID) { listen(map_PID); });
    else if (m_follows_PMTs && header.table_id() == PMT_table_id)
        follow_PMT(section, size);
}

void section_listener::follow_PMT(const unsigned char* section, std::size_t size)
{
    constexpr std::size_t fixed_size = 12;
    constexpr std::size_t stream_size = 5;
    constexpr std::size_t CRC_size = 4;
    if (size < fixed_size)
        return;
    std::size_t at = fixed_size + (word(section + 10) & 0x0FFFU);
    while (at + stream_size + CRC_size <= size) {
        if (mpegcore::table_places::has_stream_type(section[at]))
            listen(word(section + at + 1));
        at += stream_size + (word(section + at + 3) & 0x0FFFU);
    }
}
} // namespace tables
