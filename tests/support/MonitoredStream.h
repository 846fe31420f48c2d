// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/monitor/StreamMonitor.h"
#include "support/SectionPackets.h"
#include "support/T2MI.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

// A stream without fault that a StreamMonitor watches, whose parts can be stopped, slowed down and damaged.
namespace zqtest
{
constexpr unsigned video_PID = 0x0101, audio_PID = 0x0102;

/// `descriptors`: of the stream loop.
struct ListedPID
{
    unsigned stream_type;
    unsigned PID;
    Bytes descriptors = {};
};

inline Bytes PMT_section_of(unsigned program_number, unsigned PCR_PID, const std::vector<ListedPID>& streams,
                            unsigned version = 0, const Bytes& descriptors = {})
{
    Bytes body = big_endian(program_number, 2) + Bytes{static_cast<unsigned char>(0xC1 | version << 1), 0, 0} +
                 big_endian(0xE000U | PCR_PID, 2) + big_endian(0xF000U | descriptors.size(), 2) + descriptors;
    for (const ListedPID& stream : streams)
        body = body + Bytes{static_cast<unsigned char>(stream.stream_type)} + big_endian(0xE000U | stream.PID, 2) +
               big_endian(0xF000U | stream.descriptors.size(), 2) + stream.descriptors;
    return section_of(0x02, body);
}

/// A PES header with a PTS, of a video or audio stream.
inline Bytes PES_start(unsigned stream_id = 0xE0)
{
    return Bytes{0, 0, 1, static_cast<unsigned char>(stream_id), 0, 0, 0x80, 0x80, 5, 0x21, 0, 1, 0, 1} +
           Bytes(162, 0x55);
}

class MonitoredStream
{
public:
    static constexpr std::uint64_t ms = 1'000'000;

    struct Part
    {
        std::function<void(Stream&)> send;
        unsigned interval; ///< ms; 0: it does not come
        unsigned first;    ///< ms from the beginning
    };

    explicit MonitoredStream(const mpegcore::MonitorLimits& limits = {}, mpegcore::MonitorListener* listener = nullptr)
        : monitor(limits, listener)
    {
        parts["PAT"] = {[](Stream& s) { s.section(0, PAT_of({PMT_PID})); }, 100, 0};
        parts["PMT"] = {[](Stream& s) {
                            s.section(PMT_PID, PMT_section_of(1, video_PID, {{0x1B, video_PID}, {0x03, audio_PID}}));
                        },
                        100, 1};
        parts["PCR"] = {[this](Stream& s) { s.PCR(video_PID, 90 * (now() / ms) % (std::uint64_t{1} << 33), 0); }, 40,
                        2};
        parts["video"] = {[](Stream& s) { s.packet(video_PID, Stream::begins, PES_start()); }, 200, 3};
        parts["audio"] = {[](Stream& s) { s.packet(audio_PID, Stream::begins, PES_start(0xC0)); }, 200, 4};
        parts["NIT"] = {[](Stream& s) { s.section(0x10, good_section(0x40, 4)); }, 1000, 5};
        parts["SDT"] = {[](Stream& s) { s.section(0x11, good_section(0x42, 3)); }, 500, 6};
        parts["EIT 0"] = {[](Stream& s) { s.section(0x12, good_section(0x4E, 6, 1, 0, 0, 1)); }, 500, 7};
        parts["EIT 1"] = {[](Stream& s) { s.section(0x12, good_section(0x4E, 6, 1, 0, 1, 1)); }, 500, 8};
        parts["TDT"] = {[](Stream& s) { s.section(0x14, {0x70, 0x70, 0x05, 0xC0, 0x79, 0x12, 0x45, 0x00}); }, 5000, 9};
        parts["null"] = {[](Stream& s) { s.null(); }, 10, 0};
    }

    /// Time of the clock, ns; it begins at 1000 s.
    std::uint64_t now() const { return (1'000'000 + m_elapsed) * ms; }
    /// Lets so many milliseconds pass, with ticks each 100 ms.
    MonitoredStream& run(unsigned milliseconds)
    {
        for (; milliseconds != 0; --milliseconds) {
            for (auto& [name, part] : parts)
                if (part.interval != 0 && m_elapsed >= part.first && (m_elapsed - part.first) % part.interval == 0)
                    part.send(stream);
            flush();
            if (m_elapsed % 100 == 99)
                monitor.tick(now());
            ++m_elapsed;
        }
        return *this;
    }
    /// The same with nothing coming.
    MonitoredStream& pause(unsigned milliseconds)
    {
        for (; milliseconds != 0; --milliseconds, ++m_elapsed)
            if (m_elapsed % 100 == 99)
                monitor.tick(now());
        return *this;
    }
    void stop(const std::string& part) { parts.at(part).interval = 0; }
    /// What was put into `stream` comes now.
    void flush()
    {
        monitor.put(stream.data.data(), stream.packets(), now());
        stream.data.clear();
    }

    std::uint64_t count(mpegcore::Check check) const { return monitor.checks()[check].count; }
    mpegcore::CheckState state(mpegcore::Check check) const { return monitor.checks()[check].state; }
    /// "1.4: 1, 2.2: 3": what has errors.
    std::string errors() const
    {
        std::string text;
        for (const mpegcore::CheckName& name : mpegcore::TR101290_checks)
            if (count(name.check) != 0)
                text +=
                    (text.empty() ? "" : ", ") + std::string(name.number) + ": " + std::to_string(count(name.check));
        return text;
    }

    mpegcore::StreamMonitor monitor;
    std::map<std::string, Part> parts;
    Stream stream;

private:
    std::uint64_t m_elapsed = 0; ///< ms
};
} // namespace zqtest
