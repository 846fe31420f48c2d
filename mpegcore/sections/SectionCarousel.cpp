// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/sections/SectionCarousel.h"

#include "mpegcore/sections/PacketTime.h"

#include <algorithm>

namespace mpegcore
{
using std::chrono::nanoseconds;

std::optional<SectionCarousel::Number> SectionCarousel::add(std::uint16_t PID, std::vector<unsigned char> section,
                                                            nanoseconds interval, nanoseconds first)
{
    if (PID >= pid_count || interval <= nanoseconds(0) ||
        !SectionPacketizer::is_section(section.data(), section.size()))
        return std::nullopt;
    const Number number = m_next_number++;
    m_schedule.emplace(first, number);
    m_repeated.emplace(number, Repeated{PID, std::move(section), interval, first});
    m_packetizers.try_emplace(PID, PID, m_fill);
    return number;
}

bool SectionCarousel::replace(Number number, std::vector<unsigned char> section)
{
    const auto found = m_repeated.find(number);
    if (found == m_repeated.end() || !SectionPacketizer::is_section(section.data(), section.size()))
        return false;
    found->second.section = std::move(section);
    return true;
}

bool SectionCarousel::remove(Number number)
{
    const auto found = m_repeated.find(number);
    if (found == m_repeated.end())
        return false;
    m_schedule.erase({found->second.due, number});
    m_repeated.erase(found);
    return true;
}

nanoseconds SectionCarousel::time() const { return packets_time(m_places, m_bitrate); }

const unsigned char* SectionCarousel::next()
{
    const nanoseconds now = time();
    ++m_places;
    if (m_queue.empty())
        queue_due(now);
    if (m_queue.empty())
        return nullptr;
    m_given = m_queue.front();
    m_queue.pop_front();
    return m_given.data();
}

void SectionCarousel::queue_due(nanoseconds now)
{
    const auto queue = [this](const unsigned char* packet) {
        std::copy_n(packet, ts_packet_size, m_queue.emplace_back().begin());
    };
    std::set<std::uint16_t> PIDs;
    while (!m_schedule.empty() && m_schedule.begin()->first <= now) {
        const Number number = m_schedule.begin()->second;
        m_schedule.erase(m_schedule.begin());
        Repeated& repeated = m_repeated.at(number);
        // It is a section, so it is taken.
        static_cast<void>(m_packetizers.at(repeated.PID).put(repeated.section.data(), repeated.section.size(), queue));
        PIDs.insert(repeated.PID);
        const auto passed = (now - repeated.due) / repeated.interval + 1; // at least this one
        repeated.due += passed * repeated.interval;
        m_schedule.emplace(repeated.due, number);
    }
    for (const std::uint16_t PID : PIDs)
        m_packetizers.at(PID).flush(queue);
}
} // namespace mpegcore
