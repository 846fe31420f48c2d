// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/TransportPacket.h"
#include "mpegcore/sections/SectionGatherer.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace tables
{
/// A section with a good CRC_32, or of a kind that has none; the bytes hold during the call.
struct heard_section
{
    std::uint64_t packet; ///< that ends it, counted from 0
    std::uint16_t PID;
    const unsigned char* data;
    std::size_t size;
};

/// Reads the sections of a stream: of the PIDs that the standards give to tables, and of each PID that a PAT names for
/// a program, from the packet behind that PAT on.
class section_listener
{
public:
    using report = std::function<void(const heard_section&)>;

    explicit section_listener(report on_section);

    /// One more PID with sections; also from the report, then from the next packet on.
    void listen(std::uint16_t PID);
    /// From here on also the PIDs of streams whose type a table has, as those of an AIT or of splice information.
    void follow_PMTs() { m_follows_PMTs = true; }
    void put(const unsigned char* packet);

    [[nodiscard]] std::uint64_t packets() const { return m_packets; }
    /// Sections whose CRC_32 was wrong.
    [[nodiscard]] std::uint64_t damaged_sections() const { return m_damaged_sections; }

private:
    void follow(std::uint16_t PID, const unsigned char* section, std::size_t size);
    void follow_PMT(const unsigned char* section, std::size_t size);

    report m_on_section;
    std::array<std::unique_ptr<mpegcore::SectionGatherer>, mpegcore::pid_count> m_gatherers;
    std::vector<std::uint16_t> m_new_PIDs;
    bool m_follows_PMTs = false;
    std::uint64_t m_packets = 0;
    std::uint64_t m_damaged_sections = 0;
};

/// Calls `visit(program_number, program_map_PID)` for each program of a PAT's section, in its order; the network PID is
/// left out.
template <class Visit>
void for_each_program(const unsigned char* section, std::size_t size, Visit&& visit)
{
    constexpr std::size_t program_size = 4;
    constexpr std::size_t CRC_size = 4;
    const auto word = [section](std::size_t at) { return section[at] << 8 | section[at + 1]; };
    for (std::size_t at = mpegcore::long_section_header_size; at + program_size + CRC_size <= size; at += program_size)
        if (word(at) != 0)
            visit(static_cast<std::uint16_t>(word(at)), static_cast<std::uint16_t>(word(at + 2) & 0x1FFF));
}
} // namespace tables
