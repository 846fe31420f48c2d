// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/demo/demo.h"

#include "tools/monitor/demo/demo_multiplex.h"
#include "tools/monitor/demo/demo_t2mi.h"
#include "tools/monitor/demo/file_source.h"

#include <cerrno>
#include <cstring>
#include <utility>

namespace monitor
{
namespace
{
bool add(const std::string& name, std::unique_ptr<packet_source> source, const wire& way, player& played,
         std::vector<stream_settings>& streams, std::string& fault)
{
    const std::uint16_t port = played.add(std::move(source), way);
    if (port == 0) {
        fault = name + ": no port of the loopback: " + std::strerror(errno);
        return false;
    }
    auto& settings = streams.emplace_back();
    settings.name = name;
    settings.address = "udp://127.0.0.1:" + std::to_string(port);
    return true;
}

std::unique_ptr<packet_source> multiplex(const std::string& name, std::uint64_t bitrate,
                                         demo_fault fault = demo_fault::none)
{
    demo_service service;
    service.name = name;
    return std::make_unique<demo_multiplex>(service, bitrate, fault);
}

/// Nothing at all.
class silence final : public packet_source
{
public:
    [[nodiscard]] bool next(timed_packet& /*packet*/) override { return false; }
};
} // namespace

bool add_demo(player& played, std::vector<stream_settings>& streams, std::string& fault)
{
    const auto add_one = [&](const std::string& name, std::unique_ptr<packet_source> source, const wire& way = {}) {
        return add(name, std::move(source), way, played, streams, fault);
    };
    wire lossy;
    lossy.rtp = true;
    lossy.loss_interval = std::chrono::seconds{15};
    const bool good = add_one("News", multiplex("News 24", 4'000'000)) &&
                      add_one("Sport, lossy RTP", multiplex("Sport One", 6'000'000), lossy) &&
                      add_one("Film, PMT pauses", multiplex("Film & Series", 5'000'000, demo_fault::no_PMT)) &&
                      add_one("Music, damaged", multiplex("Music <live>", 3'000'000, demo_fault::damaged)) &&
                      add_one("Night, silent", std::make_unique<silence>()) &&
                      add_one("Distribution, T2-MI", std::make_unique<demo_t2mi>());
    // It has no SI of its own.
    if (good)
        streams.back().limits.SI_is_expected = false;
    return good;
}

bool add_file(const std::string& argument, player& played, std::vector<stream_settings>& streams, std::string& fault)
{
    const auto named = stream_of_argument(argument);
    auto source = std::make_unique<file_source>();
    if (!source->open(named.address)) {
        fault = source->fault();
        return false;
    }
    return add(named.name, std::move(source), {}, played, streams, fault);
}
} // namespace monitor
