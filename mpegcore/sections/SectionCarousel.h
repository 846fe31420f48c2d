// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/sections/SectionPacketizer.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace mpegcore
{
/// Sends sections again and again, each at its interval, into a stream of a constant rate: asked for every packet of
/// the stream, it gives one of its own when a section is due and leaves the place to others when none is.
///
/// Sections that are due together go one behind the other, those that were due first in front. When the stream has no
/// room for all, repetitions are left out. Memory: the sections, and the packets of those that are due.
class SectionCarousel
{
public:
    using Number = unsigned;

    /// Of a stream of `bitrate` bits per second, 1 to 10^10. With packing, sections of a PID that are due together
    /// share packets.
    explicit SectionCarousel(std::uint64_t bitrate, SectionFill fill = SectionFill::stuffing)
        : m_bitrate(bitrate), m_fill(fill)
    {}

    /// Sends the section from the time `first` of the stream on, then every `interval`. Its number, or nothing when it
    /// is not a section, the PID has more than 13 bits or the interval is not positive.
    std::optional<Number> add(std::uint16_t PID, std::vector<unsigned char> section, std::chrono::nanoseconds interval,
                              std::chrono::nanoseconds first = std::chrono::nanoseconds(0));
    /// From its next repetition on the section has these bytes. False, and nothing changes, when they are no section or
    /// the number is unknown.
    [[nodiscard]] bool replace(Number number, std::vector<unsigned char> section);
    /// The section does not come again. False when the number is unknown.
    bool remove(Number number);

    /// The packet of 188 bytes for the next place of the stream, which holds until the next call, or null when the
    /// place is left to others.
    const unsigned char* next();

    /// When the next place of the stream is, from its beginning.
    std::chrono::nanoseconds time() const;

private:
    using Packet = std::array<unsigned char, ts_packet_size>;

    struct Repeated
    {
        std::uint16_t PID;
        std::vector<unsigned char> section;
        std::chrono::nanoseconds interval;
        std::chrono::nanoseconds due;
    };

    void queue_due(std::chrono::nanoseconds now);

    std::uint64_t m_bitrate;
    SectionFill m_fill;
    std::uint64_t m_places = 0; ///< of the stream that are behind
    Number m_next_number = 0;
    std::map<Number, Repeated> m_repeated;
    std::set<std::pair<std::chrono::nanoseconds, Number>> m_schedule; ///< by due
    std::map<std::uint16_t, SectionPacketizer> m_packetizers;
    std::deque<Packet> m_queue;
    Packet m_given{};
};
} // namespace mpegcore
