// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/sections/SectionCarousel.h"

#include <cstdint>
#include <string>

namespace monitor
{
/// The one service of a stream that the demo makes.
struct demo_service
{
    std::uint16_t transport_stream_id = 1;
    std::string name;
    std::string provider = "zq-monitor";

    static constexpr std::uint16_t program_number = 1, PMT_PID = 0x0100, video_PID = 0x0101, audio_PID = 0x0102;
};

/// Adds PSI and SI of the service, as often as ETSI TR 101 290 wants them.
void add_tables(mpegcore::SectionCarousel& carousel, const demo_service& service);
/// The number of the PMT's section alone, which add_tables() leaves out.
[[nodiscard]] mpegcore::SectionCarousel::Number add_PMT(mpegcore::SectionCarousel& carousel);
} // namespace monitor
