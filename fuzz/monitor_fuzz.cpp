// SPDX-License-Identifier: LGPL-2.1-or-later
// The input is a row of records: packets of any header, sections with their CRC_32 put right, times that pass, gaps.
// What a StreamMonitor says of them has to stay within its bounds and agree with itself.
#include "mpegcore/monitor/StreamMonitor.h"
#include "support/SectionPackets.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace monitor_target
{
using zqtest::Bytes;

struct Listener : mpegcore::MonitorListener
{
    void on_table(const mpegcore::TableChange& change) override { require(!change.table.sections.empty()); }
    void on_splice(const mpegcore::SpliceNews& news) override { require(news.pts_time.value_or(0) >> 33 == 0); }

    static void require(bool holds)
    {
        if (!holds)
            std::abort();
    }
};

mpegcore::MonitorLimits small_limits()
{
    mpegcore::MonitorLimits limits;
    limits.most_PIDs = 24;
    limits.most_section_PIDs = 12;
    return limits;
}

class Watched
{
public:
    void record(unsigned kind, unsigned PID, unsigned flags, const Bytes& bytes)
    {
        zqtest::Stream stream;
        switch (kind % 8) {
        case 0:
            m_now += std::uint64_t{PID} << (flags % 24);
            m_monitor.tick(m_now);
            return;
        case 1:
            if ((flags & 1U) != 0)
                m_monitor.note_gap();
            else
                m_monitor.note_sync_loss(m_now);
            return;
        case 2:
        case 3:
        case 4:
            stream.section(PID, section_of(bytes));
            break;
        default:
            stream.raw(PID, (flags & 1U) != 0 ? zqtest::Stream::begins : zqtest::Stream::goes_on, 0, bytes);
            stream.data[1] |= flags & 0x80U;
            stream.data[3] = static_cast<unsigned char>(kind & 0xF0U);
            if ((flags & 0x7EU) == 0x7EU)
                stream.data[0] = 0;
            break;
        }
        for (std::size_t at = 0; at < stream.data.size(); at += mpegcore::ts_packet_size) {
            unsigned char& last_byte = stream.data[at + 3];
            last_byte = static_cast<unsigned char>((last_byte & 0xF0U) | (m_counters[PID]++ & 0x0FU));
        }
        m_monitor.put(stream.data.data(), stream.packets(), m_now += 1'000'000);
    }

    void check() const
    {
        const auto& contents = m_monitor.contents();
        Listener::require(contents.PIDs.size() <= small_limits().most_PIDs);
        Listener::require(contents.null_packets + contents.untold_packets <= contents.packets);
        for (const mpegcore::PIDFigures* const figures : contents.PIDs.all()) {
            Listener::require(figures->packets <= contents.packets && figures->scrambled_packets <= figures->packets);
            Listener::require(figures->continuity_errors + figures->repeated_packets <= figures->packets);
        }
        for (const auto& name : mpegcore::TR101290_checks) {
            const auto& record = m_monitor.checks()[name.check];
            Listener::require((record.count == 0) == record.detail().empty());
            Listener::require(record.first <= record.last);
            Listener::require((record.count == 0) == (record.error_seconds == 0));
        }
    }

private:
    static Bytes section_of(Bytes bytes)
    {
        bytes.resize(std::max<std::size_t>(bytes.size(), 3));
        const std::size_t length = bytes.size() - 3 + 4;
        bytes[1] = static_cast<unsigned char>((bytes[1] & 0xF0U) | length >> 8);
        bytes[2] = static_cast<unsigned char>(length);
        return zqtest::with_CRC(bytes);
    }

    Listener m_listener;
    mpegcore::StreamMonitor m_monitor{small_limits(), &m_listener};
    std::uint64_t m_now = 1;
    std::array<std::uint8_t, mpegcore::pid_count> m_counters{};
};

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t header = 5;
    Watched watched;
    while (size >= header) {
        const unsigned PID = (data[1] << 8 | data[2]) & 0x1FFFU;
        const std::size_t length = std::min<std::size_t>(data[4], size - header);
        watched.record(data[0], PID, data[3], Bytes(data + header, data + header + length));
        data += header + length;
        size -= header + length;
    }
    watched.check();
    return 0;
}
} // namespace monitor_target
