// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/sections/SectionGatherer.h"

#include <algorithm>

namespace mpegcore
{
void SectionGatherer::reset()
{
    drop();
    m_continuity.reset();
}

void SectionGatherer::begin(const unsigned char* at, const unsigned char* end)
{
    if (!m_section) {
        m_section.reset(new unsigned char[first_capacity]);
        m_capacity = first_capacity;
    }
    // Not whole within the packet, so it does not become whole here.
    static_cast<void>(append(at, end));
}

bool SectionGatherer::append(const unsigned char* at, const unsigned char* end)
{
    if (m_gathered < section_header_size) {
        const auto part = std::min<std::size_t>(section_header_size - m_gathered, static_cast<std::size_t>(end - at));
        std::copy_n(at, part, m_section.get() + m_gathered);
        at += part;
        m_gathered += part;
        if (m_gathered < section_header_size)
            return false;
        m_size = SectionHeader(m_section.get(), section_header_size).announced_size();
        if (m_size > m_capacity) {
            std::unique_ptr<unsigned char[]> larger(new unsigned char[longest_section]);
            std::copy_n(m_section.get(), section_header_size, larger.get());
            m_section = std::move(larger);
            m_capacity = longest_section;
        }
    }
    const auto part = std::min<std::size_t>(m_size - m_gathered, static_cast<std::size_t>(end - at));
    std::copy_n(at, part, m_section.get() + m_gathered);
    m_gathered += part;
    return m_gathered == m_size;
}
} // namespace mpegcore
