// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "tools/common/program.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace t2mi_demux
{
/// What the command line of zq-t2mi-demux asks for.
struct options
{
    std::string input;     ///< a file, "-" or "udp://[SOURCE@]GROUP:PORT"
    std::string interface; ///< to join a group on; empty: the system's choice
    int PID = -1;          ///< -1: to be found
    int stream_id = -1;    ///< -1: the first one
    bool list = false;
    bool json = false;
    bool drop_nulls = false; ///< deleted null packets are not put back
    bool merge_common = false;
    bool quiet = false;
    std::map<std::uint8_t, std::string> outputs; ///< files by PLP
};

/// Fills `options` from the arguments behind the program's name, and `text` unless the result is `run`.
[[nodiscard]] tools::request parse_command_line(const std::vector<std::string>& arguments, const std::string& version,
                                                options& options, std::string& text);
} // namespace t2mi_demux
