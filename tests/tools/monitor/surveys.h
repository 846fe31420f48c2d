// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "tools/monitor/survey.h"

#include <memory>
#include <string>

namespace monitor_surveys
{
inline constexpr std::uint64_t second = 1'000'000'000;
inline constexpr std::uint64_t noon = 1'769'860'800 * second; ///< 2026-01-31T12:00:00Z

/// A stream that came well up to noon.
inline monitor::stream_report report_of(const std::string& name)
{
    monitor::stream_report report;
    report.settings.name = name;
    report.settings.address = "udp://239.1.1.1:5000";
    report.state = monitor::stream_state::good;
    report.bit_rate = 9'980'000;
    report.history = {9'960'000, 9'980'000};
    auto seen = std::make_shared<monitor::snapshot>();
    seen->time = noon;
    seen->clock = 100 * second;
    seen->input.legs[0].datagrams = 1000;
    seen->input.legs[0].bytes = 1'316'000;
    seen->input.legs[0].last_arrival = noon - second / 4;
    seen->last_arrival = seen->clock - second / 4;
    seen->input.legs[0].buffer_got = 425984;
    seen->input.senders = 1;
    seen->is_synchronised = true;
    seen->packets = 7000;
    seen->null_packets = 700;
    seen->null_share = 0.1;
    report.seen = seen;
    return report;
}

inline monitor::snapshot& change(monitor::stream_report& report)
{
    auto changed = std::make_shared<monitor::snapshot>(*report.seen);
    report.seen = changed;
    return *changed;
}

inline void add_service(monitor::stream_report& report, const std::string& name)
{
    mpegcore::Service service;
    service.program_number = 1;
    service.PMT_PID = 0x100;
    service.name = name;
    change(report).services.push_back(service);
}

inline void add_PID(monitor::stream_report& report, std::uint16_t PID, bool is_referenced)
{
    monitor::pid_state state;
    state.figures.PID = PID;
    state.figures.kind = mpegcore::PIDKind::video;
    state.figures.is_referenced = is_referenced;
    state.figures.packets = 10;
    change(report).PIDs.push_back(state);
}

/// With 700 packets, whose L1 says 256-QAM 2/3.
inline void add_PLP(monitor::stream_report& report, std::uint8_t plp_id)
{
    auto& T2MI = change(report).T2MI;
    if (!T2MI)
        T2MI.emplace().PID = 0x1000;
    auto& PLP = T2MI->PLPs.emplace_back();
    PLP.figures.plp_id = plp_id;
    PLP.figures.packets = 700;
    PLP.L1.emplace().PLP_MOD = 3;
    PLP.L1->PLP_COD = 2;
}

template <class... Reports>
std::shared_ptr<monitor::survey> survey_of(Reports... reports)
{
    auto all = std::make_shared<monitor::survey>();
    all->time = noon;
    (all->streams.push_back(std::make_shared<const monitor::stream_report>(std::move(reports))), ...);
    all->events = std::make_shared<const std::deque<monitor::event>>();
    return all;
}
} // namespace monitor_surveys
