// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "tools/common/program.h"
#include "tools/monitor/http_server.h"
#include "tools/monitor/shard.h"

#include <optional>
#include <string>
#include <vector>

namespace monitor
{
/// What the command line of zq-monitor asks for.
struct options
{
    std::vector<std::string> streams; ///< "udp://..." or "NAME=udp://..."
    std::vector<std::string> files;   ///< to be sent by their PCRs: "FILE" or "NAME=FILE"
    bool demo = false;                ///< streams that the program makes itself
    std::string file;                 ///< of streams; empty: none
    bool check = false;               ///< the file, and nothing else
    shard share;
    std::string interface; ///< for streams that name none
    bool json = false;
    bool quiet = false;
    std::string events; ///< a file, or "-"; empty: nowhere
    std::optional<http_address> http;
    unsigned tick_ms = 5;
    unsigned threads = 1;
    double hold_off = 5; ///< seconds
};

/// Fills `options` from the arguments behind the program's name, and `text` unless the result is `run`.
[[nodiscard]] tools::request parse_command_line(const std::vector<std::string>& arguments, const std::string& version,
                                                options& options, std::string& text);
} // namespace monitor
