// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/CRC.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

namespace zqtest
{
/// How a transport stream is put into baseband frames (ETSI EN 302 755, 5.1).
struct BasebandFormat
{
    bool high_efficiency = true;
    unsigned ISSY_size = 0; ///< 0, 2 or 3; in high efficiency mode 3 means one in each header
    bool deletes_nulls = false;
};

/// A BasebandFormat as a parameter of tests.
using FormatCase = std::tuple<bool, unsigned, bool>;

inline BasebandFormat format_of(const FormatCase& tested)
{
    return {std::get<0>(tested), std::get<1>(tested), std::get<2>(tested)};
}

inline auto every_format() { return testing::Combine(testing::Bool(), testing::Values(0U, 2U, 3U), testing::Bool()); }

inline std::string name_of_format(const testing::TestParamInfo<FormatCase>& tested)
{
    const auto [efficient, ISSY, deletes] = tested.param;
    return std::string(efficient ? "efficient" : "normal") + "Issy" + std::to_string(ISSY) +
           (deletes ? "WithoutNulls" : "");
}

/// Puts packets into frames, byte by byte as the standard draws them: a queue of user packet bytes, cut anywhere.
class BasebandSender
{
public:
    using Bytes = std::vector<unsigned char>;

    explicit BasebandSender(BasebandFormat format) : m_format(format) {}

    void add(const Bytes& packet)
    {
        const bool is_null = (packet[1] & 0x1F) == 0x1F && packet[2] == 0xFF;
        if (m_format.deletes_nulls && is_null && m_deleted < 255) {
            ++m_deleted;
            return;
        }
        m_starts.push_back(m_queue.size());
        Bytes behind_sync(packet.begin() + 1, packet.end());
        if (!m_format.high_efficiency)
            for (unsigned at = 0; at < m_format.ISSY_size; ++at)
                behind_sync.push_back(ISSY(m_number)[at + 3 - m_format.ISSY_size]);
        if (m_format.deletes_nulls)
            behind_sync.push_back(m_deleted);
        m_deleted = 0;
        ++m_number;
        if (!m_format.high_efficiency) {
            m_queue.push_back(m_CRC_8);
            m_CRC_8 = mpegcore::crc8_dvb(behind_sync.data(), behind_sync.size());
        }
        m_queue.insert(m_queue.end(), behind_sync.begin(), behind_sync.end());
    }

    std::size_t waiting() const { return m_queue.size(); }

    /// A frame with the next `data_bytes` of the queue and `padding` zeros.
    Bytes frame(std::size_t data_bytes, std::size_t padding = 0)
    {
        std::size_t SYNCD = 0xFFFF;
        if (!m_starts.empty() && m_starts.front() < data_bytes)
            SYNCD = 8 * m_starts.front();
        Bytes out(10);
        out[0] =
            static_cast<unsigned char>(0xF0 | (m_format.ISSY_size != 0 ? 8 : 0) | (m_format.deletes_nulls ? 4 : 0));
        if (m_format.high_efficiency && m_format.ISSY_size != 0) {
            const auto issy = ISSY(m_number - static_cast<unsigned>(m_starts.size()));
            out[2] = issy[0];
            out[3] = issy[1];
            out[6] = issy[2];
        } else if (!m_format.high_efficiency) {
            const std::size_t UPL = 8 * (188 + m_format.ISSY_size + (m_format.deletes_nulls ? 1 : 0));
            out[2] = static_cast<unsigned char>(UPL >> 8);
            out[3] = static_cast<unsigned char>(UPL);
            out[6] = 0x47;
        }
        out[4] = static_cast<unsigned char>(data_bytes >> 5);
        out[5] = static_cast<unsigned char>(data_bytes << 3);
        out[7] = static_cast<unsigned char>(SYNCD >> 8);
        out[8] = static_cast<unsigned char>(SYNCD);
        out[9] = mpegcore::crc8_dvb(out.data(), 9) ^ (m_format.high_efficiency ? 1 : 0);
        out.insert(out.end(), m_queue.begin(), m_queue.begin() + static_cast<std::ptrdiff_t>(data_bytes));
        out.resize(out.size() + padding);
        m_queue.erase(m_queue.begin(), m_queue.begin() + static_cast<std::ptrdiff_t>(data_bytes));
        std::vector<std::size_t> later;
        for (const std::size_t start : m_starts)
            if (start >= data_bytes)
                later.push_back(start - data_bytes);
        m_starts = later;
        return out;
    }

    /// An ISCR of the packet with this number; short ones are its last two bytes, which begin with a 0 bit.
    std::array<unsigned char, 3> ISSY(unsigned number) const
    {
        if (!m_format.high_efficiency && m_format.ISSY_size == 2)
            return {0, static_cast<unsigned char>(number >> 8 & 0x7F), static_cast<unsigned char>(number)};
        return {0x80, static_cast<unsigned char>(number >> 8), static_cast<unsigned char>(number)};
    }

private:
    BasebandFormat m_format;
    Bytes m_queue;
    std::vector<std::size_t> m_starts; ///< in m_queue
    unsigned m_number = 0;             ///< of packets sent
    unsigned char m_deleted = 0;
    unsigned char m_CRC_8 = 0;
};
} // namespace zqtest
