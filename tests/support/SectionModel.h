// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "support/Stream.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace zqtest
{
/// A section as it left one PID: the packet that ended it, its bytes, and whether its CRC_32 is good or not needed.
struct ModelSection
{
    std::size_t packet = 0;
    Bytes bytes;
    bool is_good = false;

    bool operator==(const ModelSection& other) const
    {
        return packet == other.packet && bytes == other.bytes && is_good == other.is_good;
    }
};

/// Gathers the sections of one PID byte by byte and reads every field bit by bit: slow, and without a length that
/// it could get wrong.
class SectionModel
{
public:
    /// 188 bytes.
    void put(const Bytes& packet)
    {
        const std::size_t index = m_packets++;
        const unsigned adaptation_field_control = bits(packet, 26, 2);
        if (adaptation_field_control != 1 && adaptation_field_control != 3)
            return;
        std::deque<unsigned char> payload(packet.begin() + 4, packet.end());
        bool discontinuity_indicator = false;
        if (adaptation_field_control == 3) {
            const unsigned length = payload.front();
            if (length >= payload.size())
                return;
            discontinuity_indicator = length > 0 && bits(packet, 40, 1) == 1;
            for (unsigned count = 0; count < length + 1; ++count)
                payload.pop_front();
        }
        const bool transport_error_indicator = bits(packet, 8, 1) == 1;
        const bool scrambled = bits(packet, 24, 2) != 0;
        if (transport_error_indicator || scrambled) {
            m_begun.reset();
            return;
        }
        const Seen seen{bits(packet, 28, 4), bits(packet, 9, 1), {payload.begin(), payload.end()}};
        if (m_last && m_last->counter == seen.counter && m_last->start == seen.start && m_last->payload == seen.payload)
            return;
        if (m_last && (m_last->counter + 1) % 16 != seen.counter && !discontinuity_indicator)
            m_begun.reset();
        m_last = seen;
        take(index, payload, seen.start == 1);
    }

    std::vector<ModelSection> sections;

private:
    struct Seen
    {
        unsigned counter;
        unsigned start;
        Bytes payload;
    };

    static unsigned bits(const Bytes& bytes, std::size_t at, unsigned count)
    {
        unsigned value = 0;
        for (std::size_t bit = at; bit < at + count; ++bit)
            value = 2 * value + (bytes[bit / 8] >> (7 - bit % 8) & 1U);
        return value;
    }

    static bool CRC_is_zero(const Bytes& section)
    {
        std::uint32_t crc = 0xFFFFFFFF;
        for (std::size_t bit = 0; bit < 8 * section.size(); ++bit) {
            const bool feedback = (crc >> 31 & 1U) != bits(section, bit, 1);
            crc = crc << 1 ^ (feedback ? 0x04C11DB7U : 0U);
        }
        return crc == 0;
    }

    static bool is_good(const Bytes& section)
    {
        const unsigned table_id = section[0];
        if (table_id == 0x70 || table_id == 0x71 || table_id == 0x72 || table_id == 0x7E)
            return true;
        const bool always = table_id <= 3 || (table_id >= 0x40 && table_id < 0x70) || table_id == 0x73 ||
                            table_id == 0x74 || table_id == 0x7F || table_id == 0xFC;
        if (!always && bits(section, 8, 1) == 0)
            return true;
        return section.size() >= 7 && CRC_is_zero(section);
    }

    void take(std::size_t index, std::deque<unsigned char>& payload, bool start)
    {
        if (!start) {
            while (!payload.empty() && m_begun)
                next_byte(index, payload);
            return;
        }
        if (payload.empty() || payload.front() > payload.size() - 1) {
            m_begun.reset();
            return;
        }
        const unsigned pointer_field = payload.front();
        payload.pop_front();
        for (unsigned count = 0; count < pointer_field; ++count)
            if (m_begun)
                next_byte(index, payload);
            else
                payload.pop_front();
        m_begun.reset();
        while (!payload.empty()) {
            if (!m_begun && payload.front() == 0xFF)
                return;
            if (!m_begun)
                m_begun.emplace();
            next_byte(index, payload);
        }
    }

    void next_byte(std::size_t index, std::deque<unsigned char>& payload)
    {
        m_begun->push_back(payload.front());
        payload.pop_front();
        if (m_begun->size() < 3 || m_begun->size() < 3 + bits(*m_begun, 12, 12))
            return;
        sections.push_back({index, *m_begun, is_good(*m_begun)});
        m_begun.reset();
    }

    std::size_t m_packets = 0;
    std::optional<Bytes> m_begun;
    std::optional<Seen> m_last;
};
} // namespace zqtest
