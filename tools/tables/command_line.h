// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/TablePrinter.h"
#include "tools/common/program.h"
#include "tools/tables/table_filter.h"

#include <string>
#include <vector>

namespace tables
{
/// What the command line of zq-tables asks for.
struct options
{
    std::string input = "-"; ///< a file, "-" or "udp://[SOURCE@]GROUP:PORT"
    std::string interface;   ///< to join a group on, a name or an address; empty: the system's choice
    bool sections = false;
    bool json = false;
    bool services = false;
    bool all = false;  ///< repetitions, too
    bool once = false; ///< no changes either
    bool quiet = false;
    mpegcore::PrintOptions print;
    table_filter filter;
};

/// Fills `options` from the arguments behind the program's name, and `text` unless the result is `run`.
[[nodiscard]] tools::request parse_command_line(const std::vector<std::string>& arguments, const std::string& version,
                                                options& options, std::string& text);
} // namespace tables
