// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "tools/common/program.h"
#include "tools/monitor/command_line.h"
#include "tools/monitor/demo/player.h"
#include "tools/monitor/line_spooler.h"
#include "tools/monitor/observer.h"
#include "tools/monitor/receivers.h"
#include "tools/monitor/stream_list.h"
#include "tools/monitor/terminal_screen.h"
#include "tools/monitor/web_site.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace monitor
{
/// One run of zq-monitor, from its options to its exit code.
class monitor_run
{
public:
    monitor_run(options options, const std::string& version);

    [[nodiscard]] int to_end();

private:
    [[nodiscard]] std::vector<std::string> read_streams();
    [[nodiscard]] bool prepare_player();
    [[nodiscard]] stream_list read_list() const;
    [[nodiscard]] int check() const;
    [[nodiscard]] bool start();
    void watch();
    void each_second(const moment& now);
    void read_again();
    void report_spooler();
    void show(const survey& all);
    void say(const std::string& text);

    const tools::program m_program{"zq-monitor"};
    options m_options;
    std::vector<stream_settings> m_settings; ///< of this shard
    std::size_t m_listed = 0;                ///< of all shards
    player m_player;
    std::vector<stream_settings> m_played; ///< by it

    line_spooler m_output;
    bool m_is_on_terminal = false;
    line_spooler m_events;
    line_spooler::condition m_events_before;
    web_site m_site;
    std::optional<http_server> m_server;
    std::optional<receivers> m_receivers;
    observer m_observer;
    std::optional<terminal_screen> m_screen;
    std::shared_ptr<const survey> m_last;
};
} // namespace monitor
