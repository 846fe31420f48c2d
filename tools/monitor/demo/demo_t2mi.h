// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "tools/monitor/demo/demo_multiplex.h"
#include "tools/t2mi/t2mi_encapsulator.h"

#include <chrono>
#include <cstdint>
#include <deque>

namespace monitor
{
/// Two streams of the demo as the PLPs of a T2-MI stream of constant bit rate. Its L1 is made up, so its timestamps do
/// not go on by the super-frames that L1 tells, which a monitor finds.
class demo_t2mi final : public packet_source
{
public:
    static constexpr std::uint64_t PLP_bitrate = 1'500'000, bitrate = 4'000'000;

    demo_t2mi();

    /// Always true.
    [[nodiscard]] bool next(timed_packet& packet) override;

private:
    struct PLP
    {
        explicit PLP(const demo_service& service) : stream(service, PLP_bitrate) {}

        demo_multiplex stream;
        timed_packet waiting;
    };

    void make_more();

    std::deque<PLP> m_PLPs;
    std::deque<timed_packet> m_made;
    t2mi::t2mi_encapsulator m_encapsulator;
    std::chrono::nanoseconds m_time{0};
    std::uint64_t m_places = 0;
};
} // namespace monitor
