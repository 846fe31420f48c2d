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

void add_options(CLI::App& app, options& options)
{
    app.add_option("INPUT", options.input, "a file, \"-\" for standard input, or datagrams")
        ->option_text("FILE | - | udp://[SOURCE@]GROUP:PORT")
        ->required()
        ->check(tools::udp_address_fault);
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
    app.add_flag("--merge-common", options.merge_common,
                 "puts the packets of a group's common PLP into its data PLPs, where ISSY tells their place");
    app.add_option("--interface", options.interface, "the interface to join a multicast group on, or an address of it")
        ->option_text("NAME");
    app.add_flag("--quiet", options.quiet, "no progress bar and no counters at the end");
}
} // namespace

tools::request parse_command_line(const std::vector<std::string>& arguments, const std::string& version,
                                  options& options, std::string& text)
{
    CLI::App app(description, "zq-t2mi-demux");
    app.footer(footer);
    add_options(app, options);
    const tools::request asked = tools::parse_arguments(app, arguments, version, text);
    if (asked == tools::request::run && !options.list && options.outputs.empty()) {
        text = "nothing to do: --list or --plp N=FILE";
        return tools::request::refuse;
    }
    return asked;
}
} // namespace t2mi_demux
