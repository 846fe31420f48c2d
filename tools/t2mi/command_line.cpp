// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/t2mi/command_line.h"

#include "tools/common/parse_number.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <string_view>

namespace t2mi
{
namespace
{
using tools::parse_number;

bool parse_frame_size(std::string_view text, t2mi_options& options)
{
    const auto dash = text.find('-');
    if (!parse_number(text.substr(0, dash), options.data_field_bytes_min))
        return false;
    options.data_field_bytes_max = options.data_field_bytes_min;
    return dash == std::string_view::npos || parse_number(text.substr(dash + 1), options.data_field_bytes_max);
}

bool parse_plp(std::string_view text, std::vector<command_line::plp_input>& inputs)
{
    const auto equals = text.find('=');
    command_line::plp_input input{};
    if (equals == std::string_view::npos || equals + 1 == text.size() ||
        !parse_number(text.substr(0, equals), input.plp_id))
        return false;
    input.file = text.substr(equals + 1);
    inputs.push_back(input);
    return true;
}

struct option
{
    std::string_view name;
    std::string_view argument; // empty: takes none
    std::string_view help;
    std::function<bool(std::string_view, command_line&)> apply;
};

template <class Member>
auto number_into(Member t2mi_options::*member)
{
    return [member](std::string_view text, command_line& line) { return parse_number(text, line.options.*member); };
}

const std::vector<option>& known_options()
{
    static const std::vector<option> options{
        {"--plp", "ID=FILE", "transport stream FILE becomes the PLP with this id, 0 to 255; once for each PLP",
         [](std::string_view text, command_line& line) { return parse_plp(text, line.inputs); }},
        {"--output", "FILE", "where the stream goes",
         [](std::string_view text, command_line& line) { return !(line.output = text).empty(); }},
        {"--bitrate", "N", "constant rate of the output in bit/s, reached with null packets (default: none are added)",
         number_into(&t2mi_options::bitrate)},
        {"--input-bitrate", "N", "rate in bit/s of inputs that carry no PCR (default 5000000)",
         [](std::string_view text, command_line& line) {
             return parse_number(text, line.input_bitrate) && line.input_bitrate != 0;
         }},
        {"--frame-size", "N | MIN-MAX",
         "bytes of a baseband frame's data field, 187 to 8178; drawn at random from a range (default 5370)",
         [](std::string_view text, command_line& line) { return parse_frame_size(text, line.options); }},
        {"--frames", "N", "baseband frames in a T2 frame (default 8)",
         number_into(&t2mi_options::baseband_frames_per_t2_frame)},
        {"--superframe", "N", "T2 frames in a superframe, 1 to 256 (default 2)",
         number_into(&t2mi_options::t2_frames_per_superframe)},
        {"--auxiliary", "N", "random bytes in the auxiliary packet of every T2 frame, 0 for none (default 16)",
         number_into(&t2mi_options::auxiliary_bytes)},
        {"--no-timestamps", "", "no timestamp packet in front of every superframe",
         [](std::string_view, command_line& line) { return !(line.options.timestamps = false); }},
        {"--start", "SECONDS", "absolute timestamps that begin at these seconds since 2000 (default: relative ones)",
         number_into(&t2mi_options::start_seconds)},
        {"--pid", "PID", "PID of the T2-MI packets (default 0x1000)", number_into(&t2mi_options::t2mi_PID)},
        {"--pmt-pid", "PID", "PID of the PMT (default 0x0100)", number_into(&t2mi_options::pmt_PID)},
        {"--program", "N", "program number (default 1)", number_into(&t2mi_options::program_number)},
        {"--ts-id", "N", "transport stream id (default 1)", number_into(&t2mi_options::transport_stream_id)},
        {"--stream-id", "N", "T2-MI stream id, 0 to 7 (default 0)", number_into(&t2mi_options::t2mi_stream_id)},
        {"--seed", "N", "seed of frame sizes and auxiliary data (default 1)", number_into(&t2mi_options::seed)},
        {"--quiet", "", "no progress bar", [](std::string_view, command_line& line) { return line.quiet = true; }},
        {"--version", "", "prints the version",
         [](std::string_view, command_line& line) { return line.version = true; }},
        {"--help", "", "prints this text", [](std::string_view, command_line& line) { return line.help = true; }},
    };
    return options;
}

std::string find_missing(const command_line& line)
{
    if (line.inputs.empty())
        return "no PLP given (--plp ID=FILE)";
    if (line.output.empty())
        return "no output given (--output FILE)";
    std::vector<std::uint8_t> plp_ids;
    for (const auto& input : line.inputs) {
        if (std::find(plp_ids.begin(), plp_ids.end(), input.plp_id) != plp_ids.end())
            return "PLP " + std::to_string(input.plp_id) + " is given twice";
        plp_ids.push_back(input.plp_id);
    }
    const auto is_standard_input = [](const command_line::plp_input& input) { return input.file == "-"; };
    if (std::count_if(line.inputs.begin(), line.inputs.end(), is_standard_input) > 1)
        return "standard input can feed one PLP only";
    return find_fault(line.options);
}
} // namespace

std::string parse_command_line(const std::vector<std::string>& arguments, command_line& line)
{
    for (std::size_t at = 0; at < arguments.size(); ++at) {
        // Both "--name value" and "--name=value"; only the first "=" divides.
        const std::string_view argument = arguments[at];
        const auto equals = argument.find('=');
        const auto name = argument.substr(0, equals);
        const auto& options = known_options();
        const auto known =
            std::find_if(options.begin(), options.end(), [name](const option& o) { return o.name == name; });
        if (known == options.end())
            return "unknown argument \"" + arguments[at] + "\"";
        std::string_view value;
        if (equals != std::string_view::npos)
            value = argument.substr(equals + 1);
        else if (!known->argument.empty() && ++at < arguments.size())
            value = arguments[at];
        if (known->argument.empty() ? equals != std::string_view::npos : value.empty())
            return std::string(name) + (known->argument.empty() ? " takes no value" : " needs a value");
        if (!known->apply(value, line))
            return "bad value \"" + std::string(value) + "\" for " + std::string(name);
        if (line.help || line.version)
            return {};
    }
    return find_missing(line);
}

std::string help_text()
{
    std::string text = "Usage: zq-t2mi-mux --plp ID=FILE [--plp ID=FILE ...] --output FILE [options]\n\n"
                       "Wraps transport streams as the PLPs of one T2-MI stream (TS 102 773): baseband frames in\n"
                       "high-efficiency mode, timestamp and auxiliary packets, on one PID of a transport stream with\n"
                       "PAT and PMT. Inputs run side by side at the pace of their PCRs. \"-\" as FILE is standard\n"
                       "input or output. Numbers may be hexadecimal behind 0x. L1 signalling is not made.\n\n";
    constexpr std::size_t column = 28;
    for (const auto& option : known_options()) {
        std::string line = "  " + std::string(option.name);
        if (!option.argument.empty())
            line += " " + std::string(option.argument);
        line.resize(std::max(line.size() + 1, column), ' ');
        text += line + std::string(option.help) + "\n";
    }
    return text + "\nExits with 0, with 1 when a file or the rate fails it, with 2 when the arguments are wrong.\n";
}
} // namespace t2mi
