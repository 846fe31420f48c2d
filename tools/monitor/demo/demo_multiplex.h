// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "tools/monitor/demo/demo_tables.h"
#include "tools/monitor/demo/packet_source.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>

namespace monitor
{
/// What goes wrong in a stream of the demo, for two seconds of every twenty.
enum class demo_fault
{
    none,
    no_PMT,
    damaged, ///< transport_error_indicator, and a sync byte
};

/// A transport stream without end of constant bit rate: one service of made-up video and audio, whose contents no
/// decoder would like, with PCRs, PTSs, PSI and SI by the standards.
class demo_multiplex final : public packet_source
{
public:
    static constexpr std::chrono::seconds fault_interval{20}, fault_length{2};

    /// `bitrate`: bits per second, 1 Mbit/s or more.
    demo_multiplex(const demo_service& service, std::uint64_t bitrate, demo_fault fault = demo_fault::none);

    /// Always true.
    [[nodiscard]] bool next(timed_packet& packet) override;

private:
    using bytes = std::array<unsigned char, mpegcore::ts_packet_size>;

    [[nodiscard]] bool is_faulty(std::chrono::nanoseconds now) const;
    void follow_fault(bool faulty);
    void fill(bytes& packet, std::chrono::nanoseconds now);
    void begin_video_frame(bytes& packet, std::chrono::nanoseconds now);
    void put_audio(bytes& packet, std::chrono::nanoseconds now);
    void put_header(bytes& packet, std::uint16_t PID, bool starts_unit, bool has_adaptation);

    mpegcore::SectionCarousel m_carousel;
    demo_fault m_fault;
    std::optional<mpegcore::SectionCarousel::Number> m_PMT;
    std::uint64_t m_places = 0;
    std::uint64_t m_video_share = 0; ///< in tenths of places
    std::chrono::nanoseconds m_next_frame{0};
    std::chrono::nanoseconds m_next_audio{0};
    std::array<std::uint8_t, 2> m_continuity{}; ///< of video and audio
};
} // namespace monitor
