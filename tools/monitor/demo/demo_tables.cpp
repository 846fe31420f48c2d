// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/demo/demo_tables.h"

#include "mpegcore/CRC.h"
#include "mpegcore/EventInfo.h"
#include "mpegcore/monitor/TableID.h"
#include "mpegcore/sections/TablePID.h"

#include <chrono>
#include <ctime>
#include <vector>

namespace monitor
{
namespace
{
using std::chrono::milliseconds;
using bytes = std::vector<unsigned char>;

bytes big_endian(std::uint64_t value, unsigned size)
{
    bytes written(size);
    for (unsigned at = size; at-- > 0; value >>= 8)
        written[at] = static_cast<unsigned char>(value);
    return written;
}

bytes joined(std::initializer_list<bytes> parts)
{
    bytes all;
    for (const auto& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

bytes text(const std::string& words)
{
    return joined({big_endian(words.size(), 1), bytes(words.begin(), words.end())});
}

bytes descriptor(unsigned tag, const bytes& body)
{
    return joined({big_endian(tag, 1), big_endian(body.size(), 1), body});
}

/// Of version 0 (ISO/IEC 13818-1, 2.4.4.11).
bytes section(std::uint8_t table_id, unsigned extension, const bytes& body, unsigned number = 0, unsigned last = 0)
{
    constexpr unsigned beside_body = 9;
    const bytes written =
        joined({big_endian(table_id, 1), big_endian(0xB000U | (body.size() + beside_body), 2), big_endian(extension, 2),
                big_endian(0xC1, 1), big_endian(number, 1), big_endian(last, 1), body});
    return joined({written, big_endian(mpegcore::crc32_mpeg2(written.data(), written.size()), 4)});
}

bytes PAT(const demo_service& service)
{
    return section(
        mpegcore::TableID::PAT, service.transport_stream_id,
        joined({big_endian(0, 2), big_endian(0xE000U | mpegcore::TablePID::NIT, 2),
                big_endian(demo_service::program_number, 2), big_endian(0xE000U | demo_service::PMT_PID, 2)}));
}

bytes PMT()
{
    constexpr unsigned AVC = 0x1B, AAC = 0x0F, ISO_639_language = 0x0A;
    const auto language = descriptor(ISO_639_language, {'e', 'n', 'g', 0});
    return section(
        mpegcore::TableID::PMT, demo_service::program_number,
        joined({big_endian(0xE000U | demo_service::video_PID, 2), big_endian(0xF000, 2), big_endian(AVC, 1),
                big_endian(0xE000U | demo_service::video_PID, 2), big_endian(0xF000, 2), big_endian(AAC, 1),
                big_endian(0xE000U | demo_service::audio_PID, 2), big_endian(0xF000U | language.size(), 2), language}));
}

bytes NIT(const demo_service& service)
{
    constexpr unsigned network_name = 0x40;
    const std::string name = "Demo";
    const auto descriptors = descriptor(network_name, {name.begin(), name.end()});
    const auto stream = joined({big_endian(service.transport_stream_id, 2), big_endian(1, 2), big_endian(0xF000, 2)});
    return section(mpegcore::TableID::NIT_actual, 1,
                   joined({big_endian(0xF000U | descriptors.size(), 2), descriptors,
                           big_endian(0xF000U | stream.size(), 2), stream}));
}

bytes SDT(const demo_service& service)
{
    constexpr unsigned service_descriptor = 0x48, EIT_present_following = 0xFD, running = 0x8000;
    const auto descriptors =
        descriptor(service_descriptor, joined({big_endian(1, 1), text(service.provider), text(service.name)}));
    return section(
        mpegcore::TableID::SDT_actual, service.transport_stream_id,
        joined({big_endian(1, 2), big_endian(0xFF, 1), big_endian(demo_service::program_number, 2),
                big_endian(EIT_present_following, 1), big_endian(running | descriptors.size(), 2), descriptors}));
}

/// Present or following, without an event.
bytes EIT(const demo_service& service, unsigned number)
{
    return section(mpegcore::TableID::EIT_actual, demo_service::program_number,
                   joined({big_endian(service.transport_stream_id, 2), big_endian(1, 2), big_endian(1, 1),
                           big_endian(mpegcore::TableID::EIT_actual, 1)}),
                   number, 1);
}

/// Of the moment at which the demo begins.
bytes TDT()
{
    const auto time = mpegcore::CEventInfo::time_t_to_start_time(std::time(nullptr));
    return joined({big_endian(mpegcore::TableID::TDT, 1), big_endian(0x7005, 2), big_endian(time, 5)});
}
} // namespace

void add_tables(mpegcore::SectionCarousel& carousel, const demo_service& service)
{
    carousel.add(mpegcore::TablePID::PAT, PAT(service), milliseconds{100});
    carousel.add(mpegcore::TablePID::SDT, SDT(service), milliseconds{1000}, milliseconds{20});
    carousel.add(mpegcore::TablePID::NIT, NIT(service), milliseconds{3000}, milliseconds{50});
    carousel.add(mpegcore::TablePID::EIT, EIT(service, 0), milliseconds{1000}, milliseconds{200});
    carousel.add(mpegcore::TablePID::EIT, EIT(service, 1), milliseconds{1000}, milliseconds{600});
    carousel.add(mpegcore::TablePID::TDT, TDT(), milliseconds{10000}, milliseconds{80});
}

mpegcore::SectionCarousel::Number add_PMT(mpegcore::SectionCarousel& carousel)
{
    return carousel.add(demo_service::PMT_PID, PMT(), milliseconds{100}, milliseconds{10}).value_or(0);
}
} // namespace monitor
