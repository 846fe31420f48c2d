// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/demo/demo_t2mi.h"

#include <algorithm>

namespace monitor
{
namespace
{
constexpr std::chrono::milliseconds step{5};

t2mi::t2mi_options stream_options()
{
    t2mi::t2mi_options options;
    options.bitrate = demo_t2mi::bitrate;
    options.continuous = options.L1_signalling = options.T2MI_descriptor = true;
    return options;
}

demo_service service(std::uint16_t number)
{
    demo_service made;
    made.transport_stream_id = number;
    made.name = "Regional " + std::to_string(number);
    return made;
}
} // namespace

demo_t2mi::demo_t2mi()
    : m_encapsulator(stream_options(), [this](const unsigned char* packet) {
          auto& made = m_made.emplace_back();
          std::copy_n(packet, made.bytes.size(), made.bytes.begin());
      })
{
    for (const std::uint8_t plp_id : {0, 1}) {
        auto& made = m_PLPs.emplace_back(service(static_cast<std::uint16_t>(plp_id + 1)));
        (void)made.stream.next(made.waiting);
        (void)m_encapsulator.add_plp(plp_id);
    }
}

void demo_t2mi::make_more()
{
    m_time += step;
    for (std::size_t at = 0; at < m_PLPs.size(); ++at)
        for (auto& [stream, waiting] = m_PLPs[at]; waiting.due < m_time; (void)stream.next(waiting))
            (void)m_encapsulator.push(static_cast<std::uint8_t>(at), waiting.bytes.data());
    m_encapsulator.advance(m_time);
}

bool demo_t2mi::next(timed_packet& packet)
{
    while (m_made.empty())
        make_more();
    packet = m_made.front();
    m_made.pop_front();
    constexpr std::uint64_t bits = 8 * mpegcore::ts_packet_size, second = 1'000'000'000;
    packet.due =
        std::chrono::nanoseconds(m_places * bits / bitrate * second + m_places * bits % bitrate * second / bitrate);
    ++m_places;
    return true;
}
} // namespace monitor
