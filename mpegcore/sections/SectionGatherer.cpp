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

bool SectionGatherer::follow(const TransportPayload& packet)
{
    // What stands in such a packet, its counter included, is not to be relied on.
    if (!packet.is_usable()) {
        drop();
        return false;
    }
    const Continuity continuity = m_continuity.follow(packet);
    if (continuity == Continuity::jumped)
        drop();
    return continuity != Continuity::repeated;
}

void SectionGatherer::begin(const unsigned char* at, const unsigned char* end)
{
    // Not whole within the packet, so it does not become whole here.
    static_cast<void>(append(at, end));
}

bool SectionGatherer::append(const unsigned char* at, const unsigned char* end)
{
    if (m_gathered < section_header_size) {
        const auto part = std::min<std::size_t>(section_header_size - m_gathered, static_cast<std::size_t>(end - at));
        std::copy_n(at, part, m_header.begin() + static_cast<std::ptrdiff_t>(m_gathered));
        at += part;
        m_gathered += part;
        if (m_gathered < section_header_size)
            return false;
        m_size = SectionHeader(m_header.data(), m_header.size()).announced_size();
        m_section.reset(new unsigned char[m_size]);
        std::copy(m_header.begin(), m_header.end(), m_section.get());
    }
    const auto part = std::min<std::size_t>(m_size - m_gathered, static_cast<std::size_t>(end - at));
    std::copy_n(at, part, m_section.get() + m_gathered);
    m_gathered += part;
    return m_gathered == m_size;
}
} // namespace mpegcore
