// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/t2mi_demux/command_line.h"

#include "tools/common/parse_number.h"
#include "tools/common/udp_address.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace t2mi_demux
{
namespace
{
constexpr const char* description =
    "Takes T2-MI (ETSI TS 102 773) apart into the transport streams of its PLPs, or shows what is in it.";
constexpr const char* footer =
    "Packets of 188, 192 and 204 bytes are told apart; datagrams may carry RTP. \"-\" as FILE is standard input or\n"
    "output. Numbers may be hexadecimal behind 0x.\n"
    "Exits with 0, with 1 when a file fails it or the input has no T2-MI or lacks a PLP, with 2 when the arguments "
    "are\n"
    "wrong.";

auto number_into(int& number, int highest)
{
    return [&number, highest](const CLI::results_t& texts) {
        unsigned read = 0;
        if (!tools::parse_number(texts.back(), read) || read > static_cast<unsigned>(highest))
            return false;
        number = static_cast<int>(read);
        return true;
    };
}

auto outputs_into(std::map<std::uint8_t, std::string>& outputs)
{
    return [&outputs](const CLI::results_t& texts) {
        return std::all_of(texts.begin(), texts.end(), [&outputs](const std::string& text) {
            const auto equals = text.find('=');
            std::uint8_t plp_id = 0;
            return equals != std::string::npos && equals + 1 < text.size() &&
                   tools::parse_number(text.substr(0, equals), plp_id) &&
                   outputs.emplace(plp_id, text.substr(equals + 1)).second;
        });
    };
}

std::string check_input(const std::string& name)
{
    const bool bad = tools::is_udp_address(name) && !tools::parse_udp_address(name);
    return bad ? "\"" + name + "\" is not udp://[SOURCE@]GROUP:PORT" : std::string();
}

void add_options(CLI::App& app, options& options)
{
    app.add_option("INPUT", options.input, "a file, \"-\" for standard input, or datagrams")
        ->option_text("FILE | - | udp://[SOURCE@]GROUP:PORT")
        ->required()
        ->check(check_input);
    auto* const list = app.add_flag("--list", options.list,
                                    "shows PIDs, streams, PLPs and L1; of what comes live, what 5 s of it tell");
    app.add_flag("--json", options.json, "with --list, as one object of JSON")->needs(list);
    app.add_option("--plp", outputs_into(options.outputs), "writes the PLP with this id, 0 to 255; once for each PLP")
        ->option_text("N=FILE ...")
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app.add_option("--pid", number_into(options.PID, 0x1FFF), "PID of the T2-MI packets (default: found)")
        ->option_text("PID");
    app.add_option("--stream-id", number_into(options.stream_id, 7), "T2-MI stream on the PID (default: the first one)")
        ->option_text("N");
    app.add_flag("--drop-nulls", options.drop_nulls, "does not put back the null packets that the sender deleted");
    app.add_option("--interface", options.interface, "the interface to join a multicast group on, or an address of it")
        ->option_text("NAME");
    app.add_flag("--quiet", options.quiet, "no progress bar and no counters at the end");
}
} // namespace

request parse_command_line(const std::vector<std::string>& arguments, const std::string& version, options& options,
                           std::string& text)
{
    CLI::App app(description, "zq-t2mi-demux");
    app.set_help_flag("-h,--help", "prints this text");
    app.set_version_flag("--version", "zq-t2mi-demux " + version, "prints the version");
    app.footer(footer);
    add_options(app, options);
    try {
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::CallForHelp&) {
        text = app.help();
        return request::print;
    } catch (const CLI::CallForVersion& call) {
        text = std::string(call.what()) + '\n';
        return request::print;
    } catch (const CLI::ParseError& error) {
        text = error.what();
        return request::refuse;
    }
    if (!options.list && options.outputs.empty()) {
        text = "nothing to do: --list or --plp N=FILE";
        return request::refuse;
    }
    return request::run;
}
} // namespace t2mi_demux
