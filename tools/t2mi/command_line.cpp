// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/t2mi/command_line.h"

#include "tools/common/parse_number.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <functional>
#include <memory>
#include <string_view>

namespace t2mi
{
namespace
{
using tools::parse_number;

constexpr const char* usage =
    "Usage: zq-t2mi-mux --plp ID=FILE [--plp ID=FILE ...] --output FILE [options]\n\n"
    "Wraps transport streams as the PLPs of one T2-MI stream (TS 102 773): baseband frames,\n"
    "timestamp, auxiliary and L1 packets, on one PID of a transport stream with PAT and PMT.\n"
    "Inputs run side by side at the pace of their PCRs. \"-\" as FILE is standard\n"
    "input or output. Numbers may be hexadecimal behind 0x.\n";
constexpr const char* footer =
    "Exits with 0, with 1 when a file or the rate fails it, with 2 when the arguments are wrong.";

class help_format : public CLI::Formatter
{
public:
    std::string make_usage(const CLI::App* /*app*/, std::string /*name*/) const override { return usage; }
};

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

/// What makes something of an option's value, or refuses it.
using take_value = std::function<bool(const std::string&)>;

void add_value(CLI::App& app, const std::string& name, const std::string& value, const take_value& take,
               const std::string& help)
{
    const auto take_it = [name, take](const CLI::results_t& texts) {
        if (!take(texts.back()))
            throw CLI::ConversionError("bad value \"" + texts.back() + "\" for " + name,
                                       CLI::ExitCodes::ConversionError);
        return true;
    };
    app.add_option(name, take_it, help)->option_text(value)->trigger_on_parse();
}

template <class Number>
take_value number_into(Number& number)
{
    return [&number](const std::string& text) { return parse_number(text, number); };
}

void add_flag(CLI::App& app, const std::string& name, const std::function<void()>& act, const std::string& help)
{
    app.add_flag_callback(name, act, help)->disable_flag_override()->trigger_on_parse();
}

void add_stream_options(CLI::App& app, command_line& line)
{
    t2mi_options& options = line.options;
    const auto parse_rate = [&line](const std::string& text) {
        return parse_number(text, line.input_bitrate) && line.input_bitrate != 0;
    };
    add_value(
        app, "--plp", "ID=FILE", [&line](const std::string& text) { return parse_plp(text, line.inputs); },
        "transport stream FILE becomes the PLP with this id, 0 to 255; once for each PLP");
    add_value(
        app, "--output", "FILE", [&line](const std::string& text) { return !(line.output = text).empty(); },
        "where the stream goes");
    add_value(app, "--bitrate", "N", number_into(options.bitrate),
              "constant rate of the output in bit/s, reached with null packets (default: none are added)");
    add_value(app, "--input-bitrate", "N", parse_rate, "rate in bit/s of inputs that carry no PCR (default 5000000)");
    add_value(
        app, "--frame-size", "N | MIN-MAX",
        [&options](const std::string& text) { return parse_frame_size(text, options); },
        "bytes of a baseband frame's data field, 187 to 8178; drawn at random from a range (default 5370)");
    add_value(app, "--frames", "N", number_into(options.baseband_frames_per_t2_frame),
              "baseband frames in a T2 frame (default 8)");
    add_value(app, "--superframe", "N", number_into(options.t2_frames_per_superframe),
              "T2 frames in a superframe, 1 to 256 (default 2)");
    add_value(app, "--auxiliary", "N", number_into(options.auxiliary_bytes),
              "random bytes in the auxiliary packet of every T2 frame, 0 for none (default 16)");
    add_flag(
        app, "--no-timestamps", [&options] { options.timestamps = false; },
        "no timestamp packet in front of every superframe");
    add_value(app, "--start", "SECONDS", number_into(options.start_seconds),
              "absolute timestamps that begin at these seconds since 2000 (default: relative ones)");
}

void add_other_options(CLI::App& app, command_line& line)
{
    t2mi_options& options = line.options;
    add_value(app, "--pid", "PID", number_into(options.t2mi_PID), "PID of the T2-MI packets (default 0x1000)");
    add_value(app, "--pmt-pid", "PID", number_into(options.pmt_PID), "PID of the PMT (default 0x0100)");
    add_value(app, "--program", "N", number_into(options.program_number), "program number (default 1)");
    add_value(app, "--ts-id", "N", number_into(options.transport_stream_id), "transport stream id (default 1)");
    add_value(app, "--stream-id", "N", number_into(options.t2mi_stream_id), "T2-MI stream id, 0 to 7 (default 0)");
    add_flag(
        app, "--continuous", [&options] { options.continuous = true; },
        "as many T2-MI packets in a payload as fit, without stuffing (default: one begins in each at most)");
    add_flag(
        app, "--l1", [&options] { options.L1_signalling = true; },
        "timestamp and L1-current packets behind the frames of every T2 frame");
    add_flag(
        app, "--descriptor", [&options] { options.T2MI_descriptor = true; }, "T2-MI descriptor in the PMT");
    add_flag(
        app, "--normal-mode", [&options] { options.normal_mode = true; },
        "baseband frames in normal mode (default: high efficiency mode)");
    add_value(app, "--issy", "N", number_into(options.ISSY_bytes), "ISSY of so many bytes, 3, or 2 in normal mode");
    add_flag(
        app, "--delete-nulls", [&options] { options.delete_nulls = true; }, "leaves null packets out and counts them");
    add_value(
        app, "--common", "ID",
        [&options](const std::string& text) {
            std::uint8_t plp_id = 0;
            const bool read = parse_number(text, plp_id);
            options.common_plp = plp_id;
            return read;
        },
        "the PLP with this id is the common one of a group with all others; with --l1 and --issy 3");
    add_value(app, "--empty-frames", "N", number_into(options.frames_between_empty_ones),
              "a baseband frame without data behind each N frames of a PLP (default: none)");
    add_value(app, "--seed", "N", number_into(options.seed), "seed of frame sizes and auxiliary data (default 1)");
    add_flag(
        app, "--quiet", [&line] { line.quiet = true; }, "no progress bar");
    // Nothing behind these two is looked at.
    const auto end_parsing = [](bool& asked) {
        return [&asked] {
            asked = true;
            throw CLI::Success();
        };
    };
    add_flag(app, "--version", end_parsing(line.version), "prints the version");
    add_flag(app, "-h,--help", end_parsing(line.help), "prints this text");
}

/// Knows the options of `line`, which must outlive it.
std::unique_ptr<CLI::App> make_parser(command_line& line)
{
    auto app = std::make_unique<CLI::App>(std::string(), "zq-t2mi-mux");
    app->formatter(std::make_shared<help_format>());
    app->footer(footer);
    app->set_help_flag();
    app->allow_extras();
    add_stream_options(*app, line);
    add_other_options(*app, line);
    return app;
}

/// CLI11 names an option that lacks its value with its dashes, and a flag that has one without.
std::string mismatch(const std::string& what)
{
    const std::string name = what.substr(0, what.find_first_of(": "));
    return name[0] == '-' ? name + " needs a value" : "--" + name + " takes no value";
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
    const auto app = make_parser(line);
    try {
        app->parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::Success&) {
        return {};
    } catch (const CLI::ArgumentMismatch& error) {
        return mismatch(error.what());
    } catch (const CLI::ParseError& error) {
        return error.what();
    }
    if (const auto unknown = app->remaining(); !unknown.empty())
        return "unknown argument \"" + unknown.front() + '"';
    return find_missing(line);
}

std::string help_text()
{
    command_line line;
    return make_parser(line)->help();
}
} // namespace t2mi
