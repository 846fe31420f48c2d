// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "tools/t2mi/t2mi_options.h"

#include <cstdint>
#include <string>
#include <vector>

namespace t2mi
{
/// What the command line of zq-t2mi-mux asks for.
struct command_line
{
    struct plp_input
    {
        std::uint8_t plp_id;
        std::string file;
    };

    bool help = false;
    bool version = false;
    bool quiet = false;
    std::vector<plp_input> inputs;
    std::string output;
    std::uint64_t input_bitrate = 5'000'000; ///< of inputs without PCR, bit/s
    t2mi_options options;
};

/// Fills `line` from the arguments behind the program's name. On failure returns what is wrong, else an empty text.
/// With help or version asked for, nothing else is checked.
[[nodiscard]] std::string parse_command_line(const std::vector<std::string>& arguments, command_line& line);

/// The text of --help.
[[nodiscard]] std::string help_text();
} // namespace t2mi
