// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/t2mi_demux/candidate_list.h"

#include <algorithm>

namespace t2mi_demux
{
void candidate_list::put(const unsigned char* data, std::size_t size)
{
    m_finder.put(data, size, [this](const unsigned char* packet) { look(packet); });
}

void candidate_list::finish()
{
    m_finder.finish([this](const unsigned char* packet) { look(packet); });
}

void candidate_list::look(const unsigned char* packet)
{
    const auto PID = static_cast<std::uint16_t>((packet[1] & 0x1FU) << 8 | packet[2]);
    if (PID != mpegcore::null_packet_PID)
        m_probe.put(PID, packet);
}

std::vector<candidate_list::candidate> candidate_list::found() const
{
    constexpr unsigned proof = 2;
    std::vector<candidate> all;
    for (const auto& seen : m_probe.candidates()) {
        if (seen->good < proof)
            continue;
        candidate one;
        one.PID = seen->PID;
        one.packets = seen->good;
        for (const auto& packet : seen->packets)
            one.stream_ids.insert(packet.bytes[3] & 7U);
        all.push_back(one);
    }
    std::sort(all.begin(), all.end(), [](const auto& a, const auto& b) { return a.PID < b.PID; });
    return all;
}
} // namespace t2mi_demux
