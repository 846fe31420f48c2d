// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/demo/demo_multiplex.h"

#include <algorithm>

namespace monitor
{
namespace
{
using std::chrono::milliseconds;
using std::chrono::nanoseconds;

constexpr milliseconds frame_interval{40}, audio_interval{24}, presentation_delay{500};
constexpr unsigned video_tenths = 8; ///< of the places that are left

/// In ticks of `rate` a second.
std::uint64_t ticks(nanoseconds time, std::uint64_t rate)
{
    constexpr std::uint64_t second = 1'000'000'000;
    const auto whole = static_cast<std::uint64_t>(time.count());
    return whole / second * rate + whole % second * rate / second;
}

/// ISO/IEC 13818-1, 2.4.3.4: flags, then the PCR.
template <class Out>
void put_PCR(Out out, nanoseconds time)
{
    constexpr std::uint64_t clock = 27'000'000, base_range = std::uint64_t{1} << 33;
    const std::uint64_t PCR = ticks(time, clock);
    const std::uint64_t base = PCR / 300 % base_range, extension = PCR % 300;
    constexpr unsigned char length = 7, PCR_flag = 0x10;
    *out++ = length;
    *out++ = PCR_flag;
    for (const unsigned shift : {25U, 17U, 9U, 1U})
        *out++ = static_cast<unsigned char>(base >> shift);
    *out++ = static_cast<unsigned char>((base & 1U) << 7 | 0x7EU | extension >> 8);
    *out++ = static_cast<unsigned char>(extension);
}

/// 2.4.3.6, of a PES packet without a length.
template <class Out>
void put_PES_header(Out out, unsigned char stream_id, nanoseconds time)
{
    constexpr std::uint64_t clock = 90'000;
    const std::uint64_t PTS = ticks(time + presentation_delay, clock);
    const std::array<unsigned char, 14> header{0,
                                               0,
                                               1,
                                               stream_id,
                                               0,
                                               0,
                                               0x80,
                                               0x80,
                                               5,
                                               static_cast<unsigned char>(0x21 | (PTS >> 29 & 0x0E)),
                                               static_cast<unsigned char>(PTS >> 22),
                                               static_cast<unsigned char>(PTS >> 14 | 1),
                                               static_cast<unsigned char>(PTS >> 7),
                                               static_cast<unsigned char>(PTS << 1 | 1)};
    std::copy(header.begin(), header.end(), out);
}
} // namespace

demo_multiplex::demo_multiplex(const demo_service& service, std::uint64_t bitrate, demo_fault fault)
    : m_carousel(bitrate), m_fault(fault)
{
    add_tables(m_carousel, service);
    m_PMT = add_PMT(m_carousel);
}

bool demo_multiplex::is_faulty(nanoseconds now) const
{
    return m_fault != demo_fault::none && now % fault_interval >= fault_interval - fault_length;
}

void demo_multiplex::follow_fault(bool faulty)
{
    if (m_fault != demo_fault::no_PMT || faulty != m_PMT.has_value())
        return;
    if (faulty) {
        m_carousel.remove(*m_PMT);
        m_PMT.reset();
    } else {
        m_PMT = add_PMT(m_carousel);
    }
}

bool demo_multiplex::next(timed_packet& packet)
{
    constexpr std::uint64_t places_between_damages = 400;
    packet.due = m_carousel.time();
    const bool faulty = is_faulty(packet.due);
    follow_fault(faulty);
    if (const unsigned char* const section = m_carousel.next())
        std::copy_n(section, packet.bytes.size(), packet.bytes.begin());
    else
        fill(packet.bytes, packet.due);
    ++m_places;
    if (faulty && m_fault == demo_fault::damaged && m_places % places_between_damages == 0) {
        constexpr unsigned char transport_error_indicator = 0x80;
        packet.bytes[1] |= transport_error_indicator;
        if (m_places % (4 * places_between_damages) == 0)
            packet.bytes[0] = 0;
    }
    return true;
}

void demo_multiplex::fill(bytes& packet, nanoseconds now)
{
    packet.fill(0xFF);
    if (now >= m_next_frame)
        return begin_video_frame(packet, now);
    if (now >= m_next_audio)
        return put_audio(packet, now);
    m_video_share += video_tenths;
    if (m_video_share >= 10) {
        m_video_share -= 10;
        return put_header(packet, demo_service::video_PID, false, false);
    }
    constexpr std::array<unsigned char, 4> null_packet{0x47, 0x1F, 0xFF, 0x10};
    std::copy(null_packet.begin(), null_packet.end(), packet.begin());
}

void demo_multiplex::begin_video_frame(bytes& packet, nanoseconds now)
{
    m_next_frame += frame_interval;
    put_header(packet, demo_service::video_PID, true, true);
    put_PCR(packet.begin() + mpegcore::ts_header_size, now);
    constexpr std::size_t adaptation_size = 8;
    put_PES_header(packet.begin() + mpegcore::ts_header_size + adaptation_size, 0xE0, now);
}

void demo_multiplex::put_audio(bytes& packet, nanoseconds now)
{
    m_next_audio += audio_interval;
    put_header(packet, demo_service::audio_PID, true, false);
    put_PES_header(packet.begin() + mpegcore::ts_header_size, 0xC0, now);
}

void demo_multiplex::put_header(bytes& packet, std::uint16_t PID, bool starts_unit, bool has_adaptation)
{
    std::uint8_t& counter = m_continuity[PID == demo_service::video_PID ? 0 : 1];
    packet[0] = mpegcore::ts_sync_byte;
    packet[1] = static_cast<unsigned char>((starts_unit ? 0x40 : 0) | PID >> 8);
    packet[2] = static_cast<unsigned char>(PID);
    packet[3] = static_cast<unsigned char>((has_adaptation ? 0x30 : 0x10) | counter);
    counter = (counter + 1) & 0x0F;
}
} // namespace monitor
