// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "support/SectionPackets.h"

#include <random>
#include <vector>

namespace zqtest
{
/// Packets of one PID: sections packed one behind the other or stuffed, cut by adaptation fields at random.
class RandomSectionPackets
{
public:
    explicit RandomSectionPackets(unsigned seed, unsigned PID = 0x20) : m_random(seed), m_PID(PID) {}

    std::vector<Bytes> make(std::size_t sections)
    {
        for (std::size_t count = 0; count < sections; ++count)
            section();
        return m_packets;
    }

    /// Repeats, drops, damages and reorders some packets, and writes over some bytes.
    std::vector<Bytes> damaged(std::vector<Bytes> packets)
    {
        std::vector<Bytes> out;
        for (auto& packet : packets) {
            switch (below(24)) {
            case 0:
                continue;
            case 1:
                out.push_back(packet);
                break;
            case 2:
                packet[1] = static_cast<unsigned char>(packet[1] | 0x80);
                break;
            case 3:
                packet[3] = static_cast<unsigned char>(m_random());
                break;
            case 4:
                packet[4 + below(8)] = static_cast<unsigned char>(m_random());
                break;
            case 5:
                packet[4 + below(184)] = static_cast<unsigned char>(m_random());
                break;
            case 6:
                packet[1] = static_cast<unsigned char>(packet[1] ^ 0x40);
                break;
            default:
                break;
            }
            out.push_back(packet);
            if (below(40) == 0 && out.size() > 1)
                std::swap(out.back(), out[out.size() - 2]);
        }
        return out;
    }

private:
    unsigned below(unsigned bound) { return static_cast<unsigned>(m_random() % bound); }

    void section()
    {
        static constexpr unsigned ids[] = {0x00, 0x02, 0x42, 0x4E, 0x50, 0x70, 0x73, 0x90, 0xFC};
        const unsigned body = below(3) == 0 ? below(4086) : below(60);
        auto bytes = good_section(ids[below(9)], body, below(65536));
        if (below(10) == 0)
            bytes[below(static_cast<unsigned>(bytes.size()))] ^= 4; // its length too
        // Where this section begins in the bytes that wait; -1: none does yet.
        if (m_start < 0)
            m_start = static_cast<int>(m_waiting.size());
        m_waiting.insert(m_waiting.end(), bytes.begin(), bytes.end());
        while (m_waiting.size() >= 184 || (!m_waiting.empty() && below(2) == 0))
            packet();
    }

    void packet()
    {
        const std::size_t room = below(3) == 0 ? 2 + below(182) : 184;
        std::size_t pointer = 0;
        // A second start behind the first goes with it; one that this packet does not reach waits.
        const bool starts = m_start >= 0 && static_cast<std::size_t>(m_start) < room - 1;
        Bytes payload;
        if (starts) {
            pointer = 1;
            payload.push_back(static_cast<unsigned char>(m_start));
        }
        const std::size_t count = std::min(room - pointer, m_waiting.size());
        payload.insert(payload.end(), m_waiting.begin(), m_waiting.begin() + static_cast<std::ptrdiff_t>(count));
        m_waiting.erase(m_waiting.begin(), m_waiting.begin() + static_cast<std::ptrdiff_t>(count));
        payload.resize(below(2) == 0 && m_waiting.empty() ? room : payload.size(), 0xFF);
        m_start = starts ? -1 : m_start < 0 ? -1 : m_start - static_cast<int>(count);
        Stream one;
        one.packet(m_PID, starts ? Stream::begins : Stream::goes_on, payload, {}, below(10) == 0 ? 0x80 : 0);
        one.data[3] = static_cast<unsigned char>((one.data[3] & 0xF0) | (m_counter++ & 0x0F));
        m_packets.push_back(one.data);
    }

    std::mt19937 m_random;
    unsigned m_PID;
    Bytes m_waiting;
    int m_start = -1;
    unsigned m_counter = 0;
    std::vector<Bytes> m_packets;
};
} // namespace zqtest
